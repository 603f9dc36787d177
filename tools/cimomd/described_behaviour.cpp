#include "described_behaviour.h"

#include "cim_status.h"
#include "description_check.h"
#include "description_reader.h"
#include "repository_files.h"
#include "values.h"

#include <algorithm>
#include <vector>

namespace cimomd {

namespace {

bool fits(const MethodCase& described, const CallValues& values)
{
    return std::all_of(described.conditions.begin(), described.conditions.end(),
                       [&values](const CallCondition& one) { return holds(one, values); });
}

bool evaluateReturn(const MethodCase& described, const CallValues& values,
                    const cimxml::Method& method, MethodResult& result, cimxml::CimError& error)
{
    return !described.returnValue ||
           evaluate(*described.returnValue, values, {*method.returnType, false, "the return value"},
                    result.returnValue.emplace().value, error);
}

// In the order of their declaration.
bool evaluateOutputs(const MethodCase& described, const CallValues& values,
                     const cimxml::Method& method, MethodResult& result, cimxml::CimError& error)
{
    for (const cimxml::Parameter& parameter : method.parameters) {
        const auto output =
            std::find_if(described.outputs.begin(), described.outputs.end(), [&](const auto& one) {
                return cimxml::equalsIgnoreCase(one.name, parameter.name);
            });
        if (output == described.outputs.end()) {
            continue;
        }
        cimxml::MethodParameter& made = result.outputs.emplace_back();
        made.name = parameter.name;
        if (!evaluate(output->value, values, {parameter.type, parameter.isArray, made.name},
                      made.value, error)) {
            return false;
        }
    }
    return true;
}

} // namespace

bool DescribedBehaviour::load(const std::string& directory, Repository& repository,
                              std::string& problem)
{
    std::vector<std::string> paths;
    if (!listFiles(directory, ".methods.json", paths, problem)) {
        return false;
    }
    return std::all_of(paths.begin(), paths.end(), [&](const std::string& path) {
        std::string text;
        if (!readFile(path, text, problem)) {
            return false;
        }
        if (!add(text, repository, problem)) {
            problem.insert(0, path + ": ");
            return false;
        }
        return true;
    });
}

bool DescribedBehaviour::add(const std::string& text, Repository& repository, std::string& problem)
{
    DescriptionFile file;
    if (!readDescriptions(text, file, problem)) {
        return false;
    }
    const NameSpace* const nameSpace = repository.find(file.nameSpace);
    if (nameSpace == nullptr) {
        problem = "there is no namespace " + file.nameSpace;
        return false;
    }
    for (MethodDescription& description : file.methods) {
        if (!checkDescription(description, *nameSpace, problem)) {
            return false;
        }
        const std::string name = description.className + "." + description.method;
        const ClassEntry* const cls = nameSpace->classes().find(description.className);
        const std::string key = lowered(description.method);
        if (!mDescriptions.try_emplace({cls, key}, std::move(description)).second) {
            problem = name + " is described twice; keep one";
            return false;
        }
    }
    return true;
}

const MethodDescription* DescribedBehaviour::find(const MethodCall& call) const
{
    const std::string name = lowered(call.method.name);
    for (const ClassEntry* cls = &call.cls; cls != nullptr; cls = cls->superclass) {
        const auto found = mDescriptions.find({cls, name});
        if (found != mDescriptions.end()) {
            return &found->second;
        }
    }
    return nullptr;
}

bool DescribedBehaviour::invoke(const MethodCall& call, MethodResult& result,
                                cimxml::CimError& error)
{
    const MethodDescription* const description = find(call);
    if (description == nullptr) {
        return fail(error, kMethodNotAvailable,
                    "the method " + call.method.name + " is not available");
    }
    CallValues values{call.nameSpace, call.inputs, call.instance, mClock(), nullptr};
    const auto described =
        std::find_if(description->cases.begin(), description->cases.end(),
                     [&values](const MethodCase& one) { return fits(one, values); });
    if (described == description->cases.end()) {
        return fail(error, kInvalidParameter,
                    "nothing is described for these inputs of " + call.method.name);
    }
    result.delay = described->delay;
    if (described->error) {
        error = *described->error;
        return false;
    }
    return carryOut(*described, call, values, result, error);
}

// Everything is settled before anything changes, so that a call that fails leaves no traces.
bool DescribedBehaviour::carryOut(const MethodCase& described, const MethodCall& call,
                                  CallValues& values, MethodResult& result, cimxml::CimError& error)
{
    PlannedJob job;
    if (described.job) {
        if (!mJobs.plan(*described.job, call.nameSpace, values, job, error)) {
            return false;
        }
        values.job = &job.path;
    }
    std::vector<InstanceChange> changes;
    if (!evaluateChanges(described.changes, values, changes, error) ||
        !evaluateReturn(described, values, call.method, result, error) ||
        !evaluateOutputs(described, values, call.method, result, error)) {
        return false;
    }
    if (described.job && !mJobs.start(std::move(job), error)) {
        return false;
    }
    const bool isChanged =
        std::all_of(changes.begin(), changes.end(), [&](const InstanceChange& change) {
            return call.nameSpace.modify(change.path, change.properties, nullptr, error);
        });
    mJobs.advance(values.now); // after the changes, which a job's first steps build on
    return isChanged;
}

void DescribedBehaviour::advance()
{
    mJobs.advance(mClock());
}

} // namespace cimomd
