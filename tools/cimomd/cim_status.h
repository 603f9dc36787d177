// The CIM status codes (DSP0200) that the object manager answers with.
#ifndef CIMOMD_CIM_STATUS_H_
#define CIMOMD_CIM_STATUS_H_

#include <cimxml/types.h>

#include <string>
#include <utility>

namespace cimomd {

constexpr unsigned int kFailed = 1;
constexpr unsigned int kInvalidNamespace = 3;
constexpr unsigned int kInvalidParameter = 4;
constexpr unsigned int kInvalidClass = 5;
constexpr unsigned int kNotFound = 6;
constexpr unsigned int kNotSupported = 7;
constexpr unsigned int kAlreadyExists = 11;
constexpr unsigned int kNoSuchProperty = 12;
constexpr unsigned int kTypeMismatch = 13;
constexpr unsigned int kQueryLanguageNotSupported = 14;
constexpr unsigned int kInvalidQuery = 15;
constexpr unsigned int kMethodNotAvailable = 16;
constexpr unsigned int kMethodNotFound = 17;

// Fills error; always false, for "return fail(...)".
inline bool fail(cimxml::CimError& error, unsigned int code, std::string description)
{
    error.code = code;
    error.description = std::move(description);
    return false;
}

} // namespace cimomd

#endif
