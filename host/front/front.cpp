#include "front/front.h"

#include "check/at_start.h"
#include "error_body.h"
#include "front/cache_state.h"
#include "front/conditional.h"
#include "front/content_coding.h"
#include "front/header_list.h"
#include "front/kept_answers.h"
#include "front/native_resources.h"
#include "front/own_names.h"
#include "front/quarantine.h"
#include "front/refusals.h"
#include "front/request_log.h"
#include "front/worker_pool.h"
#include "host_limits.h"
#include "log.h"
#include "log_filter.h"
#include "queue/front_end.h"
#include "queue/message.h"
#include "tell.h"

#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <httpd/listen_address.h>
#include <httpd/server.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <sstream>
#include <thread>
#include <utility>
#include <vector>

namespace host {

namespace asio = boost::asio;

namespace {

httpd::Response errorOf(Outcome outcome)
{
    switch (outcome) {
    case Outcome::TooLate:
        return errorResponse(httpd::kGatewayTimeout, "OperationTimeout");
    case Outcome::Overloaded:
        return temporarilyUnavailable(kRetryAfterS);
    default:
        return errorResponse(httpd::kInternalServerError, "InternalError");
    }
}

httpd::Response answerTo(Outcome outcome, httpd::Response answered)
{
    if (outcome == Outcome::Answered) {
        return answered;
    }
    httpd::Response response = errorOf(outcome);
    response.remark = std::move(answered.remark);
    return response;
}

std::string queueAnswerOf(Outcome outcome, const httpd::Response& answered)
{
    switch (outcome) {
    case Outcome::Answered:
        return answered.body;
    case Outcome::TooLate:
        return queueError(QueueFault::TooLate);
    case Outcome::Overloaded:
        return queueError(QueueFault::Busy);
    case Outcome::WorkerEnded:
        break;
    }
    return queueError(QueueFault::WorkerEnded);
}

// What every response carries (DSP0266, "Response headers").
void addCommonHeaders(httpd::Response& response)
{
    response.headers.push_back({"OData-Version", "4.0"});
    response.headers.push_back({"Cache-Control", "no-cache"});
}

// What is refused when workers keep ending: what ends them in a POST says nothing of reads.
std::string watchedName(const httpd::Request& request)
{
    return isPost(request) ? "POST " + request.target : request.target;
}

WorkerRequest workerRequest(httpd::Request request, bool wantsGzip)
{
    if (isPost(request)) {
        return ActionRequest{std::move(request.target), std::move(request.body)};
    }
    return ReadRequest{std::move(request.target), true, wantsGzip};
}

// What a client wants to have an answer in, and which it has already.
struct Wanted
{
    bool gzip = false;
    std::string ifNoneMatch;
};

// Actions are done whatever the client has.
Wanted wantedOf(const httpd::Request& request)
{
    return isPost(request)
               ? Wanted{}
               : Wanted{wantsGzip(request.headers), listOf(request.headers, "If-None-Match")};
}

// Copies what it is given to keep.
template <typename Given>
httpd::Response finalOf(Given&& response, const std::string& ifNoneMatch)
{
    httpd::Response final =
        isKnown(ifNoneMatch, response) ? notModified(response) : std::forward<Given>(response);
    addCommonHeaders(final);
    return final;
}

// For the log.
constexpr const char* kClosedTarget = "workers have ended at it: it is refused for a while";

httpd::Response closedTarget()
{
    httpd::Response response = temporarilyUnavailable(kQuarantineRetryAfterS);
    response.remark = kClosedTarget;
    return response;
}

// The message queue's clients have one share: they come over one socket.
constexpr const char* kQueueClient = "message queue";

// Where a signal can be read, which then does nothing else. It stays blocked: it may come at any
// time, also when nobody reads it any more.
int signalDescriptor(int number)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, number);
    (void)pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

// What an answer may be kept by; no state where it may not.
struct Keeping
{
    std::string key;
    std::optional<uint64_t> state; // of the data cache, before a worker begins
};

// A request that has been read.
struct Arrived
{
    httpd::Request request;
    httpd::Reply reply;
    Wanted wanted;
};

class Front
{
public:
    Front(const Options& options, Spawner& spawner, const httpd::Limits& limits);

