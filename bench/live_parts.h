// What the benchmarks of live requests share: a bare libcurl request as the floor, and the figures.
#ifndef BENCH_LIVE_PARTS_H_
#define BENCH_LIVE_PARTS_H_

#include <curl/curl.h>

#include <functional>
#include <memory>
#include <string>

namespace bench {

// Throws std::runtime_error unless isTrue.
void check(bool isTrue, const char* what);

// The bytes that the client library sends for a request, sent as they stand.
class BareRequest
{
public:
    // method   as in the header CIMMethod
    // object   as in the header CIMObject, percent-encoded
    // body     the CIM-XML message
    // expected  what the answer must hold
    // isFresh  whether each run connects anew, as the client library does for method calls
    BareRequest(const std::string& url, const std::string& method, const std::string& object,
                std::string body, std::string expected, bool isFresh);

    // Throws std::runtime_error when it fails or the answer is another one.
    void run();

private:
    static size_t receive(char* bytes, size_t size, size_t count, void* self);

    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> mCurl;
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> mHeaders;
    std::string mBody;
    std::string mExpected;
    std::string mAnswer;
};

// Runs both by turns and prints the medians of elapsed and processor time under a heading.
void compare(const char* heading, const std::function<void()>& library,
             const std::function<void()>& floor);

// main() of such a program, which is given CIM_URL and SYSTEM_DIRECTORY: prepares the library and
// calls measure with the URL. Returns the exit status.
int runLiveBenchmark(int argc, char** argv, void (*measure)(const std::string& cimUrl));

} // namespace bench

#endif
