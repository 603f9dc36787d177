#include "IsoTime.h"

#include "Log.h"

#include <strings.h>

// An offset is wanted after "Z" as well: clients have learned to write it so.
const std::string time_pattern = "^([0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}"
                                 "(\\.[0-9]{3})?(Z|(\\+|-))[0-9]{2}:[0-9]{2})$";
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): regexec takes it as it is
regex_t regex_iso_time;
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): set together with it
int reg_comp = regcomp(&regex_iso_time, time_pattern.c_str(), REG_EXTENDED);

namespace cimgate {

bool isDateTimeType(const char* type)
{
    return strcasecmp(type, "Edm.DateTimeOffset") == 0;
}

bool isIsoTime(const std::string& text)
{
    RM_ASSERT(0 == reg_comp);
    regmatch_t match;
    return regexec(&regex_iso_time, text.c_str(), 1, &match, 0) == 0;
}

} // namespace cimgate
