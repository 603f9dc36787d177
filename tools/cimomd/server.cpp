#include "server.h"

#include "message_headers.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <httpd/listen_address.h>
#include <httpd/server.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <utility>

namespace cimomd {

namespace {

// What a client may send: instances with long texts and large arrays, but no more than this.
constexpr uint64_t kMaxBodyBytes = uint64_t{16} * 1024 * 1024;

// A path may stand in the CIMObject header, escaped, and may have paths as its keys.
constexpr uint32_t kMaxHeaderBytes = 64U * 1024;

// Several of the largest messages at a time, both ways.
constexpr size_t kMaxClientMemoryBytes = size_t{512} * 1024 * 1024;

httpd::Limits limits()
{
    httpd::Limits limits;
    limits.bodyBytes = kMaxBodyBytes;
    limits.headerBytes = kMaxHeaderBytes;
    limits.clientMemoryBytes = kMaxClientMemoryBytes;
    return limits;
}

class Service
{
public:
    explicit Service(ObjectManager& manager)
        : mSignals(mContext, SIGTERM, SIGINT),
          mServer(
              mContext,
              [this, &manager](const httpd::Request& request, httpd::Reply reply) {
                  send(manager.answer(request), std::move(reply));
              },
              [](unsigned int status) {
                  return refusalResponse({status, {}, "the HTTP request cannot be read"});
              },
              limits())
    {}

    bool run(const Options& options, std::string& problem);

private:
    void send(ObjectManager::Answer answer, httpd::Reply reply);

    boost::asio::io_context mContext{1};
    boost::asio::signal_set mSignals;
    httpd::Server mServer;
};

// Others are served while an answer is held back.
void Service::send(ObjectManager::Answer answer, httpd::Reply reply)
{
    if (answer.delay.count() == 0) {
        reply(std::move(answer.response));
        return;
    }
    const auto timer = std::make_shared<boost::asio::steady_timer>(mContext, answer.delay);
    timer->async_wait([timer, response = std::move(answer.response),
                       reply = std::move(reply)](boost::system::error_code /*error*/) mutable {
        reply(std::move(response));
    });
}

bool Service::run(const Options& options, std::string& problem)
{
    if (!mServer.listen(options.address, options.port, problem)) {
        problem = "cannot listen on " + httpd::urlOf(options.address, options.port) + ": " +
                  problem + "; choose another address with --listen";
        return false;
    }
    mSignals.async_wait(
        [this](boost::system::error_code /*error*/, int /*signal*/) { mContext.stop(); });
    (void)std::printf("cimgate-cimomd: listening on %s\n",
                      httpd::urlOf(options.address, mServer.port()).c_str());
    (void)std::fflush(stdout);
    mContext.run();
    mServer.stop();
    return true;
}

} // namespace

bool serve(ObjectManager& manager, const Options& options, std::string& problem)
{
    return Service(manager).run(options, problem);
}

} // namespace cimomd
