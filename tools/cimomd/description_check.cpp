#include "description_check.h"

#include "described_values.h"
#include "object_path_text.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

namespace cimomd {

namespace {

constexpr double kMaxSeconds = 86400;
constexpr unsigned int kMaxPercent = 100;

bool isText(const Json::Value& json)
{
    return json.isString() && !json.asString().empty();
}

// Checks the cases of one method. Each function returns false when there is a problem.
class Checker
{
public:
    explicit Checker(const cimxml::Method& method) : mMethod(method) {}

    bool cases(const Json::Value& json);

    const std::string& problem() const { return mProblem; }

private:
    using Check = bool (Checker::*)(const Json::Value&);

    bool wrong(const std::string& what);
    bool isObjectOf(const Json::Value& json, std::initializer_list<std::string_view> known);
    bool at(const std::string& place, const Json::Value& json, Check check);
    bool in(const Json::Value& json, const char* member, Check check);
    bool each(const Json::Value& json, Check check);

    bool methodCase(const Json::Value& json);
    bool seconds(const Json::Value& json);
    bool error(const Json::Value& json);
    bool returnValue(const Json::Value& json);
    bool outputs(const Json::Value& json);
    bool conditions(const Json::Value& json) { return each(json, &Checker::condition); }
    bool condition(const Json::Value& json);
    bool inputCondition(const Json::Value& json);
    bool test(const Json::Value& json);
    bool changes(const Json::Value& json) { return each(json, &Checker::change); }
    bool change(const Json::Value& json);
    bool job(const Json::Value& json);
    bool steps(const Json::Value& json) { return each(json, &Checker::step); }
    bool step(const Json::Value& json);
    bool properties(const Json::Value& json);
    bool object(const Json::Value& json);
    bool values(const Json::Value& json) { return each(json, &Checker::value); }
    bool value(const Json::Value& json);
    bool scalar(const Json::Value& json);
    bool input(const Json::Value& json);
    bool isReference(const Json::Value& input) const;

