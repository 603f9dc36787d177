// The process's time zone for one test.
#ifndef TESTS_SUPPORT_TIME_ZONE_H_
#define TESTS_SUPPORT_TIME_ZONE_H_

#include <stdlib.h>
#include <time.h>

#include <string>

namespace support {

class TimeZone
{
public:
    explicit TimeZone(const char* name)
    {
        const char* former = getenv("TZ"); // NOLINT(concurrency-mt-unsafe): tests have one thread
        mWasSet = former != nullptr;
        mFormer = mWasSet ? former : "";
        setenv("TZ", name, 1); // NOLINT(concurrency-mt-unsafe)
        tzset();
    }
    ~TimeZone()
    {
        if (mWasSet) {
            setenv("TZ", mFormer.c_str(), 1); // NOLINT(concurrency-mt-unsafe)
        } else {
            unsetenv("TZ"); // NOLINT(concurrency-mt-unsafe)
        }
        tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

private:
    bool mWasSet;
    std::string mFormer;
};

} // namespace support

#endif
