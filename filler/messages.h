// What the supervisor and the process that refreshes say to each other: one JSON text each, over a
// socket that keeps messages apart. The supervisor asks, the other answers each question once.
#ifndef FILLER_MESSAGES_H_
#define FILLER_MESSAGES_H_

#include <json/json.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace filler {

struct Order
{
    enum class Kind { Count, Refresh };
    Kind kind = Kind::Refresh;
    size_t index = 0; // of the plan's class
};

struct Report
{
    enum class Result {
        Done,
        Failed,      // this class
        Unreachable, // the object manager
        FileGone,    // the data cache has been removed or replaced
    };
    Result result = Result::Done;
    std::string error;
    int64_t rows = 0;
    size_t changed = 0;
    int64_t durationMs = 0;
    std::vector<std::string> losses;
};

// The first message of the process that refreshes: what the file has.
struct Greeting
{
    struct Known
    {
        int64_t rows = 0;
        bool hasTable = false;
        bool isReady = false;
    };
    std::string problem; // why it cannot work; then it ends
    std::vector<Known> classes;
};

std::string encode(const Order& order);
std::string encode(const Report& report);
std::string encode(const Greeting& greeting);
// Nothing of what is no such message.
std::optional<Order> decodeOrder(const std::string& text);
std::optional<Report> decodeReport(const std::string& text);
std::optional<Greeting> decodeGreeting(const std::string& text);

// Sends a whole message; false when the other has gone.
bool sendMessage(int socket, const std::string& text);
// Waits for one; nothing when the other has gone.
std::optional<std::string> receiveMessage(int socket);

} // namespace filler

#endif