    int run();

private:
    void handle(httpd::Request request, const httpd::Reply& reply);
    void handleQueue(const std::string& text, const QueueFrontEnd::Reply& reply);
    std::optional<httpd::Response> answerByFront(const httpd::Request& request) const;
    void answerArrived();
    void answer(Arrived arrived, const Keeping& keeping);
    void askWorker(Arrived arrived, const Keeping& keeping);
    bool isOfCache(const httpd::Request& request) const;
    const httpd::Response* keptAnswer(const Keeping& keeping);
    void keep(const Keeping& keeping, httpd::Response& response);
    bool mayNeedCim(const httpd::Request& request) const;
    void noteOutcome(const std::string& watched, Outcome outcome, bool isAction);
    void submit(Task task, const std::string& watched);
    void serve();
    void recover();
    void finish();
    void awaitSignal();
    void awaitRepeats();
    void awaitAsked();
    void tellCounters();
    void stopGracefully();
    void stopWhenDrained();
    void makeQueue();
    void workersReady();
    void listen();
    void compressResources();
    void fail(const std::string& cause);

    const Options& mOptions;
    const MappingSummary& mMapping;
    int mChecked; // see Spawner
    asio::io_context mContext{1};
    asio::signal_set mSignals;
    asio::posix::stream_descriptor mAsked; // a signal asks for the counters
    asio::steady_timer mStopTimer;
    asio::steady_timer mRepeatsTimer;
    RequestLog mRequestLog;
    OwnNames mOwnNames;
    NativeResources mNative;
    Quarantine mQuarantine;
    CacheState mCacheState;
    KeptAnswers mKeptAnswers;
    SpawnerLink mSpawner;
    WorkerPool mPool;
    httpd::Server mServer;
    std::unique_ptr<QueueFrontEnd> mQueue; // null without an endpoint
    std::vector<Arrived> mArrived;         // requests that answerArrived() is about to answer
    int mExitStatus = EXIT_SUCCESS;
    bool mIsStopping = false;
    bool mIsDone = false;
    bool mIsDamaged = false; // a std::bad_alloc has left something undone
    int mUndrained = 0;      // servers that still have requests to answer, once it stops
};

Front::Front(const Options& options, Spawner& spawner, const httpd::Limits& limits)
    : mOptions(options),
      mMapping(spawner.mapping),
      mChecked(spawner.checked.get()),
      mSignals(mContext, SIGTERM, SIGINT, SIGHUP),
      mAsked(mContext, signalDescriptor(SIGUSR1)),
      mStopTimer(mContext),
      mRepeatsTimer(mContext),
      mOwnNames(options.hosts),
      mNative(std::move(spawner.documents)),
      mCacheState(options.cachePath),
      mKeptAnswers(options.keptAnswersBytes),
      mSpawner(mContext, spawner.control.get(), [this](const std::string& cause) { fail(cause); }),
      mPool(mContext, mSpawner, options.workers, std::chrono::seconds(options.requestTimeoutS),
            {[this] { workersReady(); }, [this] { fail("a worker ended before it was ready"); },
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
    mServer.setObserver([this](const httpd::Exchange& exchange) { mRequestLog.note(exchange); });
    mServer.setHeadJudge([this](const httpd::Request& request) {
        std::optional<httpd::Response> response = answerByFront(request);
        if (response) {
            addCommonHeaders(*response);
        }
        return response;
    });
    if (!options.oemEndpoint.empty()) {
        makeQueue();
    }
}

void Front::makeQueue()
{
    mQueue = std::make_unique<QueueFrontEnd>(
        mContext, mSpawner, mOptions.oemEndpoint,
        [this](const std::string& text, const QueueFrontEnd::Reply& reply) {
            handleQueue(text, reply);
        },
        QueueFrontEnd::Events{[this] { listen(); },
                              [this](const std::string& cause) {
                                  fail(cause);
                              }});
}

int Front::run()
{
    awaitSignal();
    awaitRepeats();
    awaitAsked();
    mPool.start();
    serve();
    mSpawner.stop();
    mServer.stop();
    if (mQueue != nullptr) {
        mQueue->stop();
    }
    mPool.stop();
    return mExitStatus;
}

// For want of memory a connection or a worker is given up, never the service.
void Front::serve()
{
    while (!mIsDone) {
        try {
            mContext.restart();
            if (mIsDamaged) {
                mContext.poll_one(); // which may give back what is wanted
                recover();
            }
            mContext.run();
        } catch (const std::bad_alloc&) {
            if (std::exchange(mIsDamaged, true)) {
                std::this_thread::sleep_for(kMemoryRetry);
            }
        }
    }
}

void Front::recover()
{
    if (mIsStopping) {
        finish();
        return;
    }
    mSpawner.recover();
    mPool.recover();
    if (mQueue != nullptr) {
        mQueue->recover();
    }
    awaitRepeats();
    awaitAsked();
    log(Severity::Error, "was out of memory: what needed it has been given up");
    mIsDamaged = false;
}

void Front::finish()
{
    mIsDone = true;
    mContext.stop();
}

void Front::awaitSignal()
{
    mSignals.async_wait([this](boost::system::error_code error, int /*signal*/) {
        if (error) {
            return;
        }
        if (mIsStopping) {
            finish(); // whoever asks twice does not want to wait
            return;
        }
        mIsStopping = true;
        awaitSignal();
        stopGracefully();
    });
}

void Front::awaitRepeats()
{
    mRepeatsTimer.expires_after(kRepeatWindow / 4);
    mRepeatsTimer.async_wait([this](boost::system::error_code error) {
        if (!error) {
            tellRepeats();
            awaitRepeats();
        }
    });
}

void Front::awaitAsked()
{
    boost::system::error_code ignored;
    mAsked.cancel(ignored); // one wait at a time
    mAsked.async_wait(asio::posix::stream_descriptor::wait_read,
                      [this](boost::system::error_code error) {
                          signalfd_siginfo info{};
                          if (!error && read(mAsked.native_handle(), &info, sizeof info) > 0) {
                              tellCounters();
                          }
                          if (!error) {
                              awaitAsked();
                          }
                      });
}

void Front::tellCounters()
{
    const RequestCounters& requests = mRequestLog.counters();
    const WorkerPool::Figures workers = mPool.figures();
    const KeptAnswers::Figures& kept = mKeptAnswers.figures();
    std::ostringstream text;
    text << "counters: " << requests.answered << " requests answered";
    for (size_t digit = 2; digit < requests.ofClass.size(); ++digit) {
        text << ", " << digit << "xx " << requests.ofClass.at(digit);
    }
    text << ", failed " << requests.failed << "; message queue " << requests.queueAnswered
         << ", failed " << requests.queueFailed << "; waiting " << workers.waitingForCache
         << " for the data cache, " << workers.waitingForCim << " for CIM; workers "
         << workers.living << ", busy " << workers.busy << ", started " << workers.forked
         << ", ended " << workers.forked - workers.living << "; connections "
         << mServer.connections() << "; kept answers " << kept.answers << " of " << kept.bytes
         << " bytes, given " << kept.hits << ", not there " << kept.misses << ", dropped "
         << kept.dropped << "; clients' memory " << mServer.memory().held() << " of "
         << mServer.memory().limit() << " bytes";
    tell(text.str(), Severity::Info);
}

// Requests that are being answered get their answers, if that does not take too long.
void Front::stopGracefully()
{
    mStopTimer.expires_after(kStopGrace);
    mStopTimer.async_wait([this](boost::system::error_code /*error*/) { finish(); });
    mUndrained = mQueue == nullptr ? 1 : 2;
    mServer.drain([this] { stopWhenDrained(); });
    if (mQueue != nullptr) {
        mQueue->drain([this] { stopWhenDrained(); });
    }
}

void Front::stopWhenDrained()
{
    if (--mUndrained == 0) {
        finish();
    }
}

void Front::handle(httpd::Request request, const httpd::Reply& reply)
{
    Wanted wanted = wantedOf(request);
    const bool isKeepable = isOfCache(request);
    Arrived arrived{std::move(request), reply, std::move(wanted)};
    if (!isKeepable) {
        answer(std::move(arrived), {});
        return;
    }
    if (mArrived.empty()) {
        asio::post(mContext, [this] { answerArrived(); });
    }
    mArrived.push_back(std::move(arrived));
}

// One question about the data cache serves all requests that have been read when it is asked: what
// was committed before one of them was sent, the answer to the question tells.
void Front::answerArrived()
{
    std::vector<Arrived> all = std::exchange(mArrived, {});
    const std::optional<uint64_t> state = mCacheState.current();
    for (Arrived& arrived : all) {
        try {
            Keeping keeping{keptKeyOf(arrived.request.target, arrived.wanted.gzip), state};
            answer(std::move(arrived), keeping);
        } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): its connection has ended
        }
    }
}

