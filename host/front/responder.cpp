#include "front/responder.h"

#include "error_body.h"
#include "front/content_coding.h"
#include "front/protocol.h"
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
      mKeptAnswers(options.keptAnswersBytes),
      mPatience(context),
      mMaxPatience(std::chrono::milliseconds(std::chrono::seconds(options.requestTimeoutS)) / 2)
{}

void Responder::open()
{
    (void)mCacheState.current();
}

void Responder::handle(httpd::Request request, httpd::Reply reply)
{
    Arrived arrived{std::move(request), std::move(reply)};
    if (mNative.isAwaited(arrived.request.target)) {
        awaitSchemas(std::move(arrived));
        return;
    }
    if (!mayBeKept(arrived.request) || !isAskedByOthersToo(arrived.request.client.get())) {
        Question question;
        answer(arrived, question);
        return;
    }
    if (mArrived.empty()) {
        boost::asio::post(mContext, [this] { answerArrived(); });
    }
    mArrived.push_back(std::move(arrived));
}

// One that memory is short for loses its connection; the others do not.
template <typename Serve>
void Responder::serveEach(std::vector<Arrived>& requests, Serve serve)
{
    for (Arrived& arrived : requests) {
        try {
            serve(arrived);
        } catch (const std::bad_alloc&) {
            mDamaged();
        }
    }
}

// For as long as others wait for a worker: what makes the schemas may be stuck.
void Responder::awaitSchemas(Arrived arrived)
{
    if (mAwaiting.empty()) {
        mPatience.expires_after(mMaxPatience);
        mPatience.async_wait([this](boost::system::error_code error) {
            if (!error) {
                refuseAwaiting();
            }
        });
    }
    mAwaiting.push_back(std::move(arrived));
}

void Responder::refuseAwaiting()
{
    std::vector<Arrived> refused = std::exchange(mAwaiting, {});
    serveEach(refused, [](const Arrived& arrived) {
        httpd::Response response = temporarilyUnavailable(kRetryAfterS);
        response.remark = "the schemas of the mapping file are not made yet";
        arrived.reply(finalOf(std::move(response), arrived.request.headers));
    });
}

void Responder::addSchemas(native::Documents schemas)
{
    mPatience.cancel();
    mNative.addSchemas(std::move(schemas));
    std::vector<Arrived> served = std::exchange(mAwaiting, {});
    serveEach(served, [this](Arrived& arrived) {
        handle(std::move(arrived.request), std::move(arrived.reply));
    });
}

// Whether a question about the data cache may serve others: who has asked last too, and nobody
// since, is alone.
bool Responder::isAskedByOthersToo(const httpd::Client* client)
{
    return std::exchange(mLastClient, client) != client || !mArrived.empty();
}

void Responder::answerArrived()
{
    mAnswering.swap(mArrived);
    Question question;
    serveEach(mAnswering, [&](Arrived& arrived) { answer(arrived, question); });
    mAnswering.clear();
}

void Responder::answer(Arrived& arrived, Question& question)
{
    const auto& [request, reply] = arrived;
    const std::string_view key =
        mayBeKept(request) ? keptKeyOf(request.target, wantsGzip(request.headers), mKeyRoom) : "";
    const ReadyAnswer* kept = keptAnswer(key, question);
    // The same target was a worker's before, so that it is not looked at again.
    const bool isWorkers = kept != nullptr && key.ends_with(request.target);
    std::optional<UriKind> kind;
    if (auto own = isWorkers ? refusalOfKept(request) : answerByFront(request, kind)) {
        reply(finalOf(std::move(*own), request.headers));
    } else if (kept != nullptr) {
        mKeptAnswers.noteGiven();
        reply(kept->finalFor(request.headers));
    } else if (!mQuarantine.admits(watchedName(request), std::chrono::steady_clock::now())) {
        reply(finalOf(closedTarget(), request.headers));
    } else {
        const UriKind expected = expectedKind(kind);
        askWorker(arrived, keepingOf(key, expected, question), expected);
    }
}

