// What the filler tells of itself: a JSON file beside the data cache, for people and programs
// (`cimgate cache`). It is replaced by rename, so that a reader sees the former or the new one.
//
//     {"pid": 411, "started": "2024-05-01T04:12:07.250Z", "written": "2024-05-01T05:00:00.000Z",
//      "mapping": "/usr/share/cimgate/resourcemapping.json", "cache": "/run/.../CMPI_DataCache.db",
//      "object_manager": "http://127.0.0.1:5988", "state": "waiting",
//      "classes": [{"name": "XCIM_Fan", "rows": 6, "ready": true, "interval_s": 60,
//                   "refreshed": "2024-05-01T04:59:58.120Z", "duration_ms": 40, "changed": 1,
//                   "failures": 0, "error": "", "losses": []}]}
//
// Times are RFC 3339, UTC; null where there is none yet. Members that a reader does not know are
// passed over, and one that is missing or of another type reads as that of a new struct.
//
// Threads: free functions without state.
#ifndef FILLER_STATUS_FILE_H_
#define FILLER_STATUS_FILE_H_

#include <json/json.h>
#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace filler {

using Time = std::chrono::system_clock::time_point;

// What the file holds of a class at most; the rest is in the log.
inline constexpr size_t kMaxLosses = 20;
inline constexpr size_t kMaxSentenceBytes = 200;

struct ClassStatus
{
    std::string name;
    int64_t rows = 0;
    bool isReady = false;
    unsigned int intervalS = 0;
    std::optional<Time> refreshed = {}; // when its rows were last like those of the object manager
    int64_t durationMs = 0;             // what that took
    size_t changed = 0;                 // rows that it wrote
    unsigned int failures = 0;          // in a row
    std::string error = {};             // of the last of them; "" where there is none
    std::vector<std::string> losses = {}; // what could not be stored as it is

    bool operator==(const ClassStatus&) const = default;
};

struct Status
{
    pid_t pid = 0;
    Time started = {};
    Time written = {};
    std::string mapping = {};
    std::string cache = {};
    std::string objectManager = {};
    std::string state = {};
    std::vector<ClassStatus> classes = {};

    bool operator==(const Status&) const = default;
};

// The text or what fits of it, without a part of a character at its end.
std::string cutSentence(const std::string& text);

// Texts are cut to kMaxSentenceBytes, losses to kMaxLosses.
Json::Value toJson(const ClassStatus& status);
Json::Value toJson(const Status& status);
ClassStatus classStatusOf(const Json::Value& json);
Status statusOf(const Json::Value& json);

// Replaces the file, for all to read. Where that fails the former one stays, and problem says why.
// Not synced to the disk: after a power failure nobody has to know what was.
bool writeStatus(const std::string& path, const Status& status, std::string& problem);

// Nothing where it cannot be read or is no JSON object, with the cause in problem.
std::optional<Status> readStatus(const std::string& path, std::string& problem);

} // namespace filler

#endif