void Front::answer(Arrived arrived, const Keeping& keeping)
{
    const auto& [request, reply, wanted] = arrived;
    const httpd::Response* kept = keptAnswer(keeping);
    // The same target was a worker's before, so that only names are left to look at.
    const bool isWorkers = kept != nullptr && keeping.key.ends_with(request.target);
    if (auto own = isWorkers ? mOwnNames.refusalOf(request) : answerByFront(request)) {
        reply(finalOf(std::move(*own), wanted.ifNoneMatch));
    } else if (kept != nullptr) {
        reply(finalOf(*kept, wanted.ifNoneMatch));
    } else if (!mQuarantine.admits(watchedName(request), std::chrono::steady_clock::now())) {
        reply(finalOf(closedTarget(), ""));
    } else {
        askWorker(std::move(arrived), keeping);
    }
}

void Front::askWorker(Arrived arrived, const Keeping& keeping)
{
    const std::string watched = watchedName(arrived.request);
    const bool isAction = isPost(arrived.request);
    // The share of the clients' memory is held as long as the request is.
    auto done = [this, watched, isAction, reply = arrived.reply, keeping,
                 known = arrived.wanted.ifNoneMatch,
                 memory = arrived.request.memory](Outcome outcome, httpd::Response answered) {
        noteOutcome(watched, outcome, isAction);
        keep(keeping, answered);
        reply(finalOf(answerTo(outcome, std::move(answered)), known));
    };
    const std::shared_ptr<const httpd::Client> client = arrived.request.client;
    const bool needsCim = mayNeedCim(arrived.request);
    submit({workerRequest(std::move(arrived.request), arrived.wanted.gzip), std::move(done),
            needsCim, client->share(), [client] { return client->hasGone(); }, keeping.key},
           watched);
}

