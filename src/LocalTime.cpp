#include "LocalTime.h"

namespace cimgate {

std::string localTimeText(time_t seconds)
{
    tm local{};
    char buffer[32] = "";
    if (localtime_r(&seconds, &local) == nullptr ||
        std::strftime(buffer, sizeof buffer, "%Y-%m-%dT%H:%M:%S%z", &local) == 0) {
        return {};
    }
    return buffer;
}

} // namespace cimgate
