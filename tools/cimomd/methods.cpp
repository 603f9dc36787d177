#include "methods.h"

#include "cim_status.h"
#include "description_check.h"
#include "repository_files.h"
#include "values.h"

#include <json/reader.h>

#include <algorithm>
#include <exception>
#include <memory>

namespace cimomd {

namespace {

constexpr const char* kShape =
    "give {\"namespace\": TEXT, \"methods\": {\"CLASS.METHOD\": [CASE, ...], ...}}";

// The JSON library throws where texts are nested too deeply.
bool parse(const std::string& text, Json::Value& root, std::string& problem)
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    try {
        if (reader->parse(text.data(), text.data() + text.size(), &root, &problem)) {
            return true;
        }
    } catch (const std::exception& error) {
        problem = error.what();
    }
    problem.insert(0, "it is not JSON: ");
    return false;
}

// Many a client gives a point in time the suffix of an interval: "20240501102030.000000:000". No
// interval has millions of days, so what is a date in its first digits is taken for one, of UTC.
void settleDateTime(cimxml::Scalar& scalar)
{
    constexpr size_t kSign = 21;
    auto* const text = std::get_if<std::string>(&scalar);
    if (text != nullptr && text->size() > kSign && (*text)[kSign] == ':' && *text >= "19") {
        (*text)[kSign] = '+';
        if (!cimxml::isDateTime(*text)) {
            (*text)[kSign] = ':';
        }
    }
}

// Gives an input the name and the type that are declared.
bool settleInput(const cimxml::Method& method, cimxml::MethodParameter& input,
                 cimxml::CimError& error)
{
    const cimxml::Parameter* const declared = method.findParameter(input.name);
    if (declared == nullptr) {
        return fail(error, kInvalidParameter,
                    "the method " + method.name + " has no parameter " + input.name);
    }
    if (!convertTo(declared->type, declared->isArray, input.value)) {
        return fail(error, kInvalidParameter,
                    "the parameter " + declared->name + " is not of type " +
                        typeText(declared->type, declared->isArray));
    }
    if (declared->type == cimxml::Type::DateTime) {
        settleDateTime(input.value.scalar);
        std::for_each(input.value.elements.begin(), input.value.elements.end(), settleDateTime);
    }
    input.name = declared->name;
    return true;
}

bool settleInputs(const cimxml::Method& method, std::vector<cimxml::MethodParameter>& inputs,
                  cimxml::CimError& error)
{
    for (auto input = inputs.begin(); input != inputs.end(); ++input) {
        if (!settleInput(method, *input, error)) {
            return false;
        }
        if (std::any_of(inputs.begin(), input,
                        [&](const auto& other) { return other.name == input->name; })) {
            return fail(error, kInvalidParameter,
                        "the parameter " + input->name + " is given twice");
        }
    }
    return true;
}

// What a parameter or a method that returns a text declares that it holds.
cimxml::Embedded embeddedBy(const std::vector<cimxml::Qualifier>& qualifiers)
{
    if (cimxml::findQualifier(qualifiers, "EmbeddedInstance") != nullptr) {
        return cimxml::Embedded::Instance;
    }
    return cimxml::findQualifier(qualifiers, "EmbeddedObject") != nullptr ? cimxml::Embedded::Object
                                                                          : cimxml::Embedded::None;
}

// In the order of their declaration.
bool evaluateOutputs(const Json::Value& described, const CallValues& values,
                     const cimxml::Method& method, MethodResult& result, cimxml::CimError& error)
{
    for (const cimxml::Parameter& parameter : method.parameters) {
        for (const std::string& name : described.getMemberNames()) {
            if (!cimxml::equalsIgnoreCase(name, parameter.name)) {
                continue;
            }
            cimxml::MethodParameter& output = result.outputs.emplace_back();
            output.name = parameter.name;
            output.embedded = embeddedBy(parameter.qualifiers);
            if (!evaluate(described[name], values,
                          {parameter.type, parameter.isArray, parameter.name}, output.value,
                          error)) {
                return false;
            }
        }
    }
    return true;
}

bool evaluateResult(const Json::Value& described, const CallValues& values,
                    const cimxml::Method& method, MethodResult& result, cimxml::CimError& error)
{
    if (described.isMember("return")) {
        cimxml::MethodParameter& returned = result.returnValue.emplace();
        returned.embedded = embeddedBy(method.qualifiers);
        if (!evaluate(described["return"], values, {*method.returnType, false, "the return value"},
                      returned.value, error)) {
            return false;
        }
    }
    return evaluateOutputs(described["outputs"], values, method, result, error);
}

} // namespace

bool Methods::load(const std::string& directory, Repository& repository, std::string& problem)
{
    std::vector<RepositoryFile> files;
    return readFiles(directory, ".methods.json", files, problem) &&
           std::all_of(files.begin(), files.end(), [&](const RepositoryFile& file) {
               const bool isAdded = add(file.text, repository, problem);
               problem.insert(0, isAdded ? "" : file.path + ": ");
               return isAdded;
           });
}

