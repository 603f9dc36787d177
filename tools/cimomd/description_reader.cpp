#include "description_reader.h"

#include "object_path_text.h"

#include <json/json.h>

#include <algorithm>
#include <exception>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <utility>

namespace cimomd {

namespace {

constexpr double kMaxSeconds = 86400;
constexpr unsigned int kMaxPercent = 100;
constexpr int kMillisecondsPerSecond = 1000;

// Reads one file. Each function returns false when there is a problem, the first of which is kept.
class Reader
{
public:
    bool read(const Json::Value& root, DescriptionFile& file);

    const std::string& problem() const { return mProblem; }

private:
    // Names the member that is being read, in messages.
    class Place
    {
    public:
        Place(Reader& reader, const std::string& name)
            : mReader(reader), mLength(reader.mWhere.size())
        {
            mReader.mWhere += name;
        }
        ~Place() { mReader.mWhere.resize(mLength); }
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;

    private:
        Reader& mReader;
        size_t mLength;
    };

    bool wrong(const std::string& what);
    bool isObjectOf(const Json::Value& json, std::initializer_list<std::string_view> known);
    template <typename Read>
    bool each(const Json::Value& json, const char* name, Read read);

    bool text(const Json::Value& json, const char* name, std::string& text);
    bool seconds(const Json::Value& json, const char* name, std::chrono::milliseconds& duration);
    bool method(const std::string& name, const Json::Value& json, DescriptionFile& file);
    bool methodCase(const Json::Value& json, MethodCase& made);
    bool condition(const Json::Value& json, CallCondition& made);
    bool conditionTest(const Json::Value& json, CallCondition& made);
    bool error(const Json::Value& json, cimxml::CimError& made);
    bool change(const Json::Value& json, Change& made);
    bool job(const Json::Value& json, JobDescription& made);
    bool step(const Json::Value& json, JobStep& made);
    bool assignments(const Json::Value& json, const char* name, std::vector<Assignment>& made);
    bool object(const Json::Value& json, ObjectSource& made);
    bool value(const Json::Value& json, ValueSource& made);
    bool scalar(const Json::Value& json, ScalarSource& made);
    bool input(const Json::Value& json, InputSource& made);

