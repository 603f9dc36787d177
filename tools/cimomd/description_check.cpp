#include "description_check.h"

#include "described_values.h"

#include <algorithm>
#include <string>
#include <variant>
#include <vector>

namespace cimomd {

namespace {

bool isConstant(const ValueSource& source)
{
    return std::all_of(source.items.begin(), source.items.end(), [](const ScalarSource& item) {
        return std::holds_alternative<cimxml::Scalar>(item);
    });
}

// Checks the cases of one method.
class Checker
{
public:
    Checker(const NameSpace& nameSpace, const ClassEntry& cls, const cimxml::Method& method,
            std::string& problem)
        : mNameSpace(nameSpace), mClass(cls), mMethod(method), mProblem(problem)
    {}

    bool check(const MethodCase& one);

private:
    bool wrong(const std::string& what);
    bool input(const InputSource& source);
    bool sources(const ValueSource& source, const std::string& where);
    bool value(const ValueSource& source, const ValueUse& use);
    bool condition(const CallCondition& condition);
    bool output(const Assignment& output);
    bool returnValue(const ValueSource& source);
    bool change(const Change& change);
    bool job(const JobDescription& job);
    bool properties(const std::vector<Assignment>& assignments, const ClassEntry* cls);
    bool changes(const std::vector<Assignment>& assignments, const ClassEntry* cls);
    bool objectClass(const ObjectSource& object, const ClassEntry*& cls);

