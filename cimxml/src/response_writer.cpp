#include "encoder.h"

#include <cimxml/response.h>

namespace cimxml {
namespace {

std::string failedCall(std::string_view messageId, std::string_view element, std::string_view name,
                       const CimError& error)
{
    std::string out;
    appendMessageStart(out, messageId, "SIMPLERSP");
    appendOpening(out, element, name);
    out += "<ERROR";
    appendAttribute(out, "CODE", std::to_string(error.code));
    if (!error.description.empty()) {
        appendAttribute(out, "DESCRIPTION", error.description);
    }
    out += "/>";
    appendEnd(out, element);
    appendMessageEnd(out, "SIMPLERSP");
    return out;
}

} // namespace

ResponseWriter::ResponseWriter(std::string_view messageId, std::string_view operation)
{
    appendMessageStart(mText, messageId, "SIMPLERSP");
    appendOpening(mText, "IMETHODRESPONSE", operation);
    mText += "<IRETURNVALUE>";
}

void ResponseWriter::addInstance(const Instance& instance)
{
    appendInstance(mText, instance);
}

void ResponseWriter::addNamedInstance(const ObjectPath& path, const Instance& instance)
{
    appendNamedInstance(mText, path, instance);
}

void ResponseWriter::addInstanceName(const ObjectPath& path)
{
    appendInstanceName(mText, path);
}

void ResponseWriter::addObjectPath(const ObjectPath& path)
{
    mText += "<OBJECTPATH>";
    appendInstancePath(mText, path);
    mText += "</OBJECTPATH>";
}

void ResponseWriter::addObjectWithPath(const ObjectPath& path, const Instance& instance)
{
    mText += "<VALUE.OBJECTWITHPATH>";
    appendInstancePath(mText, path);
    appendInstance(mText, instance);
    mText += "</VALUE.OBJECTWITHPATH>";
}

void ResponseWriter::addClass(const Class& cls)
{
    appendClass(mText, cls);
}

void ResponseWriter::addClassName(std::string_view name)
{
    appendClassName(mText, name);
}

void ResponseWriter::addValue(const Value& value)
{
    appendValue(mText, value);
}

std::string ResponseWriter::finish()
{
    mText += "</IRETURNVALUE></IMETHODRESPONSE>";
    appendMessageEnd(mText, "SIMPLERSP");
    return std::move(mText);
}

std::string encodeEmptyResponse(std::string_view messageId, std::string_view operation)
{
    std::string out;
    appendMessageStart(out, messageId, "SIMPLERSP");
    appendOpening(out, "IMETHODRESPONSE", operation);
    appendEnd(out, "IMETHODRESPONSE");
    appendMessageEnd(out, "SIMPLERSP");
    return out;
}

std::string encodeErrorResponse(std::string_view messageId, std::string_view operation,
                                const CimError& error)
{
    return failedCall(messageId, "IMETHODRESPONSE", operation, error);
}

std::string encodeMethodResponse(std::string_view messageId, std::string_view method,
                                 const MethodParameter* returnValue,
                                 const std::vector<MethodParameter>& outputs)
{
    std::string out;
    appendMessageStart(out, messageId, "SIMPLERSP");
    appendOpening(out, "METHODRESPONSE", method);
    if (returnValue != nullptr) {
        appendMethodParameter(out, "RETURNVALUE", *returnValue);
    }
    for (const MethodParameter& output : outputs) {
        appendMethodParameter(out, "PARAMVALUE", output);
    }
    appendEnd(out, "METHODRESPONSE");
    appendMessageEnd(out, "SIMPLERSP");
    return out;
}

std::string encodeMethodErrorResponse(std::string_view messageId, std::string_view method,
                                      const CimError& error)
{
    return failedCall(messageId, "METHODRESPONSE", method, error);
}

} // namespace cimxml
