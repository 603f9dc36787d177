// What becomes of a request: it is refused, answered by the front itself, answered again, or given
// to a worker.
//
// Threads: everything runs in the one thread that runs the io_context.
#ifndef HOST_FRONT_RESPONDER_H_
#define HOST_FRONT_RESPONDER_H_

#include "front/cache_state.h"
#include "front/kept_answers.h"
#include "front/native_resources.h"
#include "front/own_names.h"
#include "front/quarantine.h"
#include "front/request_log.h"
#include "front/worker_pool.h"
#include "options.h"
#include "queue/front_end.h"
#include "wire/mapping_summary.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <httpd/server.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

class Responder
{
public:
    // What it is made with must outlive it. damaged is called where a std::bad_alloc has left the
    // pool with something undone, or goes no further.
    Responder(boost::asio::io_context& context, const Options& options,
              const MappingSummary& mapping, native::Documents documents, WorkerPool& pool,
              RequestLog& log, std::function<void()> damaged);

    void handle(httpd::Request request, httpd::Reply reply);
    void handleQueue(const std::string& text, const QueueFrontEnd::Reply& reply);

    // The answer to a request of which only the head is there; nothing where the body is wanted.
    std::optional<httpd::Response> answerToHead(const httpd::Request& request) const;

    // Opens what it will have open, before clients use up the descriptors.
    void open();

    // The vendor's schemas have come: who has asked for one is answered.
    void addSchemas(native::Documents schemas);

    // One step of the work that is left for when clients can be served; false when nothing is left.
    bool compressNext() { return mNative.compressNext(); }

    const KeptAnswers::Figures& keptFigures() const { return mKeptAnswers.figures(); }

private:
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
    };

    // One question about the data cache serves all requests that have been read when it is asked:
    // what was committed before one of them was sent, the answer to the question tells. It is asked
    // when the first of them wants to know.
    struct Question
    {
        bool isAsked = false;
        std::optional<uint64_t> state;
    };

    template <typename Serve>
    void serveEach(std::vector<Arrived>& requests, Serve serve);
    void awaitSchemas(Arrived arrived);
    void refuseAwaiting();
    std::optional<httpd::Response> answerByFront(const httpd::Request& request,
                                                 std::optional<UriKind>& kind) const;
    bool isAskedByOthersToo(const httpd::Client* client);
    std::optional<httpd::Response> refusalOfKept(const httpd::Request& request) const;
    void answerArrived();
    void answer(Arrived& arrived, Question& question);
    void askWorker(Arrived& arrived, Keeping keeping, UriKind kind);
    std::optional<uint64_t> cacheState();
    std::optional<uint64_t> stateBy(Question& question);
    bool mayBeKept(const httpd::Request& request) const;
    const ReadyAnswer* keptAnswer(std::string_view key, Question& question);
    Keeping keepingOf(std::string_view key, UriKind kind, Question& question);
    void keep(const Keeping& keeping, httpd::Response& response);
    void noteOutcome(const std::string& watched, Outcome outcome, bool isAction);
    void submit(Task task, const std::string& watched);

    boost::asio::io_context& mContext;
    const MappingSummary& mMapping;
    WorkerPool& mPool;
    RequestLog& mRequestLog;
    std::function<void()> mDamaged;
    OwnNames mOwnNames;
    NativeResources mNative;
    Quarantine mQuarantine;
    CacheState mCacheState;
    KeptAnswers mKeptAnswers;
    std::string mKeyRoom;                       // of the request that is being answered
    const httpd::Client* mLastClient = nullptr; // only to be compared
    std::vector<Arrived> mAwaiting;             // schemas that have not come yet
    boost::asio::steady_timer mPatience;        // of those
    std::chrono::milliseconds mMaxPatience;
    std::vector<Arrived> mArrived;   // what answerArrived() is about to answer
    std::vector<Arrived> mAnswering; // what it is answering
};

// The answer to a request that could not be read, by its status (httpd::ErrorPage).
httpd::Response answerToUnreadable(unsigned int status);

} // namespace host

#endif
