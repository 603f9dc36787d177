// Date-times as the 25 characters of DSP0004.
#ifndef CMPISFCC_DATE_TIME_H_
#define CMPISFCC_DATE_TIME_H_

#include "objects.h"

#include <string_view>

namespace cmpisfcc {

// Whether the text has the form of a point in time or of an interval. Digits may be asterisks.
bool isDateTime(std::string_view text);

// The text has that form. In the arena, or on its own without one.
DateTimeObject* makeDateTime(std::string_view text, Arena* arena);

} // namespace cmpisfcc

#endif
