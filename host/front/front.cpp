#include "front/front.h"

#include "error_body.h"
#include "front/quarantine.h"
#include "front/worker_pool.h"
#include "host_limits.h"
#include "log.h"
#include "queue/front_end.h"
#include "queue/message.h"

#include <ResourceMapper.h>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <httpd/listen_address.h>
#include <httpd/server.h>
#include <strings.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace host {

namespace asio = boost::asio;

namespace {

httpd::Response uriTooLong()
{
    // Without the URI: an answer as long as that helps nobody.
    return errorResponse(414, "InvalidURI", "the request URI");
}

// A request that the HTTP server could not read.
httpd::Response unreadable(unsigned int status)
{
    switch (status) {
    case 408:
        return errorResponse(status, "OperationTimeout");
    case 413:
        return errorResponse(status, "PayloadTooLarge");
    case 414:
        return uriTooLong();
    case 431:
        return errorResponse(status, "HeaderTooLong");
    default:
        return errorResponse(status, "UnrecognizedRequestBody");
    }
}

httpd::Response answerTo(Outcome outcome, httpd::Response answered)
{
    switch (outcome) {
    case Outcome::Answered:
        return answered;
    case Outcome::TooLate:
        return errorResponse(504, "OperationTimeout");
    case Outcome::Overloaded:
        return temporarilyUnavailable(kRetryAfterS);
    case Outcome::WorkerEnded:
        break;
    }
    return errorResponse(500, "InternalError");
}

std::string oemAnswerOf(Outcome outcome, const httpd::Response& answered)
{
    switch (outcome) {
    case Outcome::Answered:
        return answered.body;
    case Outcome::TooLate:
        return oemError(OemFault::TooLate);
    case Outcome::Overloaded:
        return oemError(OemFault::Busy);
    case Outcome::WorkerEnded:
        break;
    }
    return oemError(OemFault::WorkerEnded);
}

// What every response carries (DSP0266, "Response headers").
void addCommonHeaders(httpd::Response& response)
{
    response.headers.push_back({"OData-Version", "4.0"});
    response.headers.push_back({"Cache-Control", "no-cache"});
}

bool isPost(const httpd::Request& request)
{
    return request.method == "POST";
}

// The methods of a URI as far as its shape tells; which URIs there are is known to workers only.
const char* methodsOf(const odata::URI& uri)
{
    const unsigned int count = uri.GetSegmentCount();
    const bool isAction = count >= 2 && std::string_view(uri.GetSegment(count - 2)) == "Actions";
    return isAction ? kActionMethods : kReadMethods;
}

// Asked for even of an empty body: without it, any page in a browser on this machine could act here
// with a form.
bool hasJsonBody(const httpd::Request& request)
{
    constexpr std::string_view kJson = "application/json";
    std::string_view type = httpd::findHeader(request.headers, "Content-Type");
    type = type.substr(0, type.find(';'));
    type = type.substr(0, type.find_last_not_of(" \t") + 1);
    return type.size() == kJson.size() && strncasecmp(type.data(), kJson.data(), type.size()) == 0;
}

// Answers without a worker what the library is not asked for; false when a worker is needed.
bool answeredByFront(const httpd::Request& request, httpd::Response& response)
{
    odata::Scope scope = odata::Scope::ForRequest(request.target);
    const odata::URI uri = scope.NewURI();
    if (request.method != "GET" && request.method != "HEAD" && !isPost(request)) {
        response = methodNotAllowed(methodsOf(uri));
    } else if (isPost(request) && !hasJsonBody(request)) {
        response = errorResponse(415, "UnsupportedMediaType");
    } else if (uri.GetFault() == OL_URI_TOO_LONG) {
        response = uriTooLong();
    } else if (uri.GetFault() == OL_URI_BAD_ENCODING) {
        response = errorResponse(400, "InvalidURI", request.target);
    } else if (uri.GetFault() == OL_URI_REPEATED_OPTION) {
        response = errorResponse(400, "QueryCombinationInvalid");
    } else if (uri.GetUnknownOption() != nullptr) {
        response = errorResponseOfCode(RM_QUERY_NOT_SUPPORTED, uri.GetUnknownOption());
    } else if (uri.GetSegmentCount() == 0) {
        response = errorResponseOfCode(RM_INVALID_URI, request.target);
    } else {
        return false;
    }
    return true;
}

// What is refused when workers keep ending: what ends them in a POST says nothing of reads.
std::string watchedName(const httpd::Request& request)
{
    return isPost(request) ? "POST " + request.target : request.target;
}

WorkerRequest workerRequest(httpd::Request request)
{
    WorkerRequest forWorker;
    forWorker.target = std::move(request.target);
    if (isPost(request)) {
        forWorker.kind = RequestKind::Action;
        forWorker.body = std::move(request.body);
    }
    return forWorker;
}

class Front
{
public:
    Front(const Options& options, const Spawner& spawner, const httpd::Limits& limits);

