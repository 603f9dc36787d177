#include "decoder.h"
#include "xml_document.h"

#include <cimxml/request.h>

#include <cstring>

namespace cimxml {
namespace {

pugi::xml_node onlyElement(pugi::xml_node parent)
{
    return parent.find_child(
        [](pugi::xml_node child) { return child.type() == pugi::node_element; });
}

bool decodeTexts(pugi::xml_node valueArray, TextArray& texts)
{
    for (const ElementView element : ViewRange<ElementView>(valueArray)) {
        texts.push_back(element.isNull() ? std::nullopt
                                         : std::optional<std::string>(element.text()));
    }
    return true;
}

bool decodeNamedInstance(pugi::xml_node element, NamedInstance& named, Fault& fault)
{
    return decodePath(ObjectPathView(element.child("INSTANCENAME")), named.path, fault) &&
           decodeInstance(element.child("INSTANCE"), named.instance, fault);
}

bool decodeIntrinsicValue(pugi::xml_node parameter, IntrinsicValue& value, Fault& fault)
{
    const pugi::xml_node element = onlyElement(parameter);
    const std::string_view name = element.name();
    if (name.empty()) {
        value = std::monostate();
        return true;
    }
    if (name == "VALUE") {
        value = std::string(elementText(element));
        return true;
    }
    if (name == "VALUE.ARRAY") {
        return decodeTexts(element, value.emplace<TextArray>());
    }
    if (name == "CLASSNAME") {
        value = ClassName{element.attribute("NAME").value()};
        return true;
    }
    if (name == "INSTANCENAME") {
        return decodePath(ObjectPathView(element), value.emplace<ObjectPath>(), fault);
    }
    if (name == "VALUE.REFERENCE") {
        return decodePath(ElementView(element).reference(), value.emplace<ReferenceValue>().path,
                          fault);
    }
    if (name == "INSTANCE") {
        return decodeInstance(element, value.emplace<Instance>(), fault);
    }
    if (name == "VALUE.NAMEDINSTANCE") {
        return decodeNamedInstance(element, value.emplace<NamedInstance>(), fault);
    }
    if (name == "CLASS") {
        return decodeClass(element, value.emplace<Class>(), fault);
    }
    value = OtherElement{std::string(name)};
    return true;
}

bool decodeOperation(pugi::xml_node call, IntrinsicRequest& request, Fault& fault)
{
    request.operation = call.attribute("NAME").value();
    request.nameSpace = joinedNameSpace(call.child("LOCALNAMESPACEPATH"));
    for (const pugi::xml_node element : call.children("IPARAMVALUE")) {
        IntrinsicParameter& parameter = request.parameters.emplace_back();
        parameter.name = element.attribute("NAME").value();
        if (!decodeIntrinsicValue(element, parameter.value, fault)) {
            return false;
        }
    }
    return true;
}

bool decodeMethodCall(pugi::xml_node call, ExtrinsicRequest& request, Fault& fault)
{
    const pugi::xml_node instance = call.child("LOCALINSTANCEPATH");
    request.method = call.attribute("NAME").value();
    request.isInstance = static_cast<bool>(instance);
    const pugi::xml_node object = instance ? instance : call.child("LOCALCLASSPATH");
    if (!decodePath(ObjectPathView(object), request.object, fault)) {
        return false;
    }
    for (const pugi::xml_node element : call.children("PARAMVALUE")) {
        // Only a return value has no name.
        if (*element.attribute("NAME").value() == '\0') {
            return fault.set(element, "PARAMVALUE is without NAME");
        }
        if (!decodeMethodParameter(element, request.inputs.emplace_back(), fault)) {
            return false;
        }
    }
    return true;
}

bool isMajorVersion(pugi::xml_node element, const char* attribute, const char* majorAndPoint)
{
    const std::string_view version = element.attribute(attribute).value();
    return version.empty() || version.starts_with(majorAndPoint);
}

// What makes a message one of another protocol; empty for none. Versions that are missing are the
// grammar's matter.
const char* unsupported(pugi::xml_node cim)
{
    const pugi::xml_node message = cim.child("MESSAGE");
    if (!isMajorVersion(cim, "CIMVERSION", "2.")) {
        return "unsupported-cim-version";
    }
    if (!isMajorVersion(cim, "DTDVERSION", "2.")) {
        return "unsupported-dtd-version";
    }
    if (!isMajorVersion(message, "PROTOCOLVERSION", "1.")) {
        return "unsupported-protocol-version";
    }
    return message.child("MULTIREQ") ? "multiple-requests-unsupported" : "";
}

template <class Call>
std::variant<Request, RequestFault> decodeCall(pugi::xml_node message, pugi::xml_node call,
                                               bool (*decode)(pugi::xml_node, Call&, Fault&))
{
    Call request;
    Fault fault;
    request.messageId = message.attribute("ID").value();
    if (!decode(call, request, fault)) {
        return RequestFault{"request-not-valid", fault.problem};
    }
    return Request(std::move(request));
}

} // namespace

std::variant<Request, RequestFault> decodeRequest(std::string_view body)
{
    XmlDocument document;
    Fault fault;
    if (!document.parse(body, fault.problem)) {
        return RequestFault{"request-not-well-formed", fault.problem};
    }
    const pugi::xml_node cim = document.root();
    if (std::strcmp(cim.name(), "CIM") != 0) {
        return RequestFault{"request-not-valid", "the document is not CIM"};
    }
    if (const std::string problem = unsupported(cim); !problem.empty()) {
        return RequestFault{problem, "only CIM 2.x, DTD 2.x, protocol 1.x, single requests"};
    }
    const pugi::xml_node message = cim.child("MESSAGE");
    if (!checkElement(cim, kCimRule, fault) || !message) {
        return RequestFault{"request-not-valid",
                            fault.problem.empty() ? "CIM holds no MESSAGE" : fault.problem};
    }
    const pugi::xml_node call = onlyElement(message.child("SIMPLEREQ"));
    if (std::strcmp(call.name(), "IMETHODCALL") == 0) {
        return decodeCall<IntrinsicRequest>(message, call, decodeOperation);
    }
    return decodeCall<ExtrinsicRequest>(message, call, decodeMethodCall);
}

} // namespace cimxml