// What has been admitted ends with an outcome, or is withdrawn.
void Front::submit(Task task, const std::string& watched)
{
    try {
        mPool.submit(std::move(task));
    } catch (const std::bad_alloc&) {
        mQuarantine.withdrawn(watched);
        mIsDamaged = true;
        mContext.stop();
        throw;
    }
}

void Front::handleQueue(const std::string& text, const QueueFrontEnd::Reply& reply)
{
    const auto begun = std::chrono::steady_clock::now();
    const auto finish = [this, begun, reply](const std::string& watched, const std::string& answer,
                                             const std::string& remark) {
        mRequestLog.note({watched, statusOfAnswer(answer), answer.size(), begun}, remark);
        reply(answer);
    };
    EmbeddedDataRequest request;
    if (const auto fault = readQueueRequest(text, request)) {
        finish("", queueError(*fault), "");
        return;
    }
    const std::string watched = "OEM " + request.container + " " + request.id;
    if (!mQuarantine.admits(watched, begun)) {
        finish(watched, queueError(QueueFault::Busy), kClosedTarget);
        return;
    }
    submit({std::move(request),
            [this, watched, finish](Outcome outcome, const httpd::Response& answered) {
                noteOutcome(watched, outcome, false);
                finish(watched, queueAnswerOf(outcome, answered), answered.remark);
            },
            false, kQueueClient},
           watched);
}

