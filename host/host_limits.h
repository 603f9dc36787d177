// Every limit of the host beside those of HTTP (httpd/limits.h), with its reason.
#ifndef HOST_HOST_LIMITS_H_
#define HOST_HOST_LIMITS_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace host {

// ---- Requests ----

// Requests that may wait for a worker in each of the two queues: what a few clients send at once.
// More only wait to be late.
inline constexpr size_t kMaxWaiting = 128;

// Bodies of the requests that wait in a queue, altogether: plenty of actions, of which some may be
// as long as a body can be.
inline constexpr size_t kMaxWaitingBodyBytes = size_t{8} * 1024 * 1024;

// How often all that wait in a full queue are asked whether their clients have gone: each costs a
// system call or two, and a flood fills the queue anew all the time.
inline constexpr std::chrono::milliseconds kAskWhoHasGonePause{50};

// How deeply the JSON of a body may be nested: parameters of actions are values and arrays of them.
inline constexpr size_t kMaxJsonDepth = 32;

// When to come back to a service that is busy, in seconds; the library's own answer to a class that
// is still being cached is the same.
inline constexpr const char* kRetryAfterS = "5";

// Longest time a request may be given (--request-timeout).
inline constexpr unsigned int kMaxRequestTimeoutS = 3600;

// What clients may make the front hold (--client-memory): at the least one body of the largest size
// and the heads of some clients, at the most what a controller has.
inline constexpr size_t kMinClientMemoryBytes = size_t{4} * 1024 * 1024;
inline constexpr size_t kMaxClientMemoryBytes = size_t{1024} * 1024 * 1024;

// Pause before the front tries again to go on for which it has no memory at all.
inline constexpr std::chrono::milliseconds kMemoryRetry{10};

// ---- Composed resources ----

// Rows of each collection that a value is made of: of more, the value is not known.
inline constexpr size_t kMaxAggregatedRows = 1000;

// What "$expand" may put into one answer: resources, and JSON values in all of them, about 5 MB.
inline constexpr size_t kMaxExpandedResources = 256;
inline constexpr size_t kMaxExpandedValues = 100000;
inline constexpr unsigned int kMaxExpandLevels = 3;

// ---- Kept answers ----

// What they may take (--kept-answers): some hundred pages, or some thousand instances.
inline constexpr size_t kKeptAnswersBytes = size_t{8} * 1024 * 1024;
inline constexpr size_t kMaxKeptAnswersBytes = size_t{1024} * 1024 * 1024;

// No answer takes more than this part of them.
inline constexpr size_t kLargestKeptPart = 16;

// Of how many targets is known when they were asked for last, and within what time a second request
// has the answer kept: clients that poll come back within minutes.
inline constexpr size_t kRememberedTargets = 4096;
inline constexpr std::chrono::minutes kAskedAgainWindow{10};

// ---- Compressed answers ----

// From what size on answers are compressed: below it they fit into a packet anyway.
inline constexpr size_t kCompressedFromBytes = 1024;

// zlib's level. A page of 45 KB becomes 30 % of it in half of the time that reading it takes; level
// 6 makes 26 % in more than twice the time.
inline constexpr int kCompressionLevel = 1;

// ---- Workers ----

// Worker processes (--workers). The default is at least two, so that one request that takes long
// does not stop all others.
inline constexpr unsigned int kMaxWorkers = 64;
inline constexpr unsigned int kMinDefaultWorkers = 2;

// Address space of a worker, and of the process that holds the message-queue endpoint. A page of
// the largest collections takes a tenth; what needs more than this is a conversion that never ends,
// or a message that does not.
inline constexpr uint32_t kProcessMemoryBytes = 256U * 1024 * 1024;

// From what part of it on a worker is replaced between two requests: CIM clients that lose memory
// with each read would end it in the middle of one, which may be an action.
inline constexpr std::pair<uint32_t, uint32_t> kNearLimit{3, 4};

// How much nearer to their end workers and the queue's process are than the front, where the
// machine runs out of memory (oom_score_adj): each counts as half of all memory more than it has.
inline constexpr int kOomScoreAbove = 500;
inline constexpr int kMaxOomScore = 1000;

// How long a new worker may take to open the data cache. Opening reads nothing; this ends workers
// that hang, for example on a file that is a pipe.
inline constexpr std::chrono::seconds kReadyTimeout{30};

// Pause before a worker is replaced that ended without a request to blame, doubled each time: a
// cache that cannot be opened must not cost a process every millisecond.
inline constexpr std::chrono::milliseconds kFirstBackOff{100};
inline constexpr std::chrono::milliseconds kMaxBackOff{5000};

// The longest pause that requests wait out when no worker is left. After longer ones a worker is
// not likely to get ready: its clients are told to come back.
inline constexpr std::chrono::milliseconds kMaxWaitedBackOff{1000};

// ---- The message-queue endpoint ----

// Requests that are with the front at a time: enough for all workers, few enough that HTTP's
// requests find room in the queue. More wait in ZeroMQ.
inline constexpr size_t kMaxQueueRequestsAtOnce = 16;

