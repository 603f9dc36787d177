#include "status_file.h"

#include <fcntl.h>
#include <service/errno_text.h>
#include <service/file_descriptor.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <memory>
#include <string_view>
#include <utility>

namespace filler {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr mode_t kForAllToRead = 0644;
// Beyond what some thousand classes with all their losses take.
constexpr size_t kMaxFileBytes = size_t{64} << 20U;

std::string timeText(Time time)
{
    const auto ms = std::chrono::floor<milliseconds>(time.time_since_epoch());
    const auto whole = std::chrono::floor<seconds>(ms);
    const auto timeS = static_cast<time_t>(whole.count());
    tm utc{};
    std::array<char, 64> text{};
    if (gmtime_r(&timeS, &utc) == nullptr) {
        return "";
    }
    const size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &utc);
    (void)std::snprintf(text.data() + length, text.size() - length, ".%03uZ",
                        static_cast<unsigned int>((ms - whole).count()));
    return text.data();
}

std::optional<Time> timeOf(const Json::Value& json)
{
    if (!json.isString()) {
        return std::nullopt;
    }
    const std::string text = json.asString();
    tm utc{};
    const char* rest = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &utc);
    unsigned int ms = 0;
    int end = 0;
    if (rest == nullptr || std::sscanf(rest, ".%3uZ%n", &ms, &end) != 1 || rest[end] != '\0' ||
        end == 0) {
        return std::nullopt;
    }
    return Time(seconds(timegm(&utc)) + milliseconds(ms));
}

const Json::Value& member(const Json::Value& json, const char* name)
{
    const Json::Value* found =
        json.isObject() ? json.find(name, name + std::string_view(name).size()) : nullptr;
    return found == nullptr ? Json::Value::nullSingleton() : *found;
}

std::string textOf(const Json::Value& json, const char* name)
{
    const Json::Value& text = member(json, name);
    return text.isString() ? text.asString() : "";
}

template <typename Integer>
Integer numberOf(const Json::Value& json, const char* name)
{
    const Json::Value& number = member(json, name);
    if (!number.isInt64()) {
        return 0;
    }
    const int64_t value = number.asInt64();
    return std::in_range<Integer>(value) ? static_cast<Integer>(value) : 0;
}

std::vector<std::string> textsOf(const Json::Value& json, const char* name)
{
    std::vector<std::string> texts;
    const Json::Value& list = member(json, name);
    for (const Json::Value& text : list.isArray() ? list : Json::Value::nullSingleton()) {
        if (text.isString()) {
            texts.push_back(text.asString());
        }
    }
    return texts;
}

std::string complain(const std::string& path, const std::string& cause)
{
    return path + ": " + cause;
}

bool writeAll(int fd, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t bytes = write(fd, text.data(), text.size());
        if (bytes < 0 && errno == EINTR) {
            continue;
        }
        if (bytes < 0) {
            return false;
        }
        text.remove_prefix(static_cast<size_t>(bytes));
    }
    return true;
}

// A file that was not there before.
bool writeNewFile(const std::string& path, std::string_view text)
{
    (void)unlink(path.c_str()); // what a filler that was killed has left
    const service::FileDescriptor file(
        open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kForAllToRead));
    return file.isOpen() && fchmod(file.get(), kForAllToRead) == 0 && writeAll(file.get(), text);
}

// False with the cause in errno.
bool readFile(const std::string& path, std::string& text)
{
    // Of what is no file, nothing is waited for.
    const service::FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    std::array<char, 65536> block{};
    ssize_t bytes = file.isOpen() ? 1 : -1;
    while (bytes > 0 && text.size() <= kMaxFileBytes) {
        bytes = read(file.get(), block.data(), block.size());
        text.append(block.data(), static_cast<size_t>(std::max<ssize_t>(bytes, 0)));
    }
    if (text.size() > kMaxFileBytes) {
        errno = EFBIG;
        return false;
    }
    return bytes == 0;
}

bool parse(const std::string& text, Json::Value& json)
{
    try {
        Json::CharReaderBuilder builder;
        builder["failIfExtra"] = true;
        const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
        return reader->parse(text.data(), text.data() + text.size(), &json, nullptr);
    } catch (const Json::Exception&) { // nested too deeply
        return false;
    }
}

