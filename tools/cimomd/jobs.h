// Jobs that methods start: instances that change as time goes on.
#ifndef CIMOMD_JOBS_H_
#define CIMOMD_JOBS_H_

#include "described_values.h"
#include "name_space.h"

#include <json/value.h>

#include <chrono>
#include <cstdint>
#include <list>
#include <string>
#include <vector>

namespace cimomd {

// A job, ready to be started: all its values are settled.
struct PlannedJob
{
    struct Step
    {
        unsigned int percent;
        std::vector<InstanceChange> changes;
    };

    NameSpace* nameSpace = nullptr;
    cimxml::ObjectPath path; // its only key is the id
    cimxml::Instance instance;
    TimePoint start;
    std::chrono::milliseconds duration{0};
    std::vector<Step> steps; // by percentage
};

class Jobs
{
public:
    // Plans a job as it is described, with an id that is not in use.
    bool plan(const Json::Value& described, NameSpace& nameSpace, const CallValues& call,
              PlannedJob& planned, cimxml::CimError& error);

    // Creates its instance. From then on the job goes on by itself.
    bool start(PlannedJob planned, cimxml::CimError& error);

    // Makes the jobs show how far they are at this time. What has been deleted since is left alone.
    void advance(TimePoint now);

private:
    std::list<PlannedJob> mRunning;
    uint64_t mLastNumber = 0;
};

// Of a number of seconds; null stands for none.
std::chrono::milliseconds durationOf(const Json::Value& seconds);

} // namespace cimomd

#endif
