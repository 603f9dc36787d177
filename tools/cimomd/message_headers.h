// The HTTP side of CIM-XML messages (DSP0200, "Encapsulation of CIM-XML messages"): what a
// request's method and headers must say, and what an answer's headers say.
#ifndef CIMOMD_MESSAGE_HEADERS_H_
#define CIMOMD_MESSAGE_HEADERS_H_

#include <httpd/server.h>

#include <string>
#include <string_view>

namespace cimomd {

// The HTTP status codes (RFC 9110) that are answered with.
constexpr unsigned int kHttpOk = 200;
constexpr unsigned int kHttpBadRequest = 400;
constexpr unsigned int kHttpNotFound = 404;
constexpr unsigned int kHttpMethodNotAllowed = 405;
constexpr unsigned int kHttpNotAcceptable = 406;
constexpr unsigned int kHttpUnsupportedMediaType = 415;
constexpr unsigned int kHttpNotImplemented = 501;

// Why a request is refused as HTTP; a CIM error, in contrast, is an answer.
struct Refusal
{
    unsigned int status = kHttpBadRequest;
    std::string cimError; // value of the CIMError header; empty: none
    std::string detail;   // for whoever reads along
};

// What the body says that headers repeat.
struct CalledOperation
{
    std::string_view method;    // "EnumerateInstances" or an extrinsic method
    std::string_view nameSpace; // "root/xcim"
    std::string_view className; // of the object that an extrinsic method is called of; else empty
};

// Checks what can be checked before the body is read. Returns false with the cause in refusal.
bool checkHeaders(const httpd::Request& request, Refusal& refusal);

// Checks the headers that repeat what the body says; names are compared without case. Of an object
// path only namespace and class are compared.
bool checkRepeated(const httpd::Request& request, const CalledOperation& called, Refusal& refusal);

// An answer in CIM-XML.
httpd::Response messageResponse(std::string body);

httpd::Response refusalResponse(const Refusal& refusal);

} // namespace cimomd

#endif