    const cimxml::Method& mMethod;
    bool mHasJob = false; // the case at hand
    std::string mWhere;
    std::string mProblem;
};

bool Checker::wrong(const std::string& what)
{
    mProblem = mWhere + ": " + what;
    return false;
}

// A member that is not known is most likely misspelt, so it is not passed over.
bool Checker::isObjectOf(const Json::Value& json, std::initializer_list<std::string_view> known)
{
    std::string list;
    for (const std::string_view name : known) {
        list += (list.empty() ? "\"" : ", \"") + std::string(name) + "\"";
    }
    if (!json.isObject()) {
        return wrong("give an object with " + list);
    }
    for (const std::string& name : json.getMemberNames()) {
        if (std::find(known.begin(), known.end(), name) == known.end()) {
            return wrong("\"" + name + "\" has no meaning here; there are " + list);
        }
    }
    return true;
}

// Checks what is found at a place, which messages name.
bool Checker::at(const std::string& place, const Json::Value& json, Check check)
{
    const size_t length = mWhere.size();
    mWhere += place;
    const bool isFine = (this->*check)(json);
    mWhere.resize(length);
    return isFine;
}

// Checks a member that may be absent.
bool Checker::in(const Json::Value& json, const char* member, Check check)
{
    return !json.isMember(member) || at(std::string(".") + member, json[member], check);
}

bool Checker::each(const Json::Value& json, Check check)
{
    if (!json.isArray()) {
        return wrong("give an array");
    }
    for (Json::ArrayIndex i = 0; i < json.size(); ++i) {
        if (!at("[" + std::to_string(i) + "]", json[i], check)) {
            return false;
        }
    }
    return true;
}

bool Checker::cases(const Json::Value& json)
{
    return json.isArray() && !json.empty() ? each(json, &Checker::methodCase)
                                           : wrong("give an array of one case or more");
}

bool Checker::methodCase(const Json::Value& json)
{
    const bool isError = json.isObject() && json.isMember("error");
    mHasJob = json.isObject() && json.isMember("job");
    return (isError ? isObjectOf(json, {"when", "delay", "error"})
                    : isObjectOf(json,
                                 {"when", "delay", "error", "return", "outputs", "set", "job"})) &&
           in(json, "when", &Checker::conditions) && in(json, "delay", &Checker::seconds) &&
           in(json, "error", &Checker::error) && in(json, "return", &Checker::returnValue) &&
           in(json, "outputs", &Checker::outputs) && in(json, "set", &Checker::changes) &&
           in(json, "job", &Checker::job);
}

bool Checker::seconds(const Json::Value& json)
{
    return (json.isNumeric() && json.asDouble() >= 0 && json.asDouble() <= kMaxSeconds) ||
           wrong("give a number of seconds from 0 to " +
                 std::to_string(static_cast<int>(kMaxSeconds)));
}

bool Checker::error(const Json::Value& json)
{
    return isObjectOf(json, {"code", "description"}) &&
           ((json["code"].isUInt() && json["code"].asUInt() > 0 && isText(json["description"])) ||
            wrong("give \"code\", the number of a CIM status, and \"description\", a text"));
}

bool Checker::returnValue(const Json::Value& json)
{
    return mMethod.returnType ? value(json) : wrong("the method returns nothing");
}

bool Checker::outputs(const Json::Value& json)
{
    if (!properties(json)) {
        return false;
    }
    for (const std::string& name : json.getMemberNames()) {
        if (mMethod.findParameter(name) == nullptr) {
            return wrong("the method has no parameter " + name);
        }
    }
    return true;
}

bool Checker::condition(const Json::Value& json)
{
    if (json.isObject() && json.isMember("input")) {
        return inputCondition(json);
    }
    return isObjectOf(json, {"object", "property", "is", "isNot", "isOneOf"}) &&
           at(".object", json["object"], &Checker::object) &&
           (isText(json["property"]) ||
            wrong("give either \"input\", or \"object\" and \"property\"")) &&
           test(json);
}

bool Checker::inputCondition(const Json::Value& json)
{
    if (!json.isMember("exists")) {
        return isObjectOf(json, {"input", "key", "is", "isNot", "isOneOf"}) && input(json) &&
               test(json);
    }
    return isObjectOf(json, {"input", "exists"}) && input(json) &&
           ((json["exists"].isBool() && isReference(json)) ||
            wrong("give \"exists\" as true or false, of a parameter that is a reference"));
}

bool Checker::test(const Json::Value& json)
{
    return (json.isMember("is") + json.isMember("isNot") + json.isMember("isOneOf") == 1 ||
            wrong("give one of \"is\", \"isNot\", \"isOneOf\", or, of a reference, \"exists\"")) &&
           in(json, "is", &Checker::value) && in(json, "isNot", &Checker::value) &&
           in(json, "isOneOf", &Checker::values);
}

bool Checker::change(const Json::Value& json)
{
    return isObjectOf(json, {"object", "properties"}) &&
           at(".object", json["object"], &Checker::object) &&
           in(json, "properties", &Checker::properties);
}

bool Checker::job(const Json::Value& json)
{
    return isObjectOf(json, {"class", "seconds", "properties", "steps"}) &&
           (isText(json["class"]) || wrong("give \"class\" as a text")) &&
           in(json, "seconds", &Checker::seconds) && in(json, "properties", &Checker::properties) &&
           in(json, "steps", &Checker::steps);
}

bool Checker::step(const Json::Value& json)
{
    return isObjectOf(json, {"percent", "properties", "set"}) &&
           ((json["percent"].isUInt() && json["percent"].asUInt() <= kMaxPercent) ||
            wrong("give \"percent\" as a number from 0 to 100")) &&
           in(json, "properties", &Checker::properties) && in(json, "set", &Checker::changes);
}

bool Checker::properties(const Json::Value& json)
{
    if (!json.isObject()) {
        return wrong("give an object of names and values");
    }
    const std::vector<std::string> names = json.getMemberNames();
    return std::all_of(names.begin(), names.end(), [&](const std::string& name) {
        return at("." + name, json[name], &Checker::value);
    });
}

bool Checker::object(const Json::Value& json)
{
    cimxml::ObjectPath ignored;
    if (json.isObject() && json.size() == 1 && json.isMember("input")) {
        return input(json) && (isReference(json) || wrong("the parameter is no reference"));
    }
    return (json.isString() && readObjectPath(json.asString(), ignored)) ||
           wrong("give \"this\", a path such as \"XCIM_Fan.DeviceID=Fan.1\", a class, or "
                 "{\"input\": NAME}");
}

bool Checker::value(const Json::Value& json)
{
    return json.isArray() ? each(json, &Checker::scalar) : scalar(json);
}

bool Checker::scalar(const Json::Value& json)
{
    const auto isOnly = [&json](const char* name) {
        return json.isObject() && json.size() == 1 && json[name] == Json::Value(true);
    };
    if (json.isObject() && json.isMember("input")) {
        return isObjectOf(json, {"input", "key"}) && input(json);
    }
    if (isOnly("job")) {
        return mHasJob || wrong("it is to be the job, but the case has no \"job\"");
    }
    return (!json.isObject() && !json.isArray()) || isOnly("now") ||
           wrong("give a constant, {\"input\": NAME}, {\"input\": NAME, \"key\": NAME}, "
                 "{\"now\": true}, {\"job\": true}, or an array of these");
}

// The input that is named and, where there is one, the key of the instance that it refers to.
bool Checker::input(const Json::Value& json)
{
    if (!isText(json["input"]) || mMethod.findParameter(json["input"].asString()) == nullptr) {
        return wrong("give as \"input\" the name of a parameter of the method");
    }
    return !json.isMember("key") || (isText(json["key"]) && isReference(json)) ||
           wrong("give as \"key\" the name of one; only a parameter that is a reference has keys");
}

bool Checker::isReference(const Json::Value& input) const
{
    return mMethod.findParameter(input["input"].asString())->type == cimxml::Type::Reference;
}

} // namespace

bool checkDescription(const Json::Value& cases, const cimxml::Method& method, std::string& problem)
{
    Checker checker(method);
    const bool isFine = checker.cases(cases);
    problem = checker.problem();
    return isFine;
}

} // namespace cimomd
