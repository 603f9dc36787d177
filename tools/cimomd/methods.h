// Extrinsic methods: they do what files beside the declarations describe.
#ifndef CIMOMD_METHODS_H_
#define CIMOMD_METHODS_H_

#include "jobs.h"
#include "repository.h"

#include <cimxml/request.h>
#include <cimxml/types.h>
#include <json/value.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cimomd {

using Clock = std::function<TimePoint()>;

struct MethodResult
{
    std::optional<cimxml::MethodParameter> returnValue;
    std::vector<cimxml::MethodParameter> outputs;
    // How long the answer, or the error, is held back.
    std::chrono::milliseconds delay{0};
};

class Methods
{
public:
    explicit Methods(Clock clock = std::chrono::system_clock::now) : mClock(std::move(clock)) {}

    // Reads all *.methods.json of a directory, the repository's; there may be none. Returns false
    // with file, method and cause in problem.
    bool load(const std::string& directory, Repository& repository, std::string& problem);

    // Finds the method that a request calls and carries it out. Without a description, of the class
    // or of one that it is derived from, it is kMethodNotAvailable. A call that fails changes
    // nothing.
    bool call(NameSpace& nameSpace, const cimxml::ExtrinsicRequest& request, MethodResult& result,
              cimxml::CimError& error);

    // Brings jobs up to date; to be called before each operation.
    void advance() { mJobs.advance(mClock()); }

private:
    bool add(const std::string& text, Repository& repository, std::string& problem);
    bool describe(const NameSpace& nameSpace, const std::string& name, const Json::Value& cases,
                  std::string& problem);
    const Json::Value* findCases(const ClassEntry& cls, const cimxml::Method& method) const;
    bool carryOut(const Json::Value& described, NameSpace& nameSpace, const cimxml::Method& method,
                  CallValues& values, MethodResult& result, cimxml::CimError& error);

    Clock mClock;
    // The cases of methods, by class and lowered method name.
    std::map<std::pair<const ClassEntry*, std::string>, Json::Value> mDescriptions;
    Jobs mJobs;
};

} // namespace cimomd

#endif