// What the mapping has no say in: refusals, and the service's own resources.
std::optional<httpd::Response> Front::answerByFront(const httpd::Request& request) const
{
    std::optional<httpd::Response> response = mOwnNames.refusalOf(request);
    if (!response) {
        response = mNative.answerTo(request);
    }
    return response ? response : refusalOf(request);
}

// Only what is read from the data cache has a state to be kept by.
bool Front::isOfCache(const httpd::Request& request) const
{
    return mKeptAnswers.isOn() && (request.method == "GET" || request.method == "HEAD") &&
           mMapping.kindOf(request.target) == UriKind::CachedRead;
}

// The state before the worker began is the one now: what it has read is of this state.
void Front::keep(const Keeping& keeping, httpd::Response& response)
{
    if (!keeping.state || !response.mayBeKept || response.status != httpd::kOk) {
        return;
    }
    try {
        const auto now = std::chrono::steady_clock::now();
        if (mKeptAnswers.isAskedAgain(keeping.key, now) && mCacheState.current() == keeping.state) {
            response.sharedBody = std::make_shared<const std::string>(std::move(response.body));
            mKeptAnswers.keep(keeping.key, *keeping.state, response);
        }
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): the client has its answer
    }
}

// Null where there is none.
const httpd::Response* Front::keptAnswer(const Keeping& keeping)
{
    return keeping.state ? mKeptAnswers.find(keeping.key, *keeping.state) : nullptr;
}

// A POST is, or asks the object manager whether there is such an instance.
bool Front::mayNeedCim(const httpd::Request& request) const
{
    return isPost(request) || mMapping.kindOf(request.target) == UriKind::LiveRead;
}

// An action that is slow has not failed: only what ends a worker by itself counts.
void Front::noteOutcome(const std::string& watched, Outcome outcome, bool isAction)
{
    const bool hasEndedWorker =
        outcome == Outcome::WorkerEnded || (outcome == Outcome::TooLate && !isAction);
    if (outcome == Outcome::Answered) {
        mQuarantine.answered(watched);
    } else if (!hasEndedWorker) {
        mQuarantine.withdrawn(watched);
    } else if (mQuarantine.workerEnded(watched, std::chrono::steady_clock::now())) {
        const std::string howLong =
            std::string(" for ") + kQuarantineRetryAfterS + " s: workers end at it";
        log(Severity::Error, "refuses " + watched + howLong, "refuses ..." + howLong);
    }
}

void Front::workersReady()
{
    if (mQueue != nullptr) {
        mQueue->start();
    } else {
        listen();
    }
}

void Front::listen()
{
    if (mIsStopping) {
        return;
    }
    check::awaitCheck(mChecked);
    (void)mCacheState.current(); // opens its files, before clients use up the descriptors
    std::string problem;
    if (!mServer.listen(mOptions.address, mOptions.port, problem)) {
        fail("cannot listen on " + httpd::urlOf(mOptions.address, mOptions.port) + ": " + problem +
             "; choose another address with --listen");
        return;
    }
    if (!giveUpRights(mOptions.user, problem)) {
        fail(problem);
        return;
    }
    if (!mOptions.accessLog.empty() && !mRequestLog.openAccessLog(mOptions.accessLog, problem)) {
        fail("cannot open the access log " + mOptions.accessLog + ": " + problem +
             "; name another file with --access-log");
        return;
    }
    (void)std::printf("cimgated: listening on %s\n",
                      httpd::urlOf(mOptions.address, mServer.port()).c_str());
    (void)std::fflush(stdout);
    compressResources();
}

// One after the other, requests between them.
void Front::compressResources()
{
    asio::post(mContext, [this] {
        if (mNative.compressNext()) {
            compressResources();
        }
    });
}

void Front::fail(const std::string& cause)
{
    if (mExitStatus != EXIT_SUCCESS) {
        return; // what follows from the first cause says no more
    }
    tellLastWords(cause);
    mExitStatus = EXIT_FAILURE;
    finish();
}

} // namespace

int runFront(const Options& options, Spawner& spawner, httpd::Limits limits)
{
    limits.clientMemoryBytes = options.clientMemoryBytes;
    return Front(options, spawner, limits).run();
}

} // namespace host
