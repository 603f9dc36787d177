#include "DescribedModel.h"

#include "SampleModel.h"

#include <fstream>
#include <memory>
#include <stdexcept>

namespace sample {

namespace {

constexpr const char* kHead = R"(<?xml version="1.0" encoding="utf-8"?>
<CIM CIMVERSION="2.0" DTDVERSION="2.0"><DECLARATION><DECLGROUP>
<LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="xcim"/></LOCALNAMESPACEPATH>
<VALUE.OBJECT><CLASS NAME="Fan">
  <PROPERTY NAME="Id" TYPE="string"><QUALIFIER NAME="Key" TYPE="boolean"><VALUE>TRUE</VALUE></QUALIFIER></PROPERTY>
  <PROPERTY NAME="Speed" TYPE="uint32"><VALUE>100</VALUE></PROPERTY>
  <PROPERTY NAME="Ok" TYPE="boolean"/><PROPERTY NAME="Since" TYPE="datetime"/>
  <PROPERTY.ARRAY NAME="Names" TYPE="string"/>
  <METHOD NAME="Stop" TYPE="uint32">
    <PARAMETER NAME="Seconds" TYPE="uint16"/><PARAMETER NAME="Force" TYPE="boolean"/>
    <PARAMETER.REFERENCE NAME="Other"/><PARAMETER.ARRAY NAME="Names" TYPE="string"/>
    <PARAMETER NAME="At" TYPE="datetime"/><PARAMETER.REFERENCE NAME="Job" REFERENCECLASS="Job"/>
    <PARAMETER NAME="Text" TYPE="string"/>
  </METHOD>
  <METHOD NAME="Forget"/>
  <METHOD NAME="Report" TYPE="string">)";

constexpr const char* kTail =
    R"(<PARAMETER.REFERENCE NAME="reference"/><PARAMETER.REFARRAY NAME="references"/>
  </METHOD>
</CLASS></VALUE.OBJECT>
<VALUE.OBJECT><CLASS NAME="BigFan" SUPERCLASS="Fan"/></VALUE.OBJECT>
<VALUE.OBJECT><CLASS NAME="Job">
  <PROPERTY NAME="InstanceID" TYPE="string"><QUALIFIER NAME="Key" TYPE="boolean"><VALUE>TRUE</VALUE></QUALIFIER></PROPERTY>
  <PROPERTY NAME="State" TYPE="uint16"/><PROPERTY NAME="PercentComplete" TYPE="uint16"/>
  <PROPERTY NAME="Text" TYPE="string"/><PROPERTY NAME="Ended" TYPE="datetime"/>
</CLASS></VALUE.OBJECT>
<VALUE.OBJECT><INSTANCE CLASSNAME="Fan"><PROPERTY NAME="Id" TYPE="string"><VALUE>f</VALUE></PROPERTY></INSTANCE></VALUE.OBJECT>
<VALUE.OBJECT><INSTANCE CLASSNAME="Fan"><PROPERTY NAME="Id" TYPE="string"><VALUE>g</VALUE></PROPERTY></INSTANCE></VALUE.OBJECT>
<VALUE.OBJECT><INSTANCE CLASSNAME="BigFan"><PROPERTY NAME="Id" TYPE="string"><VALUE>big</VALUE></PROPERTY></INSTANCE></VALUE.OBJECT>
</DECLGROUP></DECLARATION></CIM>
)";

// Two outputs of each type, named after it: "uint8" and the array "uint8s".
std::string outputsOfEveryType()
{
    std::string text;
    for (const char* type :
         {"boolean", "char16", "uint8", "sint8", "uint16", "sint16", "uint32", "sint32", "uint64",
          "sint64", "real32", "real64", "string", "datetime"}) {
        const std::string attributes = std::string("\" TYPE=\"") + type + "\"/>";
        text += std::string("<PARAMETER NAME=\"") + type + attributes;
        text += std::string("<PARAMETER.ARRAY NAME=\"") + type + "s" + attributes;
    }
    return text;
}

std::string shownScalar(cimxml::Type type, const cimxml::Scalar& scalar)
{
    const auto* const reference = std::get_if<std::shared_ptr<const cimxml::ObjectPath>>(&scalar);
    if (reference != nullptr) {
        return cimxml::pathText(**reference);
    }
    return cimxml::isNull(scalar) ? "null" : cimxml::scalarText(type, scalar);
}

} // namespace

std::string textOf(const cimxml::Value& value)
{
    if (value.isNull) {
        return "null";
    }
    if (!value.isArray) {
        return shownScalar(value.type, value.scalar);
    }
    std::string text;
    for (const cimxml::Scalar& element : value.elements) {
        text += (text.empty() ? "" : ",") + shownScalar(value.type, element);
    }
    return "[" + text + "]";
}

DescribedModel::DescribedModel()
{
    std::ofstream(mDirectory.File("model.xml")) << kHead << outputsOfEveryType() << kTail;
    std::string problem;
    if (!mRepository.load(mDirectory.File(""), problem)) {
        throw std::runtime_error(problem);
    }
}

std::string DescribedModel::load(const std::string& fileText)
{
    std::ofstream(mDirectory.File("model.methods.json")) << fileText;
    std::string problem;
    return mMethods.load(mDirectory.File(""), mRepository, problem) ? std::string() : problem;
}

std::string DescribedModel::describe(const std::string& cases)
{
    return load(R"({"namespace": "root/xcim", "methods": {"Fan.Stop": [)" + cases + "]}}");
}

DescribedModel::Outcome
DescribedModel::call(const std::string& method, const std::string& id,
                     const std::vector<std::pair<std::string, std::string>>& inputs)
{
    std::vector<cimxml::MethodParameter> given;
    for (const auto& [name, text] : inputs) {
        given.emplace_back();
        given.back().name = name;
        given.back().value = cimxml::Value::of(cimxml::Type::String, text);
    }
    return callWith(method, id, given);
}

DescribedModel::Outcome DescribedModel::callWith(const std::string& method, const std::string& id,
                                                 const std::vector<cimxml::MethodParameter>& inputs)
{
    cimxml::ExtrinsicRequest request;
    request.method = method;
    request.object =
        id.empty() ? path("Fan", {}) : path(id == "big" ? "BigFan" : "Fan", {{"Id", id}});
    request.isInstance = !id.empty();
    request.inputs = inputs;
    Outcome outcome;
    outcome.isDone = mMethods.call(nameSpace(), request, outcome.result, outcome.error);
    return outcome;
}

std::string DescribedModel::property(const std::string& className, const std::string& key,
                                     const std::string& id, const std::string& name)
{
    cimxml::CimError error;
    const cimomd::StoredInstance* const stored =
        nameSpace().find(path(className, {{key, id}}), error);
    if (stored == nullptr) {
        return "no such instance";
    }
    const cimxml::Property* const property = stored->instance.find(name);
    return property == nullptr ? "no such property" : textOf(property->value);
}

std::string DescribedModel::Outcome::output(const std::string& name) const
{
    for (const cimxml::MethodParameter& one : result.outputs) {
        if (one.name == name) {
            return textOf(one.value);
        }
    }
    return "no such output";
}

std::string DescribedModel::Outcome::returned() const
{
    if (!isDone) {
        return "error " + std::to_string(error.code) + ": " + error.description;
    }
    return result.returnValue ? textOf(result.returnValue->value) : "nothing";
}

} // namespace sample
