#include "encoder.h"

#include <cimxml/response.h>

namespace cimxml {
namespace {

// A whole message whose answer holds what fill appends to it.
template <typename Fill>
std::string answered(std::string_view messageId, std::string_view element, std::string_view name,
                     Fill fill)
{
    std::string out;
    appendMessageStart(out, messageId, "SIMPLERSP");
    appendOpening(out, element, name);
    fill(out);
    appendEnd(out, element);
    appendMessageEnd(out, "SIMPLERSP");
    return out;
}

std::string failedCall(std::string_view messageId, std::string_view element, std::string_view name,
                       const CimError& error)
{
    return answered(messageId, element, name, [&error](std::string& out) {
        out += "<ERROR";
        appendAttribute(out, "CODE", std::to_string(error.code));
        if (!error.description.empty()) {
            appendAttribute(out, "DESCRIPTION", error.description);
        }
        out += "/>";
    });
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
    return answered(messageId, "IMETHODRESPONSE", operation, [](std::string& /*out*/) {});
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
    return answered(messageId, "METHODRESPONSE", method, [&](std::string& out) {
        if (returnValue != nullptr) {
            appendMethodParameter(out, "RETURNVALUE", *returnValue);
        }
        for (const MethodParameter& output : outputs) {
            appendMethodParameter(out, "PARAMVALUE", output);
        }
    });
}

std::string encodeMethodErrorResponse(std::string_view messageId, std::string_view method,
                                      const CimError& error)
{
    return failedCall(messageId, "METHODRESPONSE", method, error);
}

} // namespace cimxml
