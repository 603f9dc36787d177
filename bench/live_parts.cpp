#include "live_parts.h"

#include "bench_system.h"
#include "stopwatch.h"

#include <CimClientLib/cimgate_local.h>
#include <ResourceMapper.h>
#include <vexodlog.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <utility>
#include <vector>

namespace bench {

namespace {

constexpr unsigned int kRuns = 3000;
constexpr unsigned int kWarmUpRuns = 100;

struct Times
{
    std::vector<double> cpuUs;
    std::vector<double> wallUs;
};

void measure(Times& times, const std::function<void()>& run)
{
    using Clock = std::chrono::steady_clock;
    constexpr double kMicrosecondsPerSecond = 1e6;
    const auto begin = Clock::now();
    const double cpuBegin = threadSeconds();
    run();
    times.cpuUs.push_back((threadSeconds() - cpuBegin) * kMicrosecondsPerSecond);
    times.wallUs.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void printLine(const char* what, double own, double floor)
{
    (void)std::printf("%-14s %10.1f %10.1f %7.2f\n", what, own, floor, own / floor);
}

} // namespace

void check(bool isTrue, const char* what)
{
    if (!isTrue) {
        throw std::runtime_error(what);
    }
}

BareRequest::BareRequest(const std::string& url, const std::string& method,
                         const std::string& object, std::string body, std::string expected,
                         bool isFresh)
    : mCurl(curl_easy_init(), curl_easy_cleanup),
      mHeaders(nullptr, curl_slist_free_all),
      mBody(std::move(body)),
      mExpected(std::move(expected))
{
    for (const std::string& header :
         {std::string("Content-type: application/xml; charset=\"utf-8\""),
          std::string("CIMProtocolVersion: 1.0"), std::string("CIMOperation: MethodCall"),
          "CIMMethod: " + method, "CIMObject: " + object, std::string("Accept:"),
          std::string("Expect:")}) {
        mHeaders.reset(curl_slist_append(mHeaders.release(), header.c_str()));
    }
    curl_easy_setopt(mCurl.get(), CURLOPT_URL, (url + "/cimom").c_str());
    curl_easy_setopt(mCurl.get(), CURLOPT_HTTPHEADER, mHeaders.get());
    curl_easy_setopt(mCurl.get(), CURLOPT_POSTFIELDS, mBody.c_str());
    curl_easy_setopt(mCurl.get(), CURLOPT_FRESH_CONNECT, isFresh ? 1L : 0L);
    curl_easy_setopt(mCurl.get(), CURLOPT_WRITEFUNCTION, &BareRequest::receive);
    curl_easy_setopt(mCurl.get(), CURLOPT_WRITEDATA, this);
}

void BareRequest::run()
{
    mAnswer.clear();
    check(curl_easy_perform(mCurl.get()) == CURLE_OK &&
              mAnswer.find(mExpected) != std::string::npos,
          "the bare request failed");
}

size_t BareRequest::receive(char* bytes, size_t size, size_t count, void* self)
{
    static_cast<BareRequest*>(self)->mAnswer.append(bytes, size * count);
    return size * count;
}

void compare(const char* heading, const std::function<void()>& library,
             const std::function<void()>& floor)
{
    Times own;
    Times bare;
    for (unsigned int i = 0; i < kWarmUpRuns + kRuns; ++i) {
        if (i == kWarmUpRuns) {
            own = {};
            bare = {};
        }
        measure(own, library);
        measure(bare, floor);
    }
    (void)std::printf("%-14s library us    bare us   ratio\n", heading);
    printLine("elapsed", median(own.wallUs), median(bare.wallUs));
    printLine("CPU of client", median(own.cpuUs), median(bare.cpuUs));
}

int runLiveBenchmark(int argc, char** argv, void (*measure)(const std::string& cimUrl))
{
    if (argc != 3) {
        (void)std::fprintf(stderr, "usage: %s CIM_URL SYSTEM_DIRECTORY\n", argv[0]);
        return 2;
    }
    curl_global_init(CURL_GLOBAL_DEFAULT);
    vexoSetThreshold(VEXO_ERROR);
    ResourceMapper::RmfPath = mappingPath(argv[2]);
    try {
        check(cimgate_cmpisfcc_set_local_url(argv[1]) == CMPI_RC_OK, "not a URL");
        measure(argv[1]);
    } catch (const std::exception& error) {
        (void)std::printf("%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

} // namespace bench
