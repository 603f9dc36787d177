// A live read of one instance, from the mapper's construction to the response, beside a bare
// libcurl request for the same instance:  live_benchmark CIM_URL SYSTEM_DIRECTORY
//
// The object manager at CIM_URL holds the instances of that system (see bench_system.h). Both use a
// kept-alive connection of their own and take turns. Log lines go to standard error.
#include "bench_system.h"
#include "stopwatch.h"

#include <CimClientLib/cimgate_local.h>
#include <ResourceMapper.h>
#include <SfccInterface.h>
#include <curl/curl.h>
#include <vexodlog.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr unsigned int kRuns = 3000;
constexpr unsigned int kWarmUpRuns = 100;

void check(bool isTrue, const char* what)
{
    if (!isTrue) {
        throw std::runtime_error(what);
    }
}

void readThroughLibrary(SfccSession& session)
{
    odata::Scope scope = odata::Scope::ForRequest(bench::kInstanceUrl);
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(&session, scope, uri, false);
    Json::Value body;
    check(mapper.ParseUri(RM_METHOD_GET) == RM_OK && mapper.GetInstance(body) == RM_OK,
          "the live read failed");
    mapper.SendResponse(body);
    check(std::string_view(scope.GetBody()).find("SerialNumber") != std::string_view::npos,
          "properties are missing");
}

// The request that the client library makes of it, sent as it stands.
class BareRequest
{
public:
    explicit BareRequest(const std::string& url) : mCurl(curl_easy_init(), curl_easy_cleanup)
    {
        for (const char* header :
             {R"(Content-type: application/xml; charset="utf-8")", "CIMProtocolVersion: 1.0",
              "CIMOperation: MethodCall", "CIMMethod: GetInstance", "CIMObject: root%2Fxcim",
              "Accept:", "Expect:"}) {
            mHeaders.reset(curl_slist_append(mHeaders.release(), header));
        }
        curl_easy_setopt(mCurl.get(), CURLOPT_URL, (url + "/cimom").c_str());
        curl_easy_setopt(mCurl.get(), CURLOPT_HTTPHEADER, mHeaders.get());
        curl_easy_setopt(mCurl.get(), CURLOPT_POSTFIELDS, mBody.c_str());
        curl_easy_setopt(mCurl.get(), CURLOPT_WRITEFUNCTION, &BareRequest::receive);
        curl_easy_setopt(mCurl.get(), CURLOPT_WRITEDATA, this);
    }

    void run()
    {
        mAnswer.clear();
        check(curl_easy_perform(mCurl.get()) == CURLE_OK &&
                  mAnswer.find("SerialNumber") != std::string::npos,
              "the bare request failed");
    }

private:
    static size_t receive(char* bytes, size_t size, size_t count, void* self)
    {
        static_cast<BareRequest*>(self)->mAnswer.append(bytes, size * count);
        return size * count;
    }

    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> mCurl;
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> mHeaders{nullptr,
                                                                         curl_slist_free_all};
    std::string mAnswer;
    const std::string mBody =
        R"(<?xml version="1.0" encoding="utf-8" ?><CIM CIMVERSION="2.0" DTDVERSION="2.0">)"
        R"(<MESSAGE ID="4711" PROTOCOLVERSION="1.0"><SIMPLEREQ><IMETHODCALL NAME="GetInstance">)"
        R"(<LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="xcim"/>)"
        R"(</LOCALNAMESPACEPATH><IPARAMVALUE NAME="InstanceName">)"
        R"(<INSTANCENAME CLASSNAME="XCIM_Disk0"><KEYBINDING NAME="InstanceID">)"
        R"(<KEYVALUE VALUETYPE="string">)" +
        std::string(bench::kInstanceKey) +
        R"(</KEYVALUE></KEYBINDING></INSTANCENAME></IPARAMVALUE></IMETHODCALL></SIMPLEREQ>)"
        R"(</MESSAGE></CIM>)";
};

struct Times
{
    std::vector<double> cpuUs;
    std::vector<double> wallUs;
};

template <class Run>
void measure(Times& times, Run run)
{
    using Clock = std::chrono::steady_clock;
    constexpr double kMicrosecondsPerSecond = 1e6;
    const auto begin = Clock::now();
    const double cpuBegin = bench::threadSeconds();
    run();
    times.cpuUs.push_back((bench::threadSeconds() - cpuBegin) * kMicrosecondsPerSecond);
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

void run(const std::string& cimUrl, const std::string& directory)
{
    vexoSetThreshold(VEXO_ERROR);
    ResourceMapper::RmfPath = bench::mappingPath(directory);
    check(cimgate_cmpisfcc_set_local_url(cimUrl.c_str()) == CMPI_RC_OK, "not a URL");
    SfccSession session("root");
    BareRequest bare(cimUrl);
    Times library;
    Times floor;
    for (unsigned int i = 0; i < kWarmUpRuns + kRuns; ++i) {
        if (i == kWarmUpRuns) {
            library = {};
            floor = {};
        }
        measure(library, [&session] { readThroughLibrary(session); });
        measure(floor, [&bare] { bare.run(); });
    }
    (void)std::printf("live instance   library us    bare us   ratio\n");
    printLine("elapsed", median(library.wallUs), median(floor.wallUs));
    printLine("CPU of client", median(library.cpuUs), median(floor.cpuUs));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        (void)std::fprintf(stderr, "usage: %s CIM_URL SYSTEM_DIRECTORY\n", argv[0]);
        return 2;
    }
    curl_global_init(CURL_GLOBAL_DEFAULT);
    try {
        run(argv[1], argv[2]);
    } catch (const std::exception& error) {
        (void)std::printf("%s: %s\n", argv[0], error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
