#include "ResourceMapper/mapping/CimType.h"

#include <strings.h>

#include <algorithm>
#include <array>

namespace cimgate::mapping {

namespace {

constexpr std::array<const char*, 15> kCimTypes = {
    "uint8",  "uint16", "uint32", "uint64",  "sint8",    "sint16", "sint32",   "sint64",
    "real32", "real64", "string", "boolean", "datetime", "char16", "reference"};

bool isNamed(const std::string& cimType, const char* name)
{
    return strcasecmp(cimType.c_str(), name) == 0;
}

} // namespace

std::optional<NumberType> numberTypeOf(const std::string& cimType)
{
    if (isNamed(cimType, "uint64")) {
        return NumberType::Uint64;
    }
    if (isNamed(cimType, "sint64")) {
        return NumberType::Sint64;
    }
    if (cimType.starts_with("sint")) {
        return NumberType::Sint;
    }
    if (cimType.starts_with("uint")) {
        return NumberType::Uint;
    }
    if (isNamed(cimType, "boolean")) {
        return NumberType::Boolean;
    }
    if (isNamed(cimType, "datetime")) {
        return NumberType::DateTime;
    }
    return std::nullopt;
}

bool isCimType(const std::string& cimType)
{
    return std::any_of(kCimTypes.begin(), kCimTypes.end(),
                       [&](const char* name) { return isNamed(cimType, name); });
}

} // namespace cimgate::mapping
