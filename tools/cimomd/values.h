// Values made to fit their declarations.
#ifndef CIMOMD_VALUES_H_
#define CIMOMD_VALUES_H_

#include <cimxml/types.h>

#include <string>
#include <string_view>
#include <vector>

namespace cimomd {

// Text as a key of lists that are told without case: ASCII letters become small.
std::string lowered(std::string_view text);

// Whether a name is one of a list of properties.
bool isNamed(std::string_view name, const std::vector<std::string>& names);

// "uint32", "string[]"
std::string typeText(cimxml::Type type, bool isArray);

// Gives a value the type that is declared for it. Clients send numbers, booleans, date-times and
// references as text, and integers in other widths: what has a meaning in the declared type is
// converted. Null fits any declaration. Returns false when it cannot be converted.
bool convertTo(cimxml::Type type, bool isArray, cimxml::Value& value);

// The same for a key.
bool convertKey(cimxml::Type type, cimxml::KeyBinding& key);

} // namespace cimomd

#endif
