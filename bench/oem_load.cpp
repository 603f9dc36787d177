// Clients that ask again and again, all at once:
//
//   oem_load CLIENTS SECONDS oem ENDPOINT CONTAINER ID    a round trip is one request over ZeroMQ
//   oem_load CLIENTS SECONDS http URL...                  a round trip is one GET of each URL
//
// Each client has a connection of its own and waits for each answer. Prints how many round trips
// were made in how many microseconds, and the bytes of the last one's answers.
#include <curl/curl.h>
#include <json/json.h>
#include <zmq.hpp>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// One round trip; returns the bytes of its answers. Throws where it fails.
using RoundTrip = std::function<size_t()>;

void check(bool isTrue, const char* what)
{
    if (!isTrue) {
        throw std::runtime_error(what);
    }
}

class OemClient
{
public:
    OemClient(const std::string& endpoint, const std::string& container, const std::string& id)
        : mSocket(mContext, zmq::socket_type::req)
    {
        Json::Value request;
        request["container"] = container;
        request["id"] = id;
        mRequest = Json::FastWriter().write(request);
        mSocket.connect(endpoint);
    }

    size_t ask()
    {
        (void)mSocket.send(zmq::buffer(mRequest), zmq::send_flags::none);
        zmq::message_t answer;
        check(mSocket.recv(answer).has_value() &&
                  answer.to_string_view().find("\"error\"") == std::string_view::npos,
              "the message queue did not give the data");
        return answer.size();
    }

private:
    zmq::context_t mContext;
    zmq::socket_t mSocket;
    std::string mRequest;
};

size_t countBytes(char* /*bytes*/, size_t size, size_t count, void* total)
{
    *static_cast<size_t*>(total) += size * count;
    return size * count;
}

class HttpClient
{
public:
    explicit HttpClient(std::vector<std::string> urls)
        : mUrls(std::move(urls)), mCurl(curl_easy_init(), curl_easy_cleanup)
    {
        curl_easy_setopt(mCurl.get(), CURLOPT_FAILONERROR, 1L);
        curl_easy_setopt(mCurl.get(), CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(mCurl.get(), CURLOPT_WRITEFUNCTION, countBytes);
    }

    size_t ask()
    {
        size_t bytes = 0;
        curl_easy_setopt(mCurl.get(), CURLOPT_WRITEDATA, &bytes);
        for (const std::string& url : mUrls) {
            curl_easy_setopt(mCurl.get(), CURLOPT_URL, url.c_str());
            check(curl_easy_perform(mCurl.get()) == CURLE_OK, "a GET failed");
        }
        return bytes;
    }

private:
    std::vector<std::string> mUrls;
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> mCurl;
};

RoundTrip makeClient(const std::vector<std::string>& arguments)
{
    if (arguments.size() == 4 && arguments[0] == "oem") {
        const auto client = std::make_shared<OemClient>(arguments[1], arguments[2], arguments[3]);
        return [client] {
            return client->ask();
        };
    }
    check(arguments.size() > 1 && arguments[0] == "http", "see the usage in the source");
    const auto client = std::make_shared<HttpClient>(
        std::vector<std::string>(arguments.begin() + 1, arguments.end()));
    return [client] {
        return client->ask();
    };
}

void repeat(const RoundTrip& roundTrip, Clock::time_point until, std::atomic<size_t>& count)
{
    try {
        while (Clock::now() < until) {
            (void)roundTrip();
            ++count;
        }
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "oem_load: %s\n", error.what());
        std::_Exit(EXIT_FAILURE); // a figure of requests that fail is worth nothing
    }
}

void load(size_t clients, std::chrono::seconds duration, const std::vector<std::string>& target)
{
    std::vector<RoundTrip> roundTrips;
    size_t bytes = 0;
    for (size_t i = 0; i < clients; ++i) {
        roundTrips.push_back(makeClient(target));
        bytes = roundTrips.back()(); // connects
    }
    std::atomic<size_t> count = 0;
    const auto begin = Clock::now();
    std::vector<std::thread> threads;
    threads.reserve(clients);
    for (const RoundTrip& roundTrip : roundTrips) {
        threads.emplace_back([&] { repeat(roundTrip, begin + duration, count); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const auto elapsed =
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
    (void)std::printf("%zu %lld %zu\n", count.load(), static_cast<long long>(elapsed.count()),
                      bytes);
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    try {
        check(arguments.size() > 3, "see the usage in the source");
        (void)curl_global_init(CURL_GLOBAL_DEFAULT);
        load(std::stoul(arguments[0]), std::chrono::seconds(std::stol(arguments[1])),
             {arguments.begin() + 2, arguments.end()});
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "oem_load: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
