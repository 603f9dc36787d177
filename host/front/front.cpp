#include "front/front.h"

#include "check/at_start.h"
#include "front/request_log.h"
#include "front/responder.h"
#include "front/worker_pool.h"
#include "host_limits.h"
#include "log.h"
#include "log_filter.h"
#include "queue/front_end.h"
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

namespace host {

namespace asio = boost::asio;

namespace {

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

class Front
{
public:
    Front(const Options& options, Spawner& spawner, const httpd::Limits& limits);

    int run();

private:
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
    void awaitSchemas();
    void schemasHaveCome();
    void compressResources();
    void damaged();
    void fail(const std::string& cause);

    const Options& mOptions;
    Spawner& mSpawned;
    asio::io_context mContext{1};
    asio::signal_set mSignals;
    asio::posix::stream_descriptor mAsked; // a signal asks for the counters
    asio::posix::stream_descriptor mSchemas;
    asio::steady_timer mStopTimer;
    asio::steady_timer mRepeatsTimer;
    RequestLog mRequestLog;
    SpawnerLink mSpawner;
    WorkerPool mPool;
    Responder mResponder;
    httpd::Server mServer;
    std::unique_ptr<QueueFrontEnd> mQueue; // null without an endpoint
    int mExitStatus = EXIT_SUCCESS;
    bool mHasSchemas = false;
    bool mIsListening = false;
    bool mIsStopping = false;
    bool mIsDone = false;
    bool mIsDamaged = false; // a std::bad_alloc has left something undone
    int mUndrained = 0;      // servers that still have requests to answer, once it stops
};

Front::Front(const Options& options, Spawner& spawner, const httpd::Limits& limits)
    : mOptions(options),
      mSpawned(spawner),
      mSignals(mContext, SIGTERM, SIGINT, SIGHUP),
      mAsked(mContext, signalDescriptor(SIGUSR1)),
      mSchemas(mContext, spawner.schemas.get()),
      mStopTimer(mContext),
      mRepeatsTimer(mContext),
      mSpawner(mContext, spawner.control.get(), [this](const std::string& cause) { fail(cause); }),
      mPool(mContext, mSpawner, options.workers, std::chrono::seconds(options.requestTimeoutS),
            {[this] { workersReady(); }, [this] { fail("a worker ended before it was ready"); },
             [this](const std::string& cause) {
                 fail(cause);
             }}),
      mResponder(mContext, options, spawner.mapping, std::move(spawner.documents), mPool,
                 mRequestLog, [this] { damaged(); }),
      mServer(
          mContext,
          [this](httpd::Request request, httpd::Reply reply) {
              mResponder.handle(std::move(request), std::move(reply));
          },
          answerToUnreadable, limits)
{
    mServer.setObserver([this](const httpd::Exchange& exchange) { mRequestLog.note(exchange); });
    mServer.setHeadJudge(
        [this](const httpd::Request& request) { return mResponder.answerToHead(request); });
    if (!options.oemEndpoint.empty()) {
        makeQueue();
    }
}

void Front::makeQueue()
{
    mQueue = std::make_unique<QueueFrontEnd>(
        mContext, mSpawner, mOptions.oemEndpoint,
        [this](const std::string& text, const QueueFrontEnd::Reply& reply) {
            mResponder.handleQueue(text, reply);
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
    awaitSchemas();
    mPool.start();
    serve();
    (void)mSchemas.release(); // it is the spawner's
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
    awaitSchemas();
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
    const KeptAnswers::Figures& kept = mResponder.keptFigures();
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
    check::awaitCheck(mSpawned.checked.get());
    mResponder.open();
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
    mIsListening = true;
    if (mHasSchemas) {
        compressResources();
    }
}

// Again where memory was short when they came: then they have not, and are told as missing.
void Front::awaitSchemas()
{
    if (mHasSchemas) {
        return;
    }
    boost::system::error_code ignored;
    mSchemas.cancel(ignored); // one wait at a time
    mSchemas.async_wait(asio::posix::stream_descriptor::wait_read,
                        [this](boost::system::error_code error) {
                            if (!error) {
                                schemasHaveCome();
                            }
                        });
}

void Front::schemasHaveCome()
{
    std::optional<native::Documents> schemas = receiveSchemas(mSpawned);
    if (!schemas) {
        log(Severity::Error, "the schemas of the mapping file could not be made: requests for them "
                             "are answered 404");
    }
    mResponder.addSchemas(std::move(schemas).value_or(native::Documents()));
    mHasSchemas = true;
    if (mIsListening) {
        compressResources();
    }
}

// One after the other, requests between them.
void Front::compressResources()
{
    asio::post(mContext, [this] {
        if (mResponder.compressNext()) {
            compressResources();
        }
    });
}

// A std::bad_alloc goes on its way to whoever has caused it; serve() mends what is left.
void Front::damaged()
{
    mIsDamaged = true;
    mContext.stop();
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