// Requests of one client that ZeroMQ keeps; one that has sent more is not read from.
inline constexpr int kMaxUnreadQueueRequests = 16;

// Answers to one client that ZeroMQ keeps; it drops more. It learns that a client has taken some
// only once that is half of them, so that 500 may be on their way to one that takes them all.
inline constexpr int kMaxUnsentQueueAnswers = 1000;

// A request is a name and an id of 127 bytes; ZeroMQ closes the connection of a client that sends
// more than this.
inline constexpr int64_t kMaxQueueRequestBytes = int64_t{64} * 1024;

// Frames in front of a message's empty one, as the client sends them: numbers of its own, and one
// for each proxy.
inline constexpr ptrdiff_t kMaxQueueEnvelopeParts = 8;

// How often the front asks the queue's process whether it lives, and how many times in a row it may
// not answer: a machine may be busy for a moment.
inline constexpr std::chrono::seconds kQueueWatchPause{1};
inline constexpr int kMaxQueueSilence = 3;

// How long the queue's process waits for a lock on the socket's directory: far longer than another
// service holds it while it starts.
inline constexpr std::chrono::milliseconds kQueueLockTime{1000};

// How long the last answers may take to leave when the service stops.
inline constexpr int kQueueLingerMs = 500;

// ---- The log ----

// How long a line is not written again, but counted: an hour of the same fault is sixty lines.
inline constexpr std::chrono::seconds kRepeatWindow{60};

// Lines that are known again. A fault says a handful of things, about some requests.
inline constexpr size_t kRememberedLines = 64;

// Lines of one kind that all processes write together within the same time: enough to see at which
// URIs and entries something fails, and some kilobytes, however many clients ask for whatever fails
// a thousand times a second.
inline constexpr uint32_t kLinesOfAKind = 30;

// Kinds that are told apart. A mapping with faults has causes of a dozen kinds at a time.
inline constexpr size_t kLineKinds = 64;

// How much of a reason makes it a kind of its own: what the service says itself, without what is
// said of one request.
inline constexpr size_t kMaxCauseBytes = 48;

// The longest remark that a worker makes of an answer. It is most of a line that a pipe takes
// whole.
inline constexpr size_t kMaxRemarkBytes = 1024;

// How often the access log's path is looked at: whoever rotates it gets lines in the old file for
// no longer than this.
inline constexpr std::chrono::seconds kAccessLogLook{1};

// ---- Requests that end workers ----

// A target at which this many workers have ended in a row is answered without one for a while: each
// worker costs a fork, a request to the deadline costs a worker for that long, and clients that
// poll ask for ever. One answer clears its name.
inline constexpr unsigned int kMaxWorkerEnds = 3;
inline constexpr std::chrono::seconds kQuarantineTime{60};
inline constexpr const char* kQuarantineRetryAfterS = "60";

// Targets that are watched; the one that was noted first is forgotten for another one. More than a
// mapping with a fault has.
inline constexpr size_t kMaxWatchedTargets = 64;

// ---- Frames between the front and the processes that work for it ----

// The largest payload. An answer in the making exists several times over, as JSON values and as
// text, so that a worker's memory ends before this.
inline constexpr uint32_t kMaxFrameBytes = 32U * 1024 * 1024;

// An answer carries a handful of headers, the longest being "Link" with a few schema URIs; more
// means that the frame is damaged.
inline constexpr uint32_t kMaxAnswerHeaders = 64;
inline constexpr uint32_t kMaxHeaderTextBytes = 16U * 1024;

// The longest "Location" of a job: clients and what lies between take URIs of some thousand bytes.
// The job has started all the same.
inline constexpr size_t kMaxLocationBytes = 2048;

// ---- The check at the start ----

// Faults of mapping and cache that are logged, a line each. Who mends them reads all of them with
// --check; a mapping of another version must not fill the log at each start.
inline constexpr size_t kMaxFaultsTold = 20;

// Processor time that the check has before the service listens: a small mapping, such as the
// sample's, takes half of it. The check of a larger one goes on beside the requests, and makes way
// for them.
inline constexpr std::chrono::milliseconds kCheckHeadStart{20};
inline constexpr int kCheckNiceness = 10;

// How long listening waits for that at most: a file system may hang, or a writer have its lock.
inline constexpr std::chrono::milliseconds kMaxCheckWait{1000};

// How long the check may take altogether. It takes a fraction of a second of processor time for 500
// resources.
inline constexpr unsigned int kMaxCheckS = 60;

// ---- Stopping ----

// How long requests that are being answered may go on after SIGTERM.
inline constexpr std::chrono::seconds kStopGrace{5};

// How long workers may take to end by themselves when their sockets have closed, before they are
// killed.
inline constexpr std::chrono::seconds kWorkerEndGrace{2};

// How long the spawner may take for that. One that is stopped, or stuck, is killed then.
inline constexpr std::chrono::seconds kSpawnerEndGrace{4};

// Of a file of a message registry: those in use have up to a few hundred messages.
inline constexpr uintmax_t kMaxRegistryBytes = uintmax_t{2} * 1024 * 1024;

} // namespace host

#endif
