// Methods that do what files beside the declarations describe.
#ifndef CIMOMD_DESCRIBED_BEHAVIOUR_H_
#define CIMOMD_DESCRIBED_BEHAVIOUR_H_

#include "jobs.h"
#include "method_description.h"
#include "methods.h"
#include "repository.h"

#include <functional>
#include <map>
#include <string>
#include <utility>

namespace cimomd {

using Clock = std::function<TimePoint()>;

class DescribedBehaviour : public MethodBehaviour
{
public:
    explicit DescribedBehaviour(Clock clock = std::chrono::system_clock::now)
        : mClock(std::move(clock))
    {}

    // Reads all *.methods.json of a directory, the repository's; there may be none. Returns false
    // with file and cause in problem.
    bool load(const std::string& directory, Repository& repository, std::string& problem);

    // A method that no file describes, of the class or of one that it is derived from, is not
    // available.
    bool invoke(const MethodCall& call, MethodResult& result, cimxml::CimError& error) override;

    void advance() override;

private:
    bool add(const std::string& text, Repository& repository, std::string& problem);
    const MethodDescription* find(const MethodCall& call) const;
    bool carryOut(const MethodCase& described, const MethodCall& call, CallValues& values,
                  MethodResult& result, cimxml::CimError& error);

    Clock mClock;
    std::map<std::pair<const ClassEntry*, std::string>, MethodDescription> mDescriptions;
    Jobs mJobs;
};

} // namespace cimomd

#endif