std::string jsonText(const Json::Value& json)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = " ";
    return Json::writeString(builder, json) + "\n";
}

} // namespace

std::string cutSentence(const std::string& text)
{
    if (text.size() <= kMaxSentenceBytes) {
        return text;
    }
    constexpr std::string_view kRest = "...";
    const auto continues = [&text](size_t at) {
        return (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U;
    };
    size_t end = kMaxSentenceBytes - kRest.size();
    while (end > 0 && continues(end)) {
        --end;
    }
    return text.substr(0, end).append(kRest);
}

Json::Value toJson(const ClassStatus& status)
{
    Json::Value json(Json::objectValue);
    json["name"] = status.name;
    json["rows"] = Json::Value::Int64{status.rows};
    json["ready"] = status.isReady;
    json["interval_s"] = status.intervalS;
    json["refreshed"] = status.refreshed ? Json::Value(timeText(*status.refreshed)) : Json::Value();
    json["duration_ms"] = Json::Value::Int64{status.durationMs};
    json["changed"] = Json::Value::UInt64{status.changed};
    json["failures"] = status.failures;
    json["error"] = cutSentence(status.error);
    json["losses"] = Json::Value(Json::arrayValue);
    for (const std::string& loss : status.losses) {
        if (json["losses"].size() < kMaxLosses) {
            json["losses"].append(cutSentence(loss));
        }
    }
    return json;
}

Json::Value toJson(const Status& status)
{
    Json::Value json(Json::objectValue);
    json["pid"] = Json::Value::Int64{status.pid};
    json["started"] = timeText(status.started);
    json["written"] = timeText(status.written);
    json["mapping"] = status.mapping;
    json["cache"] = status.cache;
    json["object_manager"] = status.objectManager;
    json["state"] = status.state;
    json["classes"] = Json::Value(Json::arrayValue);
    for (const ClassStatus& one : status.classes) {
        json["classes"].append(toJson(one));
    }
    return json;
}

ClassStatus classStatusOf(const Json::Value& json)
{
    ClassStatus status;
    status.name = textOf(json, "name");
    status.rows = numberOf<int64_t>(json, "rows");
    status.isReady = member(json, "ready") == Json::Value(true);
    status.intervalS = numberOf<unsigned int>(json, "interval_s");
    status.refreshed = timeOf(member(json, "refreshed"));
    status.durationMs = numberOf<int64_t>(json, "duration_ms");
    status.changed = numberOf<size_t>(json, "changed");
    status.failures = numberOf<unsigned int>(json, "failures");
    status.error = textOf(json, "error");
    status.losses = textsOf(json, "losses");
    return status;
}

Status statusOf(const Json::Value& json)
{
    Status status;
    status.pid = numberOf<pid_t>(json, "pid");
    status.started = timeOf(member(json, "started")).value_or(Time());
    status.written = timeOf(member(json, "written")).value_or(Time());
    status.mapping = textOf(json, "mapping");
    status.cache = textOf(json, "cache");
    status.objectManager = textOf(json, "object_manager");
    status.state = textOf(json, "state");
    const Json::Value& classes = member(json, "classes");
    for (const Json::Value& one : classes.isArray() ? classes : Json::Value::nullSingleton()) {
        status.classes.push_back(classStatusOf(one));
    }
    return status;
}

bool writeStatus(const std::string& path, const Status& status, std::string& problem)
{
    const std::string next = path + ".new";
    if (writeNewFile(next, jsonText(toJson(status))) && rename(next.c_str(), path.c_str()) == 0) {
        return true;
    }
    problem = complain(path, service::errnoText());
    (void)unlink(next.c_str());
    return false;
}

std::optional<Status> readStatus(const std::string& path, std::string& problem)
{
    std::string text;
    if (!readFile(path, text)) {
        problem = complain(path, service::errnoText());
        return std::nullopt;
    }
    Json::Value json;
    if (!parse(text, json) || !json.isObject()) {
        problem = complain(path, "it is no status of a filler");
        return std::nullopt;
    }
    return statusOf(json);
}

} // namespace filler
