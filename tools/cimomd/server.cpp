#include "server.h"

#include "message_headers.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <httpd/server.h>

#include <csignal>
#include <cstdint>
#include <cstdio>

namespace cimomd {

namespace {

// What a client may send: instances with long texts and large arrays, but no more than this.
constexpr uint64_t kMaxBodyBytes = uint64_t{16} * 1024 * 1024;

// A path may stand in the CIMObject header, escaped, and may have paths as its keys.
constexpr uint32_t kMaxHeaderBytes = 64U * 1024;

httpd::Limits limits()
{
    httpd::Limits limits;
    limits.bodyBytes = kMaxBodyBytes;
    limits.headerBytes = kMaxHeaderBytes;
    return limits;
}

class Service
{
public:
    explicit Service(ObjectManager& manager)
        : mSignals(mContext, SIGTERM, SIGINT),
          mServer(
              mContext,
              [&manager](const httpd::Request& request, const httpd::Reply& reply) {
                  reply(manager.answer(request));
              },
              [](unsigned int status) {
                  return refusalResponse({status, {}, "the HTTP request cannot be read"});
              },
              limits())
    {}

    bool run(const Options& options, std::string& problem);

private:
    boost::asio::io_context mContext{1};
    boost::asio::signal_set mSignals;
    httpd::Server mServer;
};

bool Service::run(const Options& options, std::string& problem)
{
    if (!mServer.listen(options.address, options.port, problem)) {
        problem = "cannot listen on " + urlOf(options.address, options.port) + ": " + problem +
                  "; choose another address with --listen";
        return false;
    }
    mSignals.async_wait(
        [this](boost::system::error_code /*error*/, int /*signal*/) { mContext.stop(); });
    (void)std::printf("cimgate-cimomd: listening on %s\n",
                      urlOf(options.address, mServer.port()).c_str());
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
