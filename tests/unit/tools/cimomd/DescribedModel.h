// A repository with methods, their descriptions and a clock that is turned by hand.
#ifndef DESCRIBED_MODEL_H_
#define DESCRIBED_MODEL_H_

#include "methods.h"
#include "repository.h"

#include <TempDirectory.h>

#include <chrono>
#include <string>
#include <vector>

namespace sample {

// 1 May 2024, 10:20:30 UTC.
constexpr std::chrono::system_clock::time_point kStart{std::chrono::seconds{1714558830}};

// Classes: Fan (key Id; Speed, Ok, Since, Names) with the methods Stop(Seconds, Force, Other,
// Names, At, Job, Text), Forget and Report(one output of each type, and an array of each), BigFan
// derived from it, Job (InstanceID; State, PercentComplete, Text, Ended). Instances: Fan f, Fan g,
// BigFan big.
class DescribedModel
{
public:
    DescribedModel();

    // The problem of a description file; empty when there is none. cases: those of Fan.Stop.
    std::string load(const std::string& fileText);
    std::string describe(const std::string& cases);

    struct Outcome
    {
        bool isDone = false;
        cimomd::MethodResult result;
        cimxml::CimError error;

        // "5", "null", "[1,null]", "Fan.Id=\"f\"", "no such output"
        std::string output(const std::string& name) const;
        std::string returned() const;
    };

    // Calls a method of an instance; without an id, of the class Fan. Inputs come as texts.
    Outcome call(const std::string& method, const std::string& id,
                 const std::vector<std::pair<std::string, std::string>>& inputs = {});
    Outcome callWith(const std::string& method, const std::string& id,
                     const std::vector<cimxml::MethodParameter>& inputs);

    // The text of a property; "no such instance".
    std::string property(const std::string& className, const std::string& key,
                         const std::string& id, const std::string& name);
    std::string fan(const std::string& id, const std::string& name)
    {
        return property("Fan", "Id", id, name);
    }

    cimomd::NameSpace& nameSpace() { return *mRepository.find("root/xcim"); }
    cimomd::Repository& repository() { return mRepository; }
    cimomd::Methods& methods() { return mMethods; }
    void wait(std::chrono::milliseconds time)
    {
        mNow += time;
        mMethods.advance();
    }

private:
    support::TempDirectory mDirectory;
    cimomd::Repository mRepository;
    std::chrono::system_clock::time_point mNow = kStart;
    cimomd::Methods mMethods{[this] {
        return mNow;
    }};
};

std::string textOf(const cimxml::Value& value);

} // namespace sample

#endif
