// The date-times that an action's parameters may hold.
#ifndef ISO_TIME_H_
#define ISO_TIME_H_

#include <regex.h>

#include <string>

extern const std::string time_pattern;
// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): regexec takes it as it is
extern regex_t regex_iso_time;
extern int reg_comp; // result of compiling time_pattern, 0 for success
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

namespace cimgate {

// Whether type is the Edm type of date-times, in any case of letters.
bool isDateTimeType(const char* type);

// Whether text matches time_pattern. Aborts where that could not be compiled.
bool isIsoTime(const std::string& text);

} // namespace cimgate

#endif
