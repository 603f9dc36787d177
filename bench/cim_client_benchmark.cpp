// What it costs to enumerate instances through the CIM client, beside the floor that any client
// has: libcurl receives the same bytes from the same server and pugixml parses them in place.
//
//     cim_client_benchmark [REPETITIONS]
//
// Prints processor time of the calling thread, wall time, and the peak memory of an enumeration
// relative to the size of its XML; ends with status 1 where a target is missed.
#include "static_object_manager.h"
#include "stopwatch.h"

#include <CimClientLib/cmci.h>
#include <curl/curl.h>
#include <pugixml.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using bench::require;

constexpr int kInstances = 5000;
constexpr int kRepetitions = 21;
constexpr double kTimeTarget = 2.5;
constexpr double kMemoryTarget = 4.0;
constexpr const char* kMemoryMode = "--peak-memory";

// Through the client.
class ClientRun
{
public:
    explicit ClientRun(const std::string& port)
        : mClient(cmciConnect("127.0.0.1", "http", port.c_str(), nullptr, nullptr, nullptr)),
          mPath(newCMPIObjectPath("root/xcim", "XCIM_Benchmark", nullptr))
    {
        require(mClient != nullptr, "cmciConnect");
    }
    ~ClientRun()
    {
        (void)CMRelease(mPath);
        (void)CMRelease(mClient);
    }
    ClientRun(const ClientRun&) = delete;
    ClientRun& operator=(const ClientRun&) = delete;

    void run()
    {
        CMPIEnumeration* instances =
            mClient->ft->enumInstances(mClient, mPath, 0, nullptr, nullptr);
        require(instances != nullptr, "enumInstances");
        require(CMGetArrayCount(CMToArray(instances, nullptr), nullptr) == kInstances, "count");
        (void)CMRelease(instances);
    }

private:
    CMCIClient* mClient;
    CMPIObjectPath* mPath;
};

// The floor.
class FloorRun
{
public:
    explicit FloorRun(const std::string& port) : mHandle(curl_easy_init())
    {
        const std::string url = "http://127.0.0.1:" + port + "/cimom";
        (void)curl_easy_setopt(mHandle, CURLOPT_URL, url.c_str());
        (void)curl_easy_setopt(mHandle, CURLOPT_POSTFIELDS, "<CIM></CIM>");
        (void)curl_easy_setopt(mHandle, CURLOPT_WRITEFUNCTION, &FloorRun::take);
        (void)curl_easy_setopt(mHandle, CURLOPT_WRITEDATA, this);
        (void)curl_easy_setopt(mHandle, CURLOPT_PROXY, "");
    }
    ~FloorRun() { curl_easy_cleanup(mHandle); }
    FloorRun(const FloorRun&) = delete;
    FloorRun& operator=(const FloorRun&) = delete;

    void run()
    {
        mBody = std::string();
        require(curl_easy_perform(mHandle) == CURLE_OK, "libcurl");
        pugi::xml_document document;
        require(document.load_buffer_inplace(mBody.data(), mBody.size(),
                                             pugi::parse_default | pugi::parse_ws_pcdata_single)
                        .status == pugi::status_ok,
                "pugixml");
    }

private:
    static std::size_t take(char* data, std::size_t size, std::size_t count, void* self)
    {
        static_cast<FloorRun*>(self)->mBody.append(data, size * count);
        return size * count;
    }

    CURL* mHandle;
    std::string mBody;
};

struct Times
{
    std::vector<double> cpu;
    std::vector<double> wall;
};

template <typename Run>
void measure(Run& run, Times& times)
{
    const double cpu = bench::threadSeconds();
    const auto wall = std::chrono::steady_clock::now();
    run.run();
    times.wall.push_back(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - wall).count());
    times.cpu.push_back(bench::threadSeconds() - cpu);
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

bool report(const char* name, double figure, double floor, double scale, const char* unit,
            double target)
{
    const double ratio = figure / floor;
    (void)std::printf("%-12s %8.1f %s  floor %8.1f %s  ratio %.2f (at most %.1f)%s\n", name,
                      figure * scale, unit, floor * scale, unit, ratio, target,
                      ratio > target ? "  MISSED" : "");
    return ratio <= target;
}

// The most memory that this process has had so far.
double peakBytes()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmHWM:", 0) == 0) {
            return std::strtod(line.c_str() + std::strlen("VmHWM:"), nullptr) * 1024;
        }
    }
    throw std::runtime_error("/proc/self/status");
}

// Run as a process of its own, which has nothing else in memory: prints by how much one enumeration
// has raised its peak.
int printPeak(const std::string& port)
{
    ClientRun client(port);
    const double before = peakBytes();
    client.run();
    (void)std::printf("%.0f\n", peakBytes() - before);
    return EXIT_SUCCESS;
}

double measurePeak(const char* program, const std::string& port)
{
    const std::string command = std::string(program) + " " + kMemoryMode + " " + port;
    FILE* output = ::popen(command.c_str(), "r");
    require(output != nullptr, "popen");
    char line[64] = {};
    const bool isRead = std::fgets(line, sizeof line, output) != nullptr;
    require(::pclose(output) == 0 && isRead, "the process for the peak of memory");
    return std::strtod(line, nullptr);
}

int compare(const char* program, int repetitions)
{
    const std::string body = bench::instancesAnswer(kInstances);
    const bench::StaticObjectManager server(body);
    ClientRun client(server.port());
    FloorRun floor(server.port());
    client.run();
    floor.run();
    Times clientTimes;
    Times floorTimes;
    for (int i = 0; i < repetitions; ++i) {
        measure(client, clientTimes);
        measure(floor, floorTimes);
    }
    (void)std::printf("%d instances of %d properties, %.1f MB of XML\n", kInstances,
                      bench::kInstanceProperties, static_cast<double>(body.size()) / 1e6);
    bool isMet = report("processor", median(clientTimes.cpu), median(floorTimes.cpu), 1e3, "ms",
                        kTimeTarget);
    isMet &=
        report("wall", median(clientTimes.wall), median(floorTimes.wall), 1e3, "ms", kTimeTarget);
    isMet &= report("memory", measurePeak(program, server.port()), static_cast<double>(body.size()),
                    1e-6, "MB", kMemoryTarget);
    return isMet ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        if (argc == 3 && std::strcmp(argv[1], kMemoryMode) == 0) {
            return printPeak(argv[2]);
        }
        const long repetitions = argc == 2 ? std::strtol(argv[1], nullptr, 10) : kRepetitions;
        return compare(argv[0], std::max(1, static_cast<int>(repetitions)));
    } catch (const std::exception& problem) {
        (void)std::fprintf(stderr, "%s: %s\n", argv[0], problem.what());
        return EXIT_FAILURE;
    }
}