bool Methods::add(const std::string& text, Repository& repository, std::string& problem)
{
    Json::Value root;
    if (!parse(text, root, problem)) {
        return false;
    }
    if (!root.isObject() || root.size() != 2 || !root["namespace"].isString() ||
        !root["methods"].isObject()) {
        problem = kShape;
        return false;
    }
    const NameSpace* const nameSpace = repository.find(root["namespace"].asString());
    if (nameSpace == nullptr) {
        problem = "there is no namespace " + root["namespace"].asString();
        return false;
    }
    const Json::Value& methods = root["methods"];
    const std::vector<std::string> names = methods.getMemberNames();
    return std::all_of(names.begin(), names.end(), [&](const std::string& name) {
        if (!describe(*nameSpace, name, methods[name], problem)) {
            problem.insert(0, name);
            return false;
        }
        return true;
    });
}

bool Methods::describe(const NameSpace& nameSpace, const std::string& name,
                       const Json::Value& cases, std::string& problem)
{
    const size_t dot = std::min(name.find('.'), name.size());
    cimxml::CimError error;
    const ClassEntry* const cls = nameSpace.findClass(name.substr(0, dot), error);
    if (cls == nullptr) {
        problem = ": " + error.description + "; name it \"CLASS.METHOD\"";
        return false;
    }
    const cimxml::Method* const method =
        cls->definition.findMethod(dot == name.size() ? "" : name.substr(dot + 1));
    if (method == nullptr) {
        problem = ": the class declares no such method";
        return false;
    }
    if (!checkDescription(cases, *method, problem)) {
        return false;
    }
    if (!mDescriptions.try_emplace({cls, lowered(method->name)}, cases).second) {
        problem = ": it is described twice; keep one";
        return false;
    }
    return true;
}

const Json::Value* Methods::findCases(const ClassEntry& cls, const cimxml::Method& method) const
{
    const std::string name = lowered(method.name);
    for (const ClassEntry* owner = &cls; owner != nullptr; owner = owner->superclass) {
        const auto found = mDescriptions.find({owner, name});
        if (found != mDescriptions.end()) {
            return &found->second;
        }
    }
    return nullptr;
}

bool Methods::call(NameSpace& nameSpace, const cimxml::ExtrinsicRequest& request,
                   MethodResult& result, cimxml::CimError& error)
{
    const ClassEntry* const cls = nameSpace.findClass(request.object.className, error);
    if (cls == nullptr) {
        return false;
    }
    const cimxml::Method* const method = cls->definition.findMethod(request.method);
    if (method == nullptr) {
        return fail(error, kMethodNotFound,
                    cls->definition.name + " has no method " + request.method);
    }
    const StoredInstance* const called =
        request.isInstance ? nameSpace.find(request.object, error) : nullptr;
    std::vector<cimxml::MethodParameter> inputs = request.inputs;
    if ((request.isInstance && called == nullptr) || !settleInputs(*method, inputs, error)) {
        return false;
    }
    const Json::Value* const cases = findCases(*cls, *method);
    if (cases == nullptr) {
        return fail(error, kMethodNotAvailable, "nothing describes the method " + method->name);
    }
    CallValues values{nameSpace, inputs, called, mClock(), nullptr};
    const auto fitting = std::find_if(cases->begin(), cases->end(),
                                      [&](const auto& one) { return hold(one["when"], values); });
    return fitting == cases->end()
               ? fail(error, kInvalidParameter,
                      "nothing is described for these inputs of " + method->name)
               : carryOut(*fitting, nameSpace, *method, values, result, error);
}

// Everything is settled before anything changes, so that a call that fails leaves no traces.
bool Methods::carryOut(const Json::Value& described, NameSpace& nameSpace,
                       const cimxml::Method& method, CallValues& values, MethodResult& result,
                       cimxml::CimError& error)
{
    result.delay = durationOf(described["delay"]);
    if (described.isMember("error")) {
        return fail(error, described["error"]["code"].asUInt(),
                    described["error"]["description"].asString());
    }
    PlannedJob job;
    const bool hasJob = described.isMember("job");
    if (hasJob && !mJobs.plan(described["job"], nameSpace, values, job, error)) {
        return false;
    }
    values.job = &job.path;
    std::vector<InstanceChange> changes;
    if (!evaluateChanges(described["set"], values, changes, error) ||
        !evaluateResult(described, values, method, result, error) ||
        (hasJob && !mJobs.start(std::move(job), error))) {
        return false;
    }
    const bool isChanged =
        std::all_of(changes.begin(), changes.end(), [&](const InstanceChange& change) {
            return nameSpace.modify(change.path, change.properties, nullptr, error);
        });
    mJobs.advance(values.now); // after the changes, which a job's first steps build on
    return isChanged;
}

} // namespace cimomd