    std::string mWhere;
    std::string mProblem;
};

bool Reader::wrong(const std::string& what)
{
    if (mProblem.empty()) {
        mProblem = (mWhere.empty() ? "" : mWhere + ": ") + what;
    }
    return false;
}

// A member that is not known is most likely misspelt, so it is not passed over.
bool Reader::isObjectOf(const Json::Value& json, std::initializer_list<std::string_view> known)
{
    std::string list;
    for (const std::string_view name : known) {
        list += (list.empty() ? "\"" : ", \"") + std::string(name) + "\"";
    }
    if (!json.isObject()) {
        return wrong("give an object with " + list);
    }
    const std::vector<std::string> names = json.getMemberNames();
    const auto unknown = std::find_if(names.begin(), names.end(), [&known](const auto& name) {
        return std::find(known.begin(), known.end(), name) == known.end();
    });
    return unknown == names.end() || wrong("\"" + *unknown + "\" is not known; there are " + list);
}

// Reads the elements of an array that may be absent.
template <typename Read>
bool Reader::each(const Json::Value& json, const char* name, Read read)
{
    const Json::Value& list = json[name];
    const Place place(*this, std::string(".") + name);
    if (!list.isNull() && !list.isArray()) {
        return wrong("give an array");
    }
    for (Json::ArrayIndex i = 0; i < list.size(); ++i) {
        const Place element(*this, "[" + std::to_string(i) + "]");
        if (!read(list[i])) {
            return false;
        }
    }
    return true;
}

bool Reader::text(const Json::Value& json, const char* name, std::string& text)
{
    if (!json[name].isString() || json[name].asString().empty()) {
        return wrong(std::string("give \"") + name + "\" as a text");
    }
    text = json[name].asString();
    return true;
}

bool Reader::seconds(const Json::Value& json, const char* name, std::chrono::milliseconds& duration)
{
    const Json::Value& number = json[name];
    if (number.isNull()) {
        return true;
    }
    if (!number.isNumeric() || number.asDouble() < 0 || number.asDouble() > kMaxSeconds) {
        return wrong(std::string("give \"") + name + "\" as a number of seconds from 0 to " +
                     std::to_string(static_cast<int>(kMaxSeconds)));
    }
    duration =
        std::chrono::milliseconds(static_cast<int64_t>(number.asDouble() * kMillisecondsPerSecond));
    return true;
}

bool Reader::read(const Json::Value& root, DescriptionFile& file)
{
    if (!isObjectOf(root, {"namespace", "methods"}) || !text(root, "namespace", file.nameSpace)) {
        return false;
    }
    const Json::Value& methods = root["methods"];
    if (!methods.isObject()) {
        return wrong("give \"methods\" as an object of \"CLASS.METHOD\"");
    }
    const std::vector<std::string> names = methods.getMemberNames();
    return std::all_of(names.begin(), names.end(), [&](const std::string& name) {
        const Place place(*this, name);
        return method(name, methods[name], file);
    });
}

bool Reader::method(const std::string& name, const Json::Value& json, DescriptionFile& file)
{
    const size_t dot = name.find('.');
    if (dot == 0 || dot == std::string::npos || dot + 1 == name.size()) {
        return wrong("name it \"CLASS.METHOD\"");
    }
    if (!json.isArray() || json.empty()) {
        return wrong("give an array of one case or more");
    }
    MethodDescription made{name.substr(0, dot), name.substr(dot + 1), {}};
    for (Json::ArrayIndex i = 0; i < json.size(); ++i) {
        const Place place(*this, "[" + std::to_string(i) + "]");
        if (!methodCase(json[i], made.cases.emplace_back())) {
            return false;
        }
    }
    file.methods.push_back(std::move(made));
    return true;
}

bool Reader::methodCase(const Json::Value& json, MethodCase& made)
{
    if (!isObjectOf(json, {"when", "delay", "error", "return", "outputs", "set", "job"}) ||
        !each(json, "when",
              [&](const Json::Value& one) {
                  return condition(one, made.conditions.emplace_back());
              }) ||
        !seconds(json, "delay", made.delay)) {
        return false;
    }
    if (json.isMember("error")) {
        for (const char* other : {"return", "outputs", "set", "job"}) {
            if (json.isMember(other)) {
                return wrong(std::string("a call that ends with an \"error\" has no \"") + other +
                             "\"");
            }
        }
        return error(json["error"], made.error.emplace());
    }
    if (json.isMember("return") && !value(json["return"], made.returnValue.emplace())) {
        return false;
    }
    if (json.isMember("job") && !job(json["job"], made.job.emplace())) {
        return false;
    }
    return assignments(json, "outputs", made.outputs) &&
           each(json, "set",
                [&](const Json::Value& one) { return change(one, made.changes.emplace_back()); });
}

bool Reader::condition(const Json::Value& json, CallCondition& made)
{
    if (!isObjectOf(json,
                    {"input", "key", "object", "property", "is", "isNot", "isOneOf", "exists"})) {
        return false;
    }
    const bool isOfInput = json.isMember("input");
    if (json.isMember("object") == isOfInput || json.isMember("property") == isOfInput) {
        return wrong("give either \"input\", or \"object\" and \"property\"");
    }
    if (json.isMember("key") && (!isOfInput || json.isMember("exists"))) {
        return wrong("\"key\" is one of an \"input\", and does not go with \"exists\"");
    }
    if (json.isMember("exists") && !isOfInput) {
        return wrong("\"exists\" is about an \"input\"");
    }
    if (isOfInput) {
        return text(json, "input", made.input.name) &&
               (!json.isMember("key") || text(json, "key", made.input.key)) &&
               conditionTest(json, made);
    }
    return object(json["object"], made.object.emplace()) && text(json, "property", made.property) &&
           conditionTest(json, made);
}

bool Reader::conditionTest(const Json::Value& json, CallCondition& made)
{
    if (json.isMember("is") + json.isMember("isNot") + json.isMember("isOneOf") +
            json.isMember("exists") !=
        1) {
        return wrong("give one of \"is\", \"isNot\", \"isOneOf\", \"exists\"");
    }
    if (json.isMember("exists")) {
        made.test = json["exists"] == Json::Value(false) ? CallCondition::Test::IsMissing
                                                         : CallCondition::Test::Exists;
        return json["exists"].isBool() || wrong("give \"exists\" as true or false");
    }
    made.test = json.isMember("isNot") ? CallCondition::Test::IsNot : CallCondition::Test::IsOneOf;
    if (json.isMember("isOneOf")) {
        return each(json, "isOneOf",
                    [&](const Json::Value& one) { return value(one, made.values.emplace_back()); });
    }
    return value(json.isMember("is") ? json["is"] : json["isNot"], made.values.emplace_back());
}

bool Reader::error(const Json::Value& json, cimxml::CimError& made)
{
    const Place place(*this, ".error");
    if (!isObjectOf(json, {"code", "description"})) {
        return false;
    }
    if (!json["code"].isUInt() || json["code"].asUInt() == 0) {
        return wrong("give \"code\" as the number of a CIM status, 1 or more");
    }
    made.code = json["code"].asUInt();
    return text(json, "description", made.description);
}

bool Reader::change(const Json::Value& json, Change& made)
{
    return isObjectOf(json, {"object", "properties"}) && object(json["object"], made.object) &&
           assignments(json, "properties", made.properties);
}

bool Reader::job(const Json::Value& json, JobDescription& made)
{
    const Place place(*this, ".job");
    made.prefix = "JID_";
    if (!isObjectOf(json, {"class", "prefix", "seconds", "properties", "steps"}) ||
        !text(json, "class", made.className) ||
        (json.isMember("prefix") && !text(json, "prefix", made.prefix)) ||
        !seconds(json, "seconds", made.duration) ||
        !assignments(json, "properties", made.properties) ||
        !each(json, "steps",
              [&](const Json::Value& one) { return step(one, made.steps.emplace_back()); })) {
        return false;
    }
    std::stable_sort(made.steps.begin(), made.steps.end(),
                     [](const JobStep& a, const JobStep& b) { return a.percent < b.percent; });
    return true;
}

bool Reader::step(const Json::Value& json, JobStep& made)
{
    if (!isObjectOf(json, {"percent", "properties", "set"})) {
        return false;
    }
    if (!json["percent"].isUInt() || json["percent"].asUInt() > kMaxPercent) {
        return wrong("give \"percent\" as a number from 0 to 100");
    }
    made.percent = json["percent"].asUInt();
    return assignments(json, "properties", made.properties) &&
           each(json, "set",
                [&](const Json::Value& one) { return change(one, made.changes.emplace_back()); });
}

bool Reader::assignments(const Json::Value& json, const char* name, std::vector<Assignment>& made)
{
    const Json::Value& members = json[name];
    const Place place(*this, std::string(".") + name);
    if (!members.isNull() && !members.isObject()) {
        return wrong("give an object of names and values");
    }
    const std::vector<std::string> names = members.getMemberNames();
    return std::all_of(names.begin(), names.end(), [&](const std::string& member) {
        const Place own(*this, "." + member);
        made.push_back({member, {}});
        return value(members[member], made.back().value);
    });
}

bool Reader::object(const Json::Value& json, ObjectSource& made)
{
    const Place place(*this, ".object");
    if (json.isObject()) {
        return input(json, made.emplace<InputSource>());
    }
    if (!json.isString()) {
        return wrong("give \"this\", a path such as \"XCIM_Fan.DeviceID=Fan.1\", a class, or "
                     "{\"input\": NAME}");
    }
    if (json.asString() == "this") {
        return true;
    }
    return readObjectPath(json.asString(), made.emplace<cimxml::ObjectPath>()) ||
           wrong("\"" + json.asString() + "\" is no path such as \"XCIM_Fan.DeviceID=Fan.1\"");
}

bool Reader::value(const Json::Value& json, ValueSource& made)
{
    made.isArray = json.isArray();
    if (!made.isArray) {
        return scalar(json, made.items.emplace_back());
    }
    return std::all_of(json.begin(), json.end(), [&](const Json::Value& element) {
        return !element.isArray() ? scalar(element, made.items.emplace_back())
                                  : wrong("there are no arrays of arrays");
    });
}

// Constants stay texts until it is known what they are for.
bool Reader::scalar(const Json::Value& json, ScalarSource& made)
{
    if (!json.isObject()) {
        made = json.isNull() ? cimxml::Scalar() : cimxml::Scalar(json.asString());
        return true;
    }
    if (json.isMember("input")) {
        return input(json, made.emplace<InputSource>());
    }
    if (json.size() == 1 && json["now"] == Json::Value(true)) {
        made = NowSource{};
        return true;
    }
    if (json.size() == 1 && json["job"] == Json::Value(true)) {
        made = JobSource{};
        return true;
    }
    return wrong(
        "give a constant, {\"input\": NAME}, {\"input\": NAME, \"key\": NAME}, {\"now\": true} "
        "or {\"job\": true}");
}

bool Reader::input(const Json::Value& json, InputSource& made)
{
    return isObjectOf(json, {"input", "key"}) && text(json, "input", made.name) &&
           (!json.isMember("key") || text(json, "key", made.key));
}

// The JSON library throws where texts are nested too deeply.
bool parse(const std::string& text, Json::Value& root, std::string& problem)
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    try {
        if (!reader->parse(text.data(), text.data() + text.size(), &root, &problem)) {
            problem = "it is not JSON: " + problem;
            return false;
        }
    } catch (const std::exception& error) {
        problem = std::string("it is not JSON: ") + error.what();
        return false;
    }
    return true;
}

} // namespace

bool readDescriptions(const std::string& text, DescriptionFile& file, std::string& problem)
{
    Json::Value root;
    if (!parse(text, root, problem)) {
        return false;
    }
    Reader reader;
    if (!reader.read(root, file)) {
        problem = reader.problem();
        return false;
    }
    return true;
}

} // namespace cimomd
