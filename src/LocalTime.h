// Date-times as answers show them.
#ifndef LOCAL_TIME_H_
#define LOCAL_TIME_H_

#include <ctime>
#include <string>

namespace cimgate {

inline constexpr unsigned int kUsPerSecond = 1000000;

// Local time of seconds since the epoch, "2024-05-01T10:20:30+0200"; "" where the calendar does not
// reach.
std::string localTimeText(time_t seconds);

} // namespace cimgate

#endif