    const NameSpace& mNameSpace;
    const ClassEntry& mClass;
    const cimxml::Method& mMethod;
    std::string& mProblem;
    bool mHasJob = false;
};

bool Checker::wrong(const std::string& what)
{
    mProblem = what;
    return false;
}

bool Checker::input(const InputSource& source)
{
    const cimxml::Parameter* const parameter = mMethod.findParameter(source.name);
    if (parameter == nullptr) {
        return wrong("the method " + mMethod.name + " has no parameter " + source.name);
    }
    return source.key.empty() || parameter->type == cimxml::Type::Reference ||
           wrong("the parameter " + source.name + " is no reference and has no keys");
}

bool Checker::sources(const ValueSource& source, const std::string& where)
{
    for (const ScalarSource& item : source.items) {
        const auto* const named = std::get_if<InputSource>(&item);
        if (named != nullptr && !input(*named)) {
            return false;
        }
        if (std::holds_alternative<JobSource>(item) && !mHasJob) {
            return wrong(where + " is to be the job, but the case has no \"job\"");
        }
    }
    return true;
}

bool Checker::value(const ValueSource& source, const ValueUse& use)
{
    if (!sources(source, use.name)) {
        return false;
    }
    const std::vector<cimxml::MethodParameter> noInputs;
    cimxml::Value ignored;
    cimxml::CimError error;
    return !isConstant(source) || evaluate(source, {mNameSpace, noInputs}, use, ignored, error) ||
           wrong(error.description);
}

// The class of an object; null when only the call can tell.
bool Checker::objectClass(const ObjectSource& object, const ClassEntry*& cls)
{
    cls = std::holds_alternative<CalledObject>(object) ? &mClass : nullptr;
    if (const auto* const named = std::get_if<InputSource>(&object)) {
        const cimxml::Parameter* const parameter = mMethod.findParameter(named->name);
        if (!named->key.empty() || parameter == nullptr ||
            parameter->type != cimxml::Type::Reference) {
            return wrong("the object is no parameter of " + mMethod.name + " that is a reference");
        }
    }
    const auto* const path = std::get_if<cimxml::ObjectPath>(&object);
    cimxml::CimError error;
    if (path != nullptr) {
        cls = mNameSpace.findClass(path->className, error);
        return cls != nullptr || wrong(error.description);
    }
    return true;
}

bool Checker::properties(const std::vector<Assignment>& assignments, const ClassEntry* cls)
{
    return std::all_of(assignments.begin(), assignments.end(), [&](const Assignment& assignment) {
        if (cls == nullptr) {
            return sources(assignment.value, assignment.name);
        }
        const cimxml::Property* const property = cls->findProperty(assignment.name);
        if (property == nullptr) {
            return wrong(cls->definition.name + " has no property " + assignment.name);
        }
        return value(assignment.value,
                     {property->value.type, property->value.isArray, property->name});
    });
}

bool Checker::changes(const std::vector<Assignment>& assignments, const ClassEntry* cls)
{
    if (!properties(assignments, cls)) {
        return false;
    }
    const std::string key = cls == nullptr ? std::string() : changedKey(assignments, *cls);
    return key.empty() || wrong("the key " + key + " cannot be changed");
}

bool Checker::condition(const CallCondition& condition)
{
    const auto all = [&condition](const auto& isFine) {
        return std::all_of(condition.values.begin(), condition.values.end(), isFine);
    };
    if (condition.object) {
        const ClassEntry* cls = nullptr;
        return objectClass(*condition.object, cls) && all([&](const ValueSource& source) {
                   return properties({{condition.property, source}}, cls);
               });
    }
    if (!input(condition.input)) {
        return false;
    }
    const cimxml::Parameter& parameter = *mMethod.findParameter(condition.input.name);
    const bool isAboutInstance = condition.test == CallCondition::Test::Exists ||
                                 condition.test == CallCondition::Test::IsMissing;
    if (isAboutInstance && parameter.type != cimxml::Type::Reference) {
        return wrong("the parameter " + parameter.name +
                     " is no reference: \"exists\" is no test of it");
    }
    const cimxml::Type type = condition.input.key.empty() ? parameter.type : cimxml::Type::String;
    return all([&](const ValueSource& source) {
        return value(source, {type, parameter.isArray, parameter.name});
    });
}

bool Checker::output(const Assignment& output)
{
    const cimxml::Parameter* const parameter = mMethod.findParameter(output.name);
    return parameter == nullptr
               ? input({output.name})
               : value(output.value, {parameter->type, parameter->isArray, parameter->name});
}

bool Checker::returnValue(const ValueSource& source)
{
    return !mMethod.returnType ? wrong("the method " + mMethod.name + " returns nothing")
                               : value(source, {*mMethod.returnType, false, "the return value"});
}

bool Checker::change(const Change& change)
{
    const ClassEntry* cls = nullptr;
    return objectClass(change.object, cls) && changes(change.properties, cls);
}

bool Checker::job(const JobDescription& job)
{
    cimxml::CimError error;
    const ClassEntry* const cls = mNameSpace.findClass(job.className, error);
    if (cls == nullptr) {
        return wrong(error.description);
    }
    if (cls->keys.size() != 1 ||
        cls->definition.properties[cls->keys.front()].value.type != cimxml::Type::String) {
        return wrong(cls->definition.name +
                     " is no class of jobs: its only key has to be a string");
    }
    return changes(job.properties, cls) &&
           std::all_of(job.steps.begin(), job.steps.end(), [&](const JobStep& step) {
               return changes(step.properties, cls) &&
                      std::all_of(step.changes.begin(), step.changes.end(),
                                  [this](const Change& one) { return change(one); });
           });
}

bool Checker::check(const MethodCase& one)
{
    mHasJob = one.job.has_value();
    return std::all_of(one.conditions.begin(), one.conditions.end(),
                       [this](const CallCondition& each) { return condition(each); }) &&
           (!one.returnValue || returnValue(*one.returnValue)) &&
           std::all_of(one.outputs.begin(), one.outputs.end(),
                       [this](const Assignment& each) { return output(each); }) &&
           std::all_of(one.changes.begin(), one.changes.end(),
                       [this](const Change& each) { return change(each); }) &&
           (!one.job || job(*one.job));
}

} // namespace

bool checkDescription(const MethodDescription& description, const NameSpace& nameSpace,
                      std::string& problem)
{
    const std::string name = description.className + "." + description.method;
    cimxml::CimError error;
    const ClassEntry* const cls = nameSpace.findClass(description.className, error);
    if (cls == nullptr) {
        problem = name + ": " + error.description;
        return false;
    }
    const cimxml::Method* const method = cls->findMethod(description.method);
    if (method == nullptr) {
        problem = name + ": the class declares no such method";
        return false;
    }
    Checker checker(nameSpace, *cls, *method, problem);
    for (size_t i = 0; i < description.cases.size(); ++i) {
        if (!checker.check(description.cases[i])) {
            problem.insert(0, name + "[" + std::to_string(i) + "]: ");
            return false;
        }
    }
    return true;
}

} // namespace cimomd
