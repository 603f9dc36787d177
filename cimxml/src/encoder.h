// Owned data to XML, appended to a text.
#ifndef CIMXML_ENCODER_H_
#define CIMXML_ENCODER_H_

#include <cimxml/types.h>

#include <string>
#include <string_view>

namespace cimxml {

// Text of an element, with what means something in XML escaped.
void appendText(std::string& out, std::string_view text);

// ` NAME="value"`, with the line ends and tabs escaped that a reader would make blanks of.
void appendAttribute(std::string& out, std::string_view name, std::string_view value);

// "<ELEMENT NAME="name">"
void appendOpening(std::string& out, std::string_view element, std::string_view name);
void appendEnd(std::string& out, std::string_view element);

void appendLocalNameSpacePath(std::string& out, std::string_view nameSpace);
void appendInstanceName(std::string& out, const ObjectPath& path);
void appendClassName(std::string& out, std::string_view name);
void appendLocalInstancePath(std::string& out, const ObjectPath& path);
void appendLocalClassPath(std::string& out, const ObjectPath& path);
void appendInstancePath(std::string& out, const ObjectPath& path);
void appendClassPath(std::string& out, const ObjectPath& path);
// With as much of the path as it has.
void appendReference(std::string& out, const ObjectPath& path);

// VALUE in the form that the value needs; nothing for null.
void appendValue(std::string& out, const Value& value);

void appendInstance(std::string& out, const Instance& instance);
void appendNamedInstance(std::string& out, const ObjectPath& path, const Instance& instance);
void appendClass(std::string& out, const Class& cls);

// PARAMVALUE, RETURNVALUE
void appendMethodParameter(std::string& out, std::string_view element,
                           const MethodParameter& parameter);

// From the XML declaration to within the MESSAGE, and from there to the end.
void appendMessageStart(std::string& out, std::string_view messageId, std::string_view kind);
void appendMessageEnd(std::string& out, std::string_view kind);

} // namespace cimxml

#endif
