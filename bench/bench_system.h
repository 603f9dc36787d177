// The system that is measured: a mapping file and a data cache in a directory of their own.
#ifndef BENCH_BENCH_SYSTEM_H_
#define BENCH_BENCH_SYSTEM_H_

#include <string>

namespace bench {

// Resources "VexoDisk<n>" and their collections, n counted from 0. All are mapped alike; only the
// first has a table in the cache, of kRows rows.
inline constexpr unsigned int kRows = 200;
inline constexpr unsigned int kProperties = 25;
inline constexpr unsigned int kPageMembers = 50;

inline constexpr const char* kInstanceUrl =
    "/redfish/v1/Vexo/Systems/System.Embedded.1/VexoDisk0/Disk.Bay.17:Enclosure.1";
inline constexpr const char* kInstanceKey = "Disk.Bay.17:Enclosure.1";
inline constexpr const char* kPageUrl =
    "/redfish/v1/Vexo/Systems/System.Embedded.1/VexoDisk0Collection";

// An action with ten parameters, and a body with all of them.
inline constexpr const char* kActionUrl =
    "/redfish/v1/Vexo/Systems/System.Embedded.1/VexoTaskService/"
    "Actions/VexoTaskService.StartTask";
inline constexpr const char* kActionBody =
    R"({"Title": "Surface scan", "Owner": "operator", "Comment": "monthly", "Level": "Deep",
        "Passes": 12, "Thorough": true, "StartTime": "2024-05-01T10:20:30+02:00",
        "Modes": ["OK", "Warning"], "Names": ["first", "second"],
        "Drive": "/redfish/v1/Vexo/Systems/System.Embedded.1/VexoDisk0/Disk.Bay.17:Enclosure.1"})";

// Writes mapping.json and cache.db into a directory that exists, which must not hold them yet. A
// pair of resources is an instance resource and its collection. Throws std::runtime_error.
void writeSystem(const std::string& directory, unsigned int resourcePairs);

std::string mappingPath(const std::string& directory);
std::string cachePath(const std::string& directory);

// A new directory below the one for temporary files, removed with its contents when it goes.
class TemporaryDirectory
{
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& path() const { return mPath; }

private:
    std::string mPath;
};

} // namespace bench

#endif
