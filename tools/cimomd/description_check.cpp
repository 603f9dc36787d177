#include "description_check.h"

#include "object_path_text.h"

#include <algorithm>
#include <initializer_list>

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

    struct Member
    {
        const char* name = nullptr;
        Check check = nullptr;
        bool isRequired = false;
    };

    bool wrong(const std::string& what);
    bool at(const std::string& place, const Json::Value& json, Check check);
    bool each(const Json::Value& json, Check check);
    bool members(const Json::Value& json, std::initializer_list<Member> known);

    bool methodCase(const Json::Value& json);
    bool error(const Json::Value& json);
    bool returnValue(const Json::Value& json);
    bool outputs(const Json::Value& json);
    bool conditions(const Json::Value& json) { return each(json, &Checker::condition); }
    bool condition(const Json::Value& json);
    bool inputCondition(const Json::Value& json);
    bool hasTest(const Json::Value& json);
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
    bool reference(const Json::Value& json);

    bool text(const Json::Value& json) { return isText(json) || wrong("give a text"); }
    bool flag(const Json::Value& json) { return json.isBool() || wrong("give true or false"); }
    bool seconds(const Json::Value& json);
    bool percent(const Json::Value& json);
    bool status(const Json::Value& json);

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

// Checks what is found at a place, which messages name.
bool Checker::at(const std::string& place, const Json::Value& json, Check check)
{
    const size_t length = mWhere.size();
    mWhere += place;
    const bool isFine = (this->*check)(json);
    mWhere.resize(length);
    return isFine;
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

// A member that is not known is most likely misspelt, so it is not passed over.
bool Checker::members(const Json::Value& json, std::initializer_list<Member> known)
{
    std::string list;
    for (const Member& member : known) {
        list += (list.empty() ? "\"" : ", \"") + std::string(member.name) + "\"";
    }
    if (!json.isObject()) {
        return wrong("give an object with " + list);
    }
    const auto isUnknown = [&known](const std::string& name) {
        return std::none_of(known.begin(), known.end(),
                            [&name](const Member& member) { return name == member.name; });
    };
    const std::vector<std::string> names = json.getMemberNames();
    const auto unknown = std::find_if(names.begin(), names.end(), isUnknown);
    if (unknown != names.end()) {
        return wrong("\"" + *unknown + "\" has no meaning here; there are " + list);
    }
    return std::all_of(known.begin(), known.end(), [&](const Member& member) {
        return (!member.isRequired && !json.isMember(member.name)) ||
               at(std::string(".") + member.name, json[member.name], member.check);
    });
}

bool Checker::cases(const Json::Value& json)
{
    return json.isArray() && !json.empty() ? each(json, &Checker::methodCase)
                                           : wrong("give an array of one case or more");
}

bool Checker::methodCase(const Json::Value& json)
{
    mHasJob = json.isObject() && json.isMember("job");
    if (json.isObject() && json.isMember("error")) {
        return members(json, {{"when", &Checker::conditions},
                              {"delay", &Checker::seconds},
                              {"error", &Checker::error}});
    }
    return members(json, {{"when", &Checker::conditions},
                          {"delay", &Checker::seconds},
                          {"error", &Checker::error},
                          {"return", &Checker::returnValue},
                          {"outputs", &Checker::outputs},
                          {"set", &Checker::changes},
                          {"job", &Checker::job}});
}

bool Checker::error(const Json::Value& json)
{
    return members(json, {{"code", &Checker::status, true}, {"description", &Checker::text, true}});
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
    if (!json.isObject() || !json.isMember("object")) {
        return wrong("give either \"input\", or \"object\" and \"property\"");
    }
    return members(json, {{"object", &Checker::object},
                          {"property", &Checker::text, true},
                          {"is", &Checker::value},
                          {"isNot", &Checker::value},
                          {"isOneOf", &Checker::values}}) &&
           hasTest(json);
}

bool Checker::inputCondition(const Json::Value& json)
{
    if (json.isMember("exists")) {
        return reference(json) &&
               members(json, {{"input", &Checker::text}, {"exists", &Checker::flag}});
    }
    return input(json) &&
           members(json, {{"input", &Checker::text},
                          {"key", &Checker::text},
                          {"is", &Checker::value},
                          {"isNot", &Checker::value},
                          {"isOneOf", &Checker::values}}) &&
           hasTest(json);
}

bool Checker::hasTest(const Json::Value& json)
{
    return json.isMember("is") + json.isMember("isNot") + json.isMember("isOneOf") == 1 ||
           wrong("give one of \"is\", \"isNot\", \"isOneOf\", or, of a reference, \"exists\"");
}

bool Checker::change(const Json::Value& json)
{
    return members(json,
                   {{"object", &Checker::object, true}, {"properties", &Checker::properties}});
}

bool Checker::job(const Json::Value& json)
{
    return members(json, {{"class", &Checker::text, true},
                          {"seconds", &Checker::seconds},
                          {"properties", &Checker::properties},
                          {"steps", &Checker::steps}});
}

bool Checker::step(const Json::Value& json)
{
    return members(json, {{"percent", &Checker::percent, true},
                          {"properties", &Checker::properties},
                          {"set", &Checker::changes}});
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
    if (json.isObject()) {
        return reference(json) && members(json, {{"input", &Checker::text}});
    }
    cimxml::ObjectPath ignored;
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
        return input(json) && members(json, {{"input", &Checker::text}, {"key", &Checker::text}});
    }
    if (isOnly("job")) {
        return mHasJob || wrong("it is to be the job, but the case has no \"job\"");
    }
    return (!json.isObject() && !json.isArray()) || isOnly("now") ||
           wrong("give a constant, {\"input\": NAME}, {\"input\": NAME, \"key\": NAME}, "
                 "{\"now\": true}, {\"job\": true}, or an array of these");
}

bool Checker::input(const Json::Value& json)
{
    if (json.isMember("key")) {
        return reference(json);
    }
    return (isText(json["input"]) && mMethod.findParameter(json["input"].asString()) != nullptr) ||
           wrong("give as \"input\" the name of a parameter of the method");
}

bool Checker::reference(const Json::Value& json)
{
    const cimxml::Parameter* const parameter =
        isText(json["input"]) ? mMethod.findParameter(json["input"].asString()) : nullptr;
    return (parameter != nullptr && parameter->type == cimxml::Type::Reference) ||
           wrong("give as \"input\" the name of a parameter of the method that is a reference");
}

bool Checker::seconds(const Json::Value& json)
{
    return (json.isNumeric() && json.asDouble() >= 0 && json.asDouble() <= kMaxSeconds) ||
           wrong("give a number of seconds from 0 to " +
                 std::to_string(static_cast<int>(kMaxSeconds)));
}

bool Checker::percent(const Json::Value& json)
{
    return (json.isUInt() && json.asUInt() <= kMaxPercent) || wrong("give a number from 0 to 100");
}

bool Checker::status(const Json::Value& json)
{
    return (json.isUInt() && json.asUInt() > 0) ||
           wrong("give the number of a CIM status, 1 or more");
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