void Responder::askWorker(Arrived& arrived, Keeping keeping, UriKind kind)
{
    auto& [request, reply] = arrived;
    const std::string watched = watchedName(request);
    const bool isAction = isPost(request);
    // A POST is an action, or asks the object manager whether there is such an instance.
    const bool needsCim = isAction || kind == UriKind::LiveRead || kind == UriKind::ComposedLive;
    const bool isGzip = wantsGzip(request.headers);
    const std::string sharedKey = keeping.key;
    // Actions are done whatever the client has.
    std::vector<httpd::Header> headers =
        isAction ? std::vector<httpd::Header>() : std::move(request.headers);
    // The share of the clients' memory is held as long as the request is.
    auto done = [this, watched, isAction, reply = std::move(reply), keeping = std::move(keeping),
                 headers = std::move(headers),
                 memory = request.memory](Outcome outcome, httpd::Response answered) {
        noteOutcome(watched, outcome, isAction);
        keep(keeping, answered);
        reply(finalOf(answerTo(outcome, std::move(answered)), headers));
    };
    const std::shared_ptr<const httpd::Client> client = request.client;
    submit({workerRequest(std::move(request), isComposed(kind), isGzip), std::move(done), needsCim,
            client->share(), [client] { return client->hasGone(); }, sharedKey},
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

// What the mapping has no say in: refusals, and the service's own resources. kind becomes what the
// mapping knows of a target that is neither.
std::optional<httpd::Response> Responder::answerByFront(const httpd::Request& request,
                                                        std::optional<UriKind>& kind) const
{
    std::optional<httpd::Response> response = mOwnNames.refusalOf(request);
    if (!response) {
        response = mNative.answerTo(request);
    }
    if (response) {
        return response;
    }
    kind = mMapping.knownKindOf(request.target);
    return refusalOf(request, kind);
}

// What a target that a worker has answered for leaves to be refused.
std::optional<httpd::Response> Responder::refusalOfKept(const httpd::Request& request) const
{
    std::optional<httpd::Response> response = mOwnNames.refusalOf(request);
    return response ? std::move(response) : refusalOfHeaders(request, kJson);
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

std::optional<uint64_t> Responder::stateBy(Question& question)
{
    if (!question.isAsked) {
        question = {true, cacheState()};
    }
    return question.state;
}

// As far as a request tells without being looked up.
bool Responder::mayBeKept(const httpd::Request& request) const
{
    return mKeptAnswers.isOn() && isRead(request);
}

// Null where there is none of the state that the cache is in.
const ReadyAnswer* Responder::keptAnswer(std::string_view key, Question& question)
{
    const ReadyAnswer* kept = key.empty() ? nullptr : mKeptAnswers.find(key);
    const std::optional<uint64_t> state = kept == nullptr ? std::nullopt : stateBy(question);
    if (state && !mKeptAnswers.areOf(*state)) {
        mKeptAnswers.enter(*state, std::chrono::steady_clock::now());
        return nullptr;
    }
    return state ? kept : nullptr;
}

// Only what is read from the data cache has a state to be kept by.
Responder::Keeping Responder::keepingOf(std::string_view key, UriKind kind, Question& question)
{
    const bool isOfCache =
        kind == UriKind::CachedRead || kind == UriKind::ComposedCached || kind == UriKind::Document;
    if (key.empty() || !isOfCache) {
        return {};
    }
    const std::optional<uint64_t> state = stateBy(question);
    if (state) {
        mKeptAnswers.noteMissing();
    }
    return {std::string(key), state};
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
            mKeptAnswers.enter(*keeping.state, now);
            mKeptAnswers.keep(keeping.key, readyAnswerOf(response));
        }
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): the client has its answer
    }
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
    std::optional<UriKind> kind;
    std::optional<httpd::Response> response = answerByFront(request, kind);
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
