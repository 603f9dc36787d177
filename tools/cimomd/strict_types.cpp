#include "strict_types.h"

#include "cim_status.h"
#include "values.h"

#include <algorithm>
#include <memory>
#include <string>
#include <variant>

namespace cimomd {

namespace {

using cimxml::Type;

// Whether a key fits its declaration by its TYPE or, without one, by its VALUETYPE.
bool isTyped(const cimxml::KeyBinding& key, Type declared)
{
    if (key.hasType || key.type == Type::Reference || declared == Type::Reference) {
        return key.type == declared;
    }
    if (cimxml::isNumber(declared)) {
        return cimxml::isNumber(key.type);
    }
    return key.type == (declared == Type::Boolean ? Type::Boolean : Type::String);
}

class TypeCheck
{
public:
    TypeCheck(const ClassTable& classes, cimxml::CimError& error) : mClasses(classes), mError(error)
    {}

    bool operator()(const cimxml::ObjectPath& path) const
    {
        const ClassEntry* const cls = mClasses.find(path.className);
        return cls == nullptr ||
               std::all_of(path.keys.begin(), path.keys.end(),
                           [&](const auto& key) { return checkKey(cls->definition, key); });
    }
    bool operator()(const cimxml::ReferenceValue& reference) const
    {
        return (*this)(reference.path);
    }
    bool operator()(const cimxml::Instance& instance) const
    {
        const ClassEntry* const cls = mClasses.find(instance.className);
        return cls == nullptr || std::all_of(instance.properties.begin(), instance.properties.end(),
                                             [&](const auto& property) {
                                                 return checkProperty(cls->definition, property);
                                             });
    }
    bool operator()(const cimxml::NamedInstance& named) const
    {
        return (*this)(named.path) && (*this)(named.instance);
    }
    template <typename Other>
    bool operator()(const Other& /*other*/) const
    {
        return true; // has no types
    }

    bool check(const cimxml::Method& method, const cimxml::MethodParameter& given) const
    {
        const cimxml::Parameter* const declared = method.findParameter(given.name);
        if (declared != nullptr && given.hasType && given.value.type != declared->type) {
            return fail(mError, kInvalidParameter,
                        "the parameter " + declared->name + " is not of type " +
                            typeText(declared->type, declared->isArray));
        }
        return checkReferences(given.value);
    }

private:
    bool checkKey(const cimxml::Class& cls, const cimxml::KeyBinding& key) const
    {
        const cimxml::Property* const declared = cls.findProperty(key.name);
        if (declared != nullptr && !isTyped(key, declared->value.type)) {
            return fail(mError, kInvalidParameter,
                        "the key " + declared->name + " is not of type " +
                            typeText(declared->value.type, false));
        }
        return checkReference(key.value);
    }

    bool checkProperty(const cimxml::Class& cls, const cimxml::Property& given) const
    {
        const cimxml::Property* const declared = cls.findProperty(given.name);
        if (declared != nullptr && given.value.type != declared->value.type) {
            return fail(mError, kTypeMismatch,
                        "the value of " + declared->name + " is not of type " +
                            typeText(declared->value.type, declared->value.isArray));
        }
        return checkReferences(given.value);
    }

    bool checkReferences(const cimxml::Value& value) const
    {
        return checkReference(value.scalar) &&
               std::all_of(value.elements.begin(), value.elements.end(),
                           [this](const auto& element) { return checkReference(element); });
    }

    bool checkReference(const cimxml::Scalar& scalar) const
    {
        const auto* const path = std::get_if<std::shared_ptr<const cimxml::ObjectPath>>(&scalar);
        return path == nullptr || (*this)(**path);
    }

    const ClassTable& mClasses;
    cimxml::CimError& mError;
};

} // namespace

bool checkTypes(const cimxml::IntrinsicRequest& request, const ClassTable& classes,
                cimxml::CimError& error)
{
    const TypeCheck check(classes, error);
    return std::all_of(
        request.parameters.begin(), request.parameters.end(),
        [&check](const auto& parameter) { return std::visit(check, parameter.value); });
}

bool checkTypes(const cimxml::ExtrinsicRequest& request, const ClassTable& classes,
                cimxml::CimError& error)
{
    const TypeCheck check(classes, error);
    const ClassEntry* const cls = classes.find(request.object.className);
    const cimxml::Method* const method =
        cls == nullptr ? nullptr : cls->definition.findMethod(request.method);
    return check(request.object) &&
           (method == nullptr ||
            std::all_of(request.inputs.begin(), request.inputs.end(),
                        [&](const auto& input) { return check.check(*method, input); }));
}

} // namespace cimomd
