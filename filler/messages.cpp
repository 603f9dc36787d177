#include "messages.h"

#include <JsonAccess.h>
#include <sys/socket.h>

#include <cerrno>
#include <sstream>

namespace filler {

namespace {

// A greeting has some bytes a class, a report kMaxLosses sentences.
constexpr size_t kMaxMessageBytes = size_t{128} * 1024;

std::optional<Json::Value> parsed(const std::string& text)
{
    std::istringstream in(text);
    Json::Value value;
    return cimgate::readJson(in, value) && value.isObject() ? std::optional(value) : std::nullopt;
}

int64_t integerOf(const Json::Value& value, const char* name)
{
    const Json::Value& member = cimgate::memberOf(value, name);
    return member.isInt64() ? member.asInt64() : 0;
}

} // namespace

std::string encode(const Order& order)
{
    Json::Value value;
    value["refresh"] = order.kind == Order::Kind::Refresh;
    value["index"] = Json::UInt64{order.index};
    return cimgate::writeJson(value);
}

std::optional<Order> decodeOrder(const std::string& text)
{
    const auto value = parsed(text);
    if (!value) {
        return std::nullopt;
    }
    return Order{cimgate::flagOf(*value, "refresh") ? Order::Kind::Refresh : Order::Kind::Count,
                 static_cast<size_t>(integerOf(*value, "index"))};
}

std::string encode(const Report& report)
{
    Json::Value value;
    value["result"] = static_cast<int>(report.result);
    value["error"] = report.error;
    value["rows"] = Json::Int64{report.rows};
    value["changed"] = Json::UInt64{report.changed};
    value["duration_ms"] = Json::Int64{report.durationMs};
    for (const std::string& loss : report.losses) {
        value["losses"].append(loss);
    }
    return cimgate::writeJson(value);
}

std::optional<Report> decodeReport(const std::string& text)
{
    const auto value = parsed(text);
    const int64_t result = value ? integerOf(*value, "result") : -1;
    if (result < 0 || result > static_cast<int>(Report::Result::FileGone)) {
        return std::nullopt;
    }
    Report report;
    report.result = static_cast<Report::Result>(result);
    report.error = cimgate::textOf(*value, "error");
    report.rows = integerOf(*value, "rows");
    report.changed = static_cast<size_t>(integerOf(*value, "changed"));
    report.durationMs = integerOf(*value, "duration_ms");
    for (const Json::Value& loss : cimgate::arrayOf(cimgate::memberOf(*value, "losses"))) {
        report.losses.push_back(cimgate::textOf(loss));
    }
    return report;
}

std::string encode(const Greeting& greeting)
{
    Json::Value value;
    value["problem"] = greeting.problem;
    for (const Greeting::Known& known : greeting.classes) {
        Json::Value one;
        one["rows"] = Json::Int64{known.rows};
        one["table"] = known.hasTable;
        one["ready"] = known.isReady;
        value["classes"].append(std::move(one));
    }
    return cimgate::writeJson(value);
}

std::optional<Greeting> decodeGreeting(const std::string& text)
{
    const auto value = parsed(text);
    if (!value) {
        return std::nullopt;
    }
    Greeting greeting{cimgate::textOf(*value, "problem"), {}};
    for (const Json::Value& one : cimgate::arrayOf(cimgate::memberOf(*value, "classes"))) {
        greeting.classes.push_back(
            {integerOf(one, "rows"), cimgate::flagOf(one, "table"), cimgate::flagOf(one, "ready")});
    }
    return greeting;
}

bool sendMessage(int socket, const std::string& text)
{
    ssize_t sent = 0;
    do {
        sent = send(socket, text.data(), text.size(), MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(text.size());
}

std::optional<std::string> receiveMessage(int socket)
{
    std::string text(kMaxMessageBytes, '\0');
    ssize_t bytes = 0;
    do {
        bytes = recv(socket, text.data(), text.size(), 0);
    } while (bytes < 0 && errno == EINTR);
    if (bytes <= 0) {
        return std::nullopt;
    }
    text.resize(static_cast<size_t>(bytes));
    return text;
}

} // namespace filler
