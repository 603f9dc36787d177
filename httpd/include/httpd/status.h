// The status codes (RFC 9110, 15; RFC 6585, 5) that the server and those who use it answer with.
#ifndef HTTPD_STATUS_H_
#define HTTPD_STATUS_H_

namespace httpd {

inline constexpr unsigned int kOk = 200;
inline constexpr unsigned int kNoContent = 204;
inline constexpr unsigned int kNotModified = 304;
inline constexpr unsigned int kBadRequest = 400;
inline constexpr unsigned int kForbidden = 403;
inline constexpr unsigned int kNotFound = 404;
inline constexpr unsigned int kMethodNotAllowed = 405;
inline constexpr unsigned int kNotAcceptable = 406;
inline constexpr unsigned int kRequestTimeout = 408;
inline constexpr unsigned int kPreconditionFailed = 412;
inline constexpr unsigned int kContentTooLarge = 413;
inline constexpr unsigned int kUriTooLong = 414;
inline constexpr unsigned int kUnsupportedMediaType = 415;
inline constexpr unsigned int kExpectationFailed = 417;
inline constexpr unsigned int kMisdirectedRequest = 421;
inline constexpr unsigned int kRequestHeaderFieldsTooLarge = 431;
inline constexpr unsigned int kInternalServerError = 500;
inline constexpr unsigned int kNotImplemented = 501;
inline constexpr unsigned int kServiceUnavailable = 503;
inline constexpr unsigned int kGatewayTimeout = 504;
inline constexpr unsigned int kHttpVersionNotSupported = 505;
inline constexpr unsigned int kInsufficientStorage = 507; // for the answer (RFC 4918, 11.5)

// Whether answers with this status have content at all (RFC 9110, sections 15.3.5 and 15.4.5).
constexpr bool hasContent(unsigned int status)
{
    return status != kNoContent && status != kNotModified;
}

// Whether it is the server that has failed. It has not where a client asks for what there is not,
// or for too much: 501, 505 and 507 say nothing else.
constexpr bool isServerFailure(unsigned int status)
{
    return status >= kInternalServerError && status != kNotImplemented &&
           status != kHttpVersionNotSupported && status != kInsufficientStorage;
}

} // namespace httpd

#endif
