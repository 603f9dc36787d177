#include "jobs.h"

#include "cim_status.h"

#include <algorithm>
#include <utility>

namespace cimomd {

namespace {

constexpr unsigned int kDone = 100;
constexpr size_t kDigits = 12;
constexpr const char* kIdPrefix = "JID_";
constexpr const char* kPercentProperty = "PercentComplete";

std::string idOf(uint64_t number)
{
    std::string digits = std::to_string(number);
    digits.insert(0, kDigits - std::min(kDigits, digits.size()), '0');
    return kIdPrefix + digits;
}

unsigned int percentAt(const PlannedJob& job, TimePoint now)
{
    if (now - job.start >= job.duration) {
        return kDone;
    }
    const auto elapsed =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::max(now, job.start) - job.start);
    return static_cast<unsigned int>(elapsed.count() * kDone / job.duration.count());
}

// The name of the only key of a job class; whoever gets a reference takes its first key for the id.
cimxml::ObjectPath pathOf(const ClassEntry& cls, const std::string& id)
{
    cimxml::ObjectPath path;
    path.className = cls.definition.name;
    path.keys.push_back(
        {cls.definition.properties[cls.keys.front()].name, cimxml::Type::String, id});
    return path;
}

cimxml::Property propertyOf(const std::string& name, const std::string& value)
{
    cimxml::Property property;
    property.name = name;
    property.value = cimxml::Value::of(cimxml::Type::String, value);
    return property;
}

void setPercent(PlannedJob& job, unsigned int percent)
{
    cimxml::CimError ignored;
    const StoredInstance* const stored = job.nameSpace->find(job.path, ignored);
    if (stored != nullptr && stored->cls->definition.findProperty(kPercentProperty) != nullptr) {
        cimxml::Instance changes;
        changes.properties.push_back(propertyOf(kPercentProperty, std::to_string(percent)));
        (void)job.nameSpace->modify(job.path, changes, nullptr, ignored);
    }
}

bool advanceTo(PlannedJob& job, unsigned int percent)
{
    setPercent(job, percent);
    auto step = job.steps.begin();
    for (; step != job.steps.end() && step->percent <= percent; ++step) {
        for (const InstanceChange& change : step->changes) {
            cimxml::CimError ignored;
            (void)job.nameSpace->modify(change.path, change.properties, nullptr, ignored);
        }
    }
    job.steps.erase(job.steps.begin(), step);
    return percent == kDone;
}

// Puts a step behind all that come earlier or at the same time. Its values are those of its time.
bool planStep(const Json::Value& described, const ClassEntry& cls, CallValues known,
              PlannedJob& planned, cimxml::CimError& error)
{
    PlannedJob::Step step{described["percent"].asUInt(), {{planned.path, {}}}};
    known.now = planned.start + planned.duration * step.percent / kDone;
    if (!evaluateProperties(described["properties"], known, cls, step.changes.front().properties,
                            error) ||
        !evaluateChanges(described["set"], known, step.changes, error)) {
        return false;
    }
    const auto later =
        std::find_if(planned.steps.begin(), planned.steps.end(),
                     [&step](const auto& other) { return other.percent > step.percent; });
    planned.steps.insert(later, std::move(step));
    return true;
}

} // namespace

bool Jobs::plan(const Json::Value& described, NameSpace& nameSpace, const CallValues& call,
                PlannedJob& planned, cimxml::CimError& error)
{
    const ClassEntry* const cls = nameSpace.findClass(described["class"].asString(), error);
    if (cls == nullptr) {
        return false;
    }
    if (cls->keys.size() != 1 ||
        cls->definition.properties[cls->keys.front()].value.type != cimxml::Type::String) {
        return fail(error, kFailed,
                    cls->definition.name + " is no class of jobs: its only key has to be a string");
    }
    planned.nameSpace = &nameSpace;
    planned.start = call.now;
    planned.duration = durationOf(described["seconds"]);
    cimxml::CimError ignored;
    do {
        planned.path = pathOf(*cls, idOf(++mLastNumber));
    } while (nameSpace.find(planned.path, ignored) != nullptr);
    CallValues known = call;
    known.job = &planned.path;
    if (!evaluateProperties(described["properties"], known, *cls, planned.instance, error)) {
        return false;
    }
    const Json::Value& steps = described["steps"];
    return std::all_of(steps.begin(), steps.end(), [&](const Json::Value& step) {
        return planStep(step, *cls, known, planned, error);
    });
}

bool Jobs::start(PlannedJob planned, cimxml::CimError& error)
{
    const cimxml::KeyBinding& key = planned.path.keys.front();
    planned.instance.properties.push_back(propertyOf(key.name, std::get<std::string>(key.value)));
    if (planned.nameSpace->create(planned.instance, error) == nullptr) {
        return false;
    }
    mRunning.push_back(std::move(planned));
    return true;
}

void Jobs::advance(TimePoint now)
{
    mRunning.remove_if([now](PlannedJob& job) { return advanceTo(job, percentAt(job, now)); });
}

std::chrono::milliseconds durationOf(const Json::Value& seconds)
{
    constexpr int kMillisecondsPerSecond = 1000;
    return std::chrono::milliseconds(
        static_cast<int64_t>(seconds.asDouble() * kMillisecondsPerSecond));
}

} // namespace cimomd
