#include "methods.h"

#include "cim_status.h"
#include "values.h"

#include <algorithm>
#include <string>
#include <utility>

namespace cimomd {

namespace {

// Many a client gives a point in time the suffix of an interval: "20240501102030.000000:000". No
// interval has millions of days, so what is a date in its first digits is taken for one, of UTC.
void settleDateTime(cimxml::Scalar& scalar)
{
    constexpr size_t kSign = 21;
    auto* const text = std::get_if<std::string>(&scalar);
    if (text != nullptr && text->size() > kSign && (*text)[kSign] == ':' && *text >= "19") {
        (*text)[kSign] = '+';
        if (!cimxml::isDateTime(*text)) {
            (*text)[kSign] = ':';
        }
    }
}

void settleDateTimes(cimxml::Value& value)
{
    if (value.type == cimxml::Type::DateTime) {
        settleDateTime(value.scalar);
        std::for_each(value.elements.begin(), value.elements.end(), settleDateTime);
    }
}

bool readInputs(const cimxml::Method& method, std::vector<cimxml::MethodParameter> given,
                std::vector<cimxml::MethodParameter>& inputs, cimxml::CimError& error)
{
    for (cimxml::MethodParameter& input : given) {
        const cimxml::Parameter* const declared = method.findParameter(input.name);
        if (declared == nullptr) {
            return fail(error, kInvalidParameter,
                        "the method " + method.name + " has no parameter " + input.name);
        }
        const auto isSame = [declared](const cimxml::MethodParameter& other) {
            return other.name == declared->name;
        };
        if (std::any_of(inputs.begin(), inputs.end(), isSame)) {
            return fail(error, kInvalidParameter,
                        "the parameter " + declared->name + " is given twice");
        }
        if (!convertTo(declared->type, declared->isArray, input.value)) {
            return fail(error, kInvalidParameter,
                        "the parameter " + declared->name + " is not of type " +
                            std::string(cimxml::typeName(declared->type)) +
                            (declared->isArray ? "[]" : ""));
        }
        settleDateTimes(input.value);
        input.name = declared->name;
        inputs.push_back(std::move(input));
    }
    return true;
}

} // namespace

bool callMethod(NameSpace& nameSpace, const cimxml::ExtrinsicRequest& request,
                MethodBehaviour& behaviour, MethodResult& result, cimxml::CimError& error)
{
    const ClassEntry* const cls = nameSpace.findClass(request.object.className, error);
    if (cls == nullptr) {
        return false;
    }
    const cimxml::Method* const method = cls->findMethod(request.method);
    if (method == nullptr) {
        return fail(error, kMethodNotFound,
                    cls->definition.name + " has no method " + request.method);
    }
    MethodCall call{nameSpace, *cls, nullptr, *method, {}};
    if (request.isInstance) {
        call.instance = nameSpace.find(request.object, error);
        if (call.instance == nullptr) {
            return false;
        }
    }
    return readInputs(*method, request.inputs, call.inputs, error) &&
           behaviour.invoke(call, result, error);
}

} // namespace cimomd