    int run();

private:
    void handle(httpd::Request request, const httpd::Reply& reply);
    void handleOem(const std::string& text, const OemServer::Reply& reply);
    bool answeredWithoutWorker(const httpd::Request& request, httpd::Response& response);
    void noteOutcome(const std::string& watched, Outcome outcome);
    void awaitSignal();
    void stopGracefully();
    void stopWhenDrained();
    void makeOemServer();
    void workersReady();
    void listen();
    bool goesOnUnready();
    void fail(const std::string& cause);

    const Options& mOptions;
    bool mUsesCache;
    asio::io_context mContext{1};
    asio::signal_set mSignals;
    asio::steady_timer mStopTimer;
    Quarantine mQuarantine;
    SpawnerLink mSpawner;
    WorkerPool mPool;
    httpd::Server mServer;
    std::unique_ptr<OemServer> mOemServer; // null without an endpoint
    int mExitStatus = EXIT_SUCCESS;
    bool mIsStopping = false;
    int mUndrained = 0; // servers that still have requests to answer, once it stops
};

Front::Front(const Options& options, const Spawner& spawner, const httpd::Limits& limits)
    : mOptions(options),
      mUsesCache(spawner.usesCache),
      mSignals(mContext, SIGTERM, SIGINT, SIGHUP),
      mStopTimer(mContext),
      mSpawner(mContext, spawner.control.get(), [this](const std::string& cause) { fail(cause); }),
      mPool(mContext, mSpawner, options.workers, std::chrono::seconds(options.requestTimeoutS),
            {[this] { workersReady(); }, [this] { return goesOnUnready(); },
             [this](const std::string& cause) {
                 fail(cause);
             }}),
      mServer(
          mContext,
          [this](httpd::Request request, const httpd::Reply& reply) {
              handle(std::move(request), reply);
          },
          [](unsigned int status) {
              httpd::Response response = unreadable(status);
              addCommonHeaders(response);
              return response;
          },
          limits)
{
    if (!options.oemEndpoint.empty()) {
        makeOemServer();
    }
}

void Front::makeOemServer()
{
    mOemServer = std::make_unique<OemServer>(
        mContext, mSpawner, mOptions.oemEndpoint,
        [this](const std::string& text, const OemServer::Reply& reply) { handleOem(text, reply); },
        OemServer::Events{[this] { listen(); },
                          [this](const std::string& cause) {
                              fail(cause);
                          }});
}

int Front::run()
{
    awaitSignal();
    mPool.start();
    mContext.run();
    mSpawner.stop();
    mServer.stop();
    if (mOemServer != nullptr) {
        mOemServer->stop();
    }
    mPool.stop();
    return mExitStatus;
}

void Front::awaitSignal()
{
    mSignals.async_wait([this](boost::system::error_code error, int /*signal*/) {
        if (error) {
            return;
        }
        if (mIsStopping) {
            mContext.stop(); // whoever asks twice does not want to wait
            return;
        }
        stopGracefully();
        awaitSignal();
    });
}

// Requests that are being answered get their answers, if that does not take too long.
void Front::stopGracefully()
{
    mIsStopping = true;
    mStopTimer.expires_after(kStopGrace);
    mStopTimer.async_wait([this](boost::system::error_code /*error*/) { mContext.stop(); });
    mUndrained = mOemServer == nullptr ? 1 : 2;
    mServer.drain([this] { stopWhenDrained(); });
    if (mOemServer != nullptr) {
        mOemServer->drain([this] { stopWhenDrained(); });
    }
}

void Front::stopWhenDrained()
{
    if (--mUndrained == 0) {
        mContext.stop();
    }
}

void Front::handle(httpd::Request request, const httpd::Reply& reply)
{
    httpd::Response response;
    if (answeredWithoutWorker(request, response)) {
        addCommonHeaders(response);
        reply(std::move(response));
        return;
    }
    const std::string watched = watchedName(request);
    mPool.submit(workerRequest(std::move(request)),
                 [this, watched, reply](Outcome outcome, httpd::Response answered) {
                     noteOutcome(watched, outcome);
                     httpd::Response final = answerTo(outcome, std::move(answered));
                     addCommonHeaders(final);
                     reply(std::move(final));
                 });
}

void Front::handleOem(const std::string& text, const OemServer::Reply& reply)
{
    OemRequest request;
    if (const auto fault = readOemRequest(text, request)) {
        reply(oemError(*fault));
        return;
    }
    const std::string watched = "OEM " + request.container + " " + request.id;
    if (mQuarantine.holds(watched, std::chrono::steady_clock::now())) {
        reply(oemError(OemFault::Busy));
        return;
    }
    WorkerRequest forWorker{request.container, false, RequestKind::OemData, request.id};
    mPool.submit(std::move(forWorker),
                 [this, watched, reply](Outcome outcome, const httpd::Response& answered) {
                     noteOutcome(watched, outcome);
                     reply(oemAnswerOf(outcome, answered));
                 });
}

bool Front::answeredWithoutWorker(const httpd::Request& request, httpd::Response& response)
{
    if (answeredByFront(request, response)) {
        return true;
    }
    if (mQuarantine.holds(watchedName(request), std::chrono::steady_clock::now())) {
        response = temporarilyUnavailable(kQuarantineRetryAfterS);
        return true;
    }
    return false;
}

void Front::noteOutcome(const std::string& watched, Outcome outcome)
{
    if (outcome == Outcome::Answered) {
        mQuarantine.answered(watched);
    } else if (outcome == Outcome::WorkerEnded || outcome == Outcome::TooLate) {
        if (mQuarantine.workerEnded(watched, std::chrono::steady_clock::now())) {
            log(Severity::Error,
                "refuses " + watched + " for " + kQuarantineRetryAfterS + " s: workers end at it");
        }
    }
}

void Front::workersReady()
{
    if (mOemServer != nullptr) {
        mOemServer->start();
    } else {
        listen();
    }
}

void Front::listen()
{
    if (mIsStopping) {
        return;
    }
    std::string problem;
    if (!mServer.listen(mOptions.address, mOptions.port, problem)) {
        fail("cannot listen on " + httpd::urlOf(mOptions.address, mOptions.port) + ": " + problem +
             "; choose another address with --listen");
        return;
    }
    (void)std::printf("cimgated: listening on %s\n",
                      httpd::urlOf(mOptions.address, mServer.port()).c_str());
    (void)std::fflush(stdout);
}

// A data cache that is not there yet comes with its writer, which may start later. Every other
// fault is one that the operator has to mend.
bool Front::goesOnUnready()
{
    if (mUsesCache && access(mOptions.cachePath.c_str(), F_OK) != 0 && errno == ENOENT) {
        (void)std::fprintf(stderr,
                           "cimgated: the data cache %s is not there: reads of cached resources "
                           "answer 503 until it is (--cache names another file)\n",
                           mOptions.cachePath.c_str());
        return true;
    }
    const std::string cause = "a worker ended before it was ready";
    fail(mUsesCache ? cause + ": is the data cache " + mOptions.cachePath +
                          " there and readable? Name another file with --cache"
                    : cause);
    return false;
}

void Front::fail(const std::string& cause)
{
    if (mExitStatus != EXIT_SUCCESS) {
        return; // what follows from the first cause says no more
    }
    (void)std::fprintf(stderr, "cimgated: %s\n", cause.c_str());
    mExitStatus = EXIT_FAILURE;
    mContext.stop();
}

} // namespace

int runFront(const Options& options, const Spawner& spawner, const httpd::Limits& limits)
{
    return Front(options, spawner, limits).run();
}

} // namespace host
