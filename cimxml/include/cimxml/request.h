// Requests of CIM-XML (DSP0200, DSP0201): one intrinsic operation or one method call each.
//
// Text that goes out is UTF-8; characters that XML 1.0 cannot carry (control characters, U+FFFE,
// U+FFFF, surrogates, bytes that are not UTF-8) leave as U+FFFD. Coming in, they make a message not
// well-formed. Carriage returns leave as "&#13;", so that they arrive.
#ifndef CIMXML_REQUEST_H_
#define CIMXML_REQUEST_H_

#include <cimxml/types.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace cimxml {

struct ClassName
{
    std::string name;
};

// VALUE.REFERENCE, unlike an ObjectPath, which is an INSTANCENAME.
struct ReferenceValue
{
    ObjectPath path;
};

// VALUE.ARRAY; nothing is VALUE.NULL.
using TextArray = std::vector<std::optional<std::string>>;

// An element that is sound but that this codec does not read, such as QUALIFIER.DECLARATION.
struct OtherElement
{
    std::string elementName;
};

// What an IPARAMVALUE holds: nothing (null); VALUE as its text, booleans as "TRUE" and "FALSE";
// VALUE.ARRAY; CLASSNAME; INSTANCENAME (class and keys of the path); VALUE.REFERENCE; INSTANCE;
// VALUE.NAMEDINSTANCE; CLASS.
using IntrinsicValue = std::variant<std::monostate, std::string, TextArray, ClassName, ObjectPath,
                                    ReferenceValue, Instance, NamedInstance, Class, OtherElement>;

struct IntrinsicParameter
{
    std::string name;
    IntrinsicValue value;
};

// An intrinsic operation, IMETHODCALL.
struct IntrinsicRequest
{
    std::string messageId;
    std::string operation; // "EnumerateInstances"
    std::string nameSpace; // "root/xcim"
    std::vector<IntrinsicParameter> parameters;
};

// A method of a class or an instance, METHODCALL.
struct ExtrinsicRequest
{
    std::string messageId;
    std::string method;
    // With its namespace. Goes out, and came in, as a LOCALINSTANCEPATH when isInstance, else as a
    // LOCALCLASSPATH.
    ObjectPath object;
    bool isInstance = true;
    std::vector<MethodParameter> inputs;
};

std::string encodeRequest(const IntrinsicRequest& request);
std::string encodeRequest(const ExtrinsicRequest& request);

// Why a request cannot be answered at all: with HTTP status 400 (501 for
// multiple-requests-unsupported and the unsupported versions) and these headers.
struct RequestFault
{
    // Value of the CIMError header of DSP0200: "request-not-well-formed", "request-not-valid",
    // "unsupported-protocol-version", "multiple-requests-unsupported", "unsupported-cim-version",
    // "unsupported-dtd-version".
    std::string cimError;
    std::string message; // what is wrong, in English
};

using Request = std::variant<IntrinsicRequest, ExtrinsicRequest>;

// Reads a request body, in any of the versions CIM 2.x, DTD 2.x, protocol 1.x. A value that is not
// of its declared type (TYPE uint8, VALUE 300) makes a request not valid. Export requests are not
// valid here.
std::variant<Request, RequestFault> decodeRequest(std::string_view body);

} // namespace cimxml

#endif
