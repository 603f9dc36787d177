#include "encoder.h"

#include <cimxml/request.h>

namespace cimxml {
namespace {

// Appends what an IPARAMVALUE holds, by its kind.
class ParameterWriter
{
public:
    explicit ParameterWriter(std::string& out) : mOut(out) {}

    void operator()(std::monostate /*null*/) const {}
    void operator()(const std::string& text) const { appendOne(text); }
    void operator()(const TextArray& array) const
    {
        mOut += "<VALUE.ARRAY>";
        for (const std::optional<std::string>& text : array) {
            if (text) {
                appendOne(*text);
            } else {
                mOut += "<VALUE.NULL/>";
            }
        }
        mOut += "</VALUE.ARRAY>";
    }
    void operator()(const ClassName& name) const { appendClassName(mOut, name.name); }
    void operator()(const ObjectPath& path) const { appendInstanceName(mOut, path); }
    void operator()(const ReferenceValue& reference) const
    {
        appendReference(mOut, reference.path);
    }
    void operator()(const Instance& instance) const { appendInstance(mOut, instance); }
    void operator()(const NamedInstance& named) const
    {
        appendNamedInstance(mOut, named.path, named.instance);
    }
    void operator()(const Class& cls) const { appendClass(mOut, cls); }
    void operator()(const OtherElement& element) const { mOut += '<' + element.elementName + "/>"; }

private:
    void appendOne(std::string_view text) const
    {
        mOut += "<VALUE>";
        appendText(mOut, text);
        mOut += "</VALUE>";
    }

    std::string& mOut;
};

} // namespace

std::string encodeRequest(const IntrinsicRequest& request)
{
    std::string out;
    appendMessageStart(out, request.messageId, "SIMPLEREQ");
    appendOpening(out, "IMETHODCALL", request.operation);
    appendLocalNameSpacePath(out, request.nameSpace);
    for (const IntrinsicParameter& parameter : request.parameters) {
        appendOpening(out, "IPARAMVALUE", parameter.name);
        std::visit(ParameterWriter(out), parameter.value);
        appendEnd(out, "IPARAMVALUE");
    }
    appendEnd(out, "IMETHODCALL");
    appendMessageEnd(out, "SIMPLEREQ");
    return out;
}

std::string encodeRequest(const ExtrinsicRequest& request)
{
    std::string out;
    appendMessageStart(out, request.messageId, "SIMPLEREQ");
    appendOpening(out, "METHODCALL", request.method);
    if (request.isInstance) {
        appendLocalInstancePath(out, request.object);
    } else {
        appendLocalClassPath(out, request.object);
    }
    for (const MethodParameter& input : request.inputs) {
        appendMethodParameter(out, "PARAMVALUE", input);
    }
    appendEnd(out, "METHODCALL");
    appendMessageEnd(out, "SIMPLEREQ");
    return out;
}

} // namespace cimxml
