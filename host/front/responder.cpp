#include "front/responder.h"

#include "error_body.h"
#include "front/conditional.h"
#include "front/content_coding.h"
#include "front/refusals.h"
#include "host_limits.h"
#include "log.h"
#include "queue/message.h"

#include <boost/asio/post.hpp>

#include <chrono>
#include <memory>
#include <new>
#include <utility>

namespace host {

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

WorkerRequest workerRequest(httpd::Request request, bool isComposed, bool wantsGzip)
{
    if (isPost(request)) {
        return ActionRequest{std::move(request.target), std::move(request.body)};
    }
    ReadRequest read{std::move(request.target), true, wantsGzip};
    if (isComposed) {
        return ComposeRequest{std::move(read)};
    }
    return read;
}

// Copies what it is given to keep.
template <typename Given>
httpd::Response finalOf(Given&& response, const std::vector<httpd::Header>& requestHeaders)
{
    httpd::Response final =
        isKnown(requestHeaders, response) ? notModified(response) : std::forward<Given>(response);
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

} // namespace

Responder::Responder(boost::asio::io_context& context, const Options& options,
                     const MappingSummary& mapping, native::Documents documents, WorkerPool& pool,
                     RequestLog& log, std::function<void()> damaged)
    : mContext(context),
      mMapping(mapping),
      mPool(pool),
      mRequestLog(log),
      mDamaged(std::move(damaged)),
      mOwnNames(options.hosts),
      mNative(std::move(documents)),
      mCacheState(options.cachePath),
      mKeptAnswers(options.keptAnswersBytes)
{}

void Responder::open()
{
    (void)mCacheState.current();
}

void Responder::handle(httpd::Request request, const httpd::Reply& reply)
{
    const bool isGzip = wantsGzip(request.headers);
    const bool isKeepable = isOfCache(request);
    Arrived arrived{std::move(request), reply, isGzip};
    if (!isKeepable) {
        answer(std::move(arrived), {});
        return;
    }
    if (mArrived.empty()) {
        boost::asio::post(mContext, [this] { answerArrived(); });
    }
    mArrived.push_back(std::move(arrived));
}

// One question about the data cache serves all requests that have been read when it is asked: what
// was committed before one of them was sent, the answer to the question tells.
void Responder::answerArrived()
{
    std::vector<Arrived> all = std::exchange(mArrived, {});
    const std::optional<uint64_t> state = cacheState();
    for (Arrived& arrived : all) {
        try {
            Keeping keeping{keptKeyOf(arrived.request.target, arrived.wantsGzip), state};
            answer(std::move(arrived), keeping);
        } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): its connection has ended
        }
    }
}

void Responder::answer(Arrived arrived, const Keeping& keeping)
{
    const auto& [request, reply, isGzip] = arrived;
    const httpd::Response* kept = keptAnswer(keeping);
    // The same target was a worker's before, so that only names are left to look at.
    const bool isWorkers = kept != nullptr && keeping.key.ends_with(request.target);
    if (auto own = isWorkers ? mOwnNames.refusalOf(request) : answerByFront(request)) {
        reply(finalOf(std::move(*own), request.headers));
    } else if (kept != nullptr) {
        reply(finalOf(*kept, request.headers));
    } else if (!mQuarantine.admits(watchedName(request), std::chrono::steady_clock::now())) {
        reply(finalOf(closedTarget(), request.headers));
    } else {
        askWorker(std::move(arrived), keeping);
    }
}

void Responder::askWorker(Arrived arrived, const Keeping& keeping)
{
    const std::string watched = watchedName(arrived.request);
    // A POST is an action, or asks the object manager whether there is such an instance.
    const bool isAction = isPost(arrived.request);
    // Actions are done whatever the client has.
    std::vector<httpd::Header> headers =
        isAction ? std::vector<httpd::Header>() : std::move(arrived.request.headers);
    // The share of the clients' memory is held as long as the request is.
    auto done = [this, watched, isAction, reply = arrived.reply, keeping,
                 headers = std::move(headers),
                 memory = arrived.request.memory](Outcome outcome, httpd::Response answered) {
        noteOutcome(watched, outcome, isAction);
        keep(keeping, answered);
        reply(finalOf(answerTo(outcome, std::move(answered)), headers));
    };
    const std::shared_ptr<const httpd::Client> client = arrived.request.client;
    const UriKind kind = mMapping.kindOf(arrived.request.target);
    const bool needsCim = isAction || kind == UriKind::LiveRead || kind == UriKind::ComposedLive;
    submit({workerRequest(std::move(arrived.request), isComposed(kind), arrived.wantsGzip),
            std::move(done), needsCim, client->share(), [client] { return client->hasGone(); },
            keeping.key},
           watched);
}

// What has been admitted ends with an outcome, or is withdrawn.
void Responder::submit(Task task, const std::string& watched)
{
    try {
        mPool.submit(std::move(task));
    } catch (const std::bad_alloc&) {
        mQuarantine.withdrawn(watched);
        mDamaged();
        throw;
    }
}

void Responder::handleQueue(const std::string& text, const QueueFrontEnd::Reply& reply)
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
std::optional<httpd::Response> Responder::answerByFront(const httpd::Request& request) const
{
    std::optional<httpd::Response> response = mOwnNames.refusalOf(request);
    if (!response) {
        response = mNative.answerTo(request);
    }
    if (const UriKind kind = mMapping.kindOf(request.target); !response && isComposed(kind)) {
        response = answerOfProtocol(request, kind);
    }
    return response ? response : refusalOf(request);
}

// Memory that is short costs what is kept, not the requests that wait.
std::optional<uint64_t> Responder::cacheState()
{
    try {
        return mCacheState.current();
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

// Only what is read from the data cache has a state to be kept by.
bool Responder::isOfCache(const httpd::Request& request) const
{
    if (!mKeptAnswers.isOn() || (request.method != "GET" && request.method != "HEAD")) {
        return false;
    }
    const UriKind kind = mMapping.kindOf(request.target);
    return kind == UriKind::CachedRead || kind == UriKind::ComposedCached ||
           (kind == UriKind::Document && request.target.find('?') != std::string::npos);
}

// The state before the worker began is the one now: what it has read is of this state.
void Responder::keep(const Keeping& keeping, httpd::Response& response)
{
    if (!keeping.state || !response.mayBeKept || response.status != httpd::kOk) {
        return;
    }
    try {
        const auto now = std::chrono::steady_clock::now();
        if (mKeptAnswers.isAskedAgain(keeping.key, now) && cacheState() == keeping.state) {
            response.sharedBody = std::make_shared<const std::string>(std::move(response.body));
            mKeptAnswers.keep(keeping.key, *keeping.state, response);
        }
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): the client has its answer
    }
}

// Null where there is none.
const httpd::Response* Responder::keptAnswer(const Keeping& keeping)
{
    return keeping.state ? mKeptAnswers.find(keeping.key, *keeping.state) : nullptr;
}

// An action that is slow has not failed: only what ends a worker by itself counts.
void Responder::noteOutcome(const std::string& watched, Outcome outcome, bool isAction)
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

std::optional<httpd::Response> Responder::answerToHead(const httpd::Request& request) const
{
    std::optional<httpd::Response> response = answerByFront(request);
    if (response) {
        addCommonHeaders(*response);
    }
    return response;
}

httpd::Response answerToUnreadable(unsigned int status)
{
    httpd::Response response = unreadable(status);
    addCommonHeaders(response);
    return response;
}

} // namespace host
