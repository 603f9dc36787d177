#include "spawner/spawner.h"

#include "cache_file.h"
#include "check/at_start.h"
#include "check/mapping_text.h"
#include "host_limits.h"
#include "library_quiet.h"
#include "log.h"
#include "log_filter.h"
#include "network_mount.h"
#include "process_name.h"
#include "queue/process.h"
#include "spawner/memory_file.h"
#include "spawner/summary_file.h"
#include "wire/control.h"
#include "worker/data_cache.h"
#include "worker/worker.h"

#include <ResourceMapper.h>
#include <fcntl.h>
#include <httpd/freed_memory.h>
#include <poll.h>
#include <service/errno_text.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>

namespace host {

namespace {

// Loads the mapping file without answering a request; "" when that worked.
std::string problemOfMapping()
{
    odata::Scope scope = odata::Scope::New();
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(nullptr, scope, uri, false);
    // No entry has an empty name: looking one up only loads the file.
    const _ResourceMapperError code = mapper.checkResource("", true);
    if (code != RM_RMF_NOT_PRESENT && code != RM_MALFORMED_JSON) {
        return {};
    }
    const std::string& path = ResourceMapper::RmfPath;
    if (!check::readFile(path)) {
        return "cannot read the mapping file " + path + ": " + service::errnoText() +
               "; name a readable file with --rmf";
    }
    return "the mapping file " + path + " is not a JSON object: " + check::jsonProblemOf(path) +
           "; correct it or name another one with --rmf";
}

// A data cache that is not there yet comes with its writer, which may start later. One that cannot
// be opened is the operator's to mend; what one lacks costs only those who read it.
std::string problemOfCache()
{
    const std::string& path = SQLInterface::DataCachePath;
    const std::string network = networkFileSystemOf(path);
    if (!network.empty()) {
        return "the data cache " + path + " lies on a network file system (" + network +
               "), for which the service might wait for ever; name a local file with --cache";
    }
    const std::string cause = problemOfCacheFile(path);
    return cause.empty() || cause == kCacheIsMissing
               ? ""
               : "cannot open the data cache " + path + ": " + cause +
                     "; mend it or name another file with --cache";
}

// Reads the service file, if there is one; "" when that worked.
std::string problemOfServiceFile(const std::string& path, Json::Value& file)
{
    if (path.empty()) {
        return {};
    }
    const std::optional<std::string> text = check::readFile(path);
    if (!text) {
        return "cannot read the service file " + path + ": " + service::errnoText() +
               "; name a readable file with --service";
    }
    const std::string problem = check::jsonProblemOf(path);
    if (!problem.empty()) {
        return "the service file " + path + " is not a JSON object: " + problem +
               "; correct it or name another one with --service";
    }
    (void)check::MappingText(*text).parse(file);
    return {};
}

// What the front is told of the mapping that is loaded, and of the service file.
ControlMessage summarize(const service_file::ServiceFile& file)
{
    MappingSummary summary = summaryOf(ResourceMapper::RmfObj);
    addServiceFile(summary, file);
    ControlMessage outcome;
    outcome.text = summary.usesCache ? problemOfCache() : "";
    if (outcome.text.empty()) {
        outcome.descriptor = writeSummary(summary);
        if (!outcome.descriptor.isOpen()) {
            outcome.text =
                "cannot pass on the summary of the mapping file: " + service::errnoText();
        }
    }
    return outcome;
}

ControlMessage madeOf(const native::Documents& documents)
{
    ControlMessage made;
    made.kind = ControlKind::Made;
    made.descriptor = writeMemoryFile("resources", native::encodeDocuments(documents));
    if (!made.descriptor.isOpen()) {
        made.kind = ControlKind::Failed;
        made.text = "cannot pass on the service's own resources: " + service::errnoText();
    }
    return made;
}

// The service's own resources, which the mapping is part of.
ControlMessage makeResources(const native::Service& service,
                             service_file::ServiceResources& resources)
{
    const LibraryIsQuiet quiet;
    const native::Documents documents =
        native::documentsOf(ResourceMapper::RmfObj, service, resources.file);
    for (const auto& [uri, document] : documents) {
        if (document.isResource && !resources.file.resources.contains(uri)) {
            resources.constants.emplace(uri, document.body);
        }
    }
    return madeOf(documents);
}

struct Child
{
    pid_t pid = -1;
    const char* name = "";          // in the log
    std::unique_ptr<WorkNote> note; // what it is at
};

// What it was at, for the line that tells of its end.
std::string workOf(const Child& child)
{
    const std::string text = child.note->text();
    return text.empty() ? "" : " at " + text;
}

// status is as waitpid() gives it.
void logEnd(const Child& child, int status)
{
    const std::string end = WIFSIGNALED(status)
                                ? " ended by signal " + std::to_string(WTERMSIG(status))
                                : " ended with status " + std::to_string(WEXITSTATUS(status));
    const std::string name(child.name);
    log(Severity::Error, name + std::to_string(child.pid) + end + workOf(child),
        name + "..." + end);
}

// What it runs, in a process that was forked for it.
[[noreturn]] void runChild(const ControlMessage& request, service::FileDescriptor socket,
                           WorkNote& note, CacheNotice& cacheNotice,
                           const service_file::ServiceResources& resources, bool isVerbatim)
{
    if (request.kind == ControlKind::SpawnQueueProcess) {
        runQueueProcess(std::move(socket), request.text);
    }
    runWorker(std::move(socket), note, cacheNotice, resources, isVerbatim);
}

// In a process that was forked for it: the vendor's schemas, which go to the front.
[[noreturn]] void makeSchemas(int socket)
{
    nameProcess(ProcessKind::Schemas);
    const LibraryIsQuiet quiet;
    (void)!nice(kCheckNiceness); // whoever wants one of them can wait, the start cannot
    const bool isSent = sendControl(socket, madeOf(native::schemasOf(ResourceMapper::RmfObj)));
    _exit(isSent ? EXIT_SUCCESS : EXIT_FAILURE);
}

// The spawner's side of the control socket, and the processes it has to answer for.
class SpawnerProcess
{
public:
    // checking and schemas are the other ends of those of Spawner.
    SpawnerProcess(service::FileDescriptor control, service::FileDescriptor checking,
                   service::FileDescriptor schemas, bool isVerbatim)
        : mControl(std::move(control)),
          mChecking(std::move(checking)),
          mSchemas(std::move(schemas)),
          mIsVerbatim(isVerbatim)
    {}

    // problem is why it cannot; "" for none.
    [[noreturn]] void run(const std::string& problem, const native::Service& service);

private:
    ControlMessage load(const std::string& problem, const std::string& servicePath);
    void startCheck(const std::string& servicePath, const Json::Value& file);
    void startSchemas();
    void serve();
    void childrenEnded();
    void spawn(const ControlMessage& request);
    pid_t forkChild();
    void kill(uint32_t id);
    void reap(int options);
    void endChildren();

    service::FileDescriptor mControl;
    service::FileDescriptor mChecking; // until the check has been reaped
    service::FileDescriptor mSchemas;  // until their maker has been forked
    bool mIsVerbatim;
    pid_t mCheck = -1;
    service::FileDescriptor mChildSignals;
    CacheNotice mCacheNotice; // of all workers
    service_file::ServiceResources mResources;
    std::map<uint32_t, Child> mChildren; // not yet reaped, so that their pids are still theirs
    uint32_t mLastId = 0;
};

void SpawnerProcess::run(const std::string& problem, const native::Service& service)
{
    nameProcess(ProcessKind::Spawner);
    // A terminal or a supervisor may signal the whole group: the front decides when the others end.
    (void)std::signal(SIGINT, SIG_IGN);
    (void)std::signal(SIGTERM, SIG_IGN);
    (void)std::signal(SIGHUP, SIG_IGN);
    (void)std::signal(SIGPIPE, SIG_IGN);
    const ControlMessage outcome = load(problem, service.filePath);
    if (sendControl(mControl.get(), outcome) && outcome.kind == ControlKind::Loaded &&
        sendControl(mControl.get(), makeResources(service, mResources))) {
        httpd::returnFreedMemory(); // what that has taken would be part of every worker
        serve();
    }
    endChildren();
    tellAllRepeats();
    std::exit(EXIT_SUCCESS); // NOLINT(concurrency-mt-unsafe): the process has one thread
}

ControlMessage SpawnerProcess::load(const std::string& problem, const std::string& servicePath)
{
    ControlMessage outcome;
    Json::Value file(Json::objectValue);
    outcome.text = problem.empty() ? problemOfMapping() : problem;
    if (outcome.text.empty()) {
        outcome.text = problemOfServiceFile(servicePath, file);
    }
    if (outcome.text.empty()) {
        startCheck(servicePath, file); // it shares what was loaded
        startSchemas();
        const LibraryIsQuiet quiet; // the check tells
        mResources.file = service_file::readServiceFile(file, ResourceMapper::RmfObj);
        outcome = summarize(mResources.file);
    }
    outcome.kind = outcome.text.empty() ? ControlKind::Loaded : ControlKind::Failed;
    return outcome;
}

void SpawnerProcess::startCheck(const std::string& servicePath, const Json::Value& file)
{
    auto note = std::make_unique<WorkNote>();
    note->write("mapping file and data cache");
    mCheck = forkChild();
    if (mCheck == 0) {
        mSchemas.reset();
        check::runAtStart(mChecking.get(), servicePath, file);
    }
    if (mCheck > 0) {
        mChildren[++mLastId] = {mCheck, "check ", std::move(note)};
    } else {
        mChecking.reset();
    }
}

// Beside the start, which would take twice as long with it.
void SpawnerProcess::startSchemas()
{
    auto note = std::make_unique<WorkNote>();
    note->write("schemas of the mapping file");
    const pid_t pid = forkChild();
    if (pid == 0) {
        mChecking.reset();
        makeSchemas(mSchemas.get());
    }
    if (pid > 0) {
        mChildren[++mLastId] = {pid, "maker of schemas ", std::move(note)};
    }
    mSchemas.reset();
}

void SpawnerProcess::serve()
{
    sigset_t childSignal;
    sigemptyset(&childSignal);
    sigaddset(&childSignal, SIGCHLD);
    (void)pthread_sigmask(SIG_BLOCK, &childSignal, nullptr);
    mChildSignals = service::FileDescriptor(signalfd(-1, &childSignal, SFD_CLOEXEC | SFD_NONBLOCK));
    reap(WNOHANG); // a check that is over already
    while (true) {
        pollfd waits[] = {{mControl.get(), POLLIN, 0}, {mChildSignals.get(), POLLIN, 0}};
        const int ready = poll(waits, 2, msUntilRepeats());
        if (ready <= 0) {
            tellRepeats();
            continue;
        }
        if (waits[1].revents != 0) {
            childrenEnded();
        }
        if (waits[0].revents == 0) {
            continue;
        }
        ControlMessage message;
        if (receiveControl(mControl.get(), message) != Received::Message) {
            return;
        }
        if (message.kind == ControlKind::Kill) {
            kill(message.id);
        } else {
            spawn(message);
        }
    }
}

void SpawnerProcess::childrenEnded()
{
    signalfd_siginfo info{};
    (void)!read(mChildSignals.get(), &info, sizeof info);
    reap(WNOHANG);
}

void SpawnerProcess::spawn(const ControlMessage& request)
{
    int ends[2] = {-1, -1};
    const bool havePair = socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0;
    service::FileDescriptor front(ends[0]);
    service::FileDescriptor child(ends[1]);
    auto note = std::make_unique<WorkNote>();
    const pid_t pid = havePair ? forkChild() : -1;
    if (pid == 0) {
        front.reset();
        mChecking.reset();
        runChild(request, std::move(child), *note, mCacheNotice, mResources, mIsVerbatim);
    }
    ControlMessage answer;
    if (pid < 0) {
        answer.kind = ControlKind::NotForked;
        answer.text = service::errnoText();
    } else {
        const bool isWorker = request.kind == ControlKind::SpawnWorker;
        mChildren[++mLastId] = {pid, isWorker ? "worker " : "message-queue endpoint ",
                                std::move(note)};
        answer.kind = ControlKind::Forked;
        answer.id = mLastId;
        answer.pid = pid;
        answer.descriptor = std::move(front);
    }
    (void)sendControl(mControl.get(), answer); // a front that is gone shows at the next receive
}

// As fork(); the child has nothing of the others.
pid_t SpawnerProcess::forkChild()
{
    const pid_t self = getpid();
    const pid_t pid = fork();
    if (pid != 0) {
        return pid;
    }
    (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != self) {
        _exit(EXIT_FAILURE); // the spawner ended before it could be watched
    }
    sigset_t none;
    sigemptyset(&none);
    (void)pthread_sigmask(SIG_SETMASK, &none, nullptr);
    mControl.reset();
    mChildSignals.reset();
    mChildren.clear(); // with their notes
    return 0;
}

void SpawnerProcess::kill(uint32_t id)
{
    if (const auto child = mChildren.find(id); child != mChildren.end()) {
        (void)::kill(child->second.pid, SIGKILL);
    }
}

void SpawnerProcess::reap(int options)
{
    int status = 0;
    for (pid_t pid = waitpid(-1, &status, options); pid > 0; pid = waitpid(-1, &status, options)) {
        const auto ended =
            std::find_if(mChildren.begin(), mChildren.end(),
                         [pid](const auto& child) { return child.second.pid == pid; });
        if (ended == mChildren.end()) {
            continue;
        }
        if (status != 0) {
            logEnd(ended->second, status);
        }
        if (pid == mCheck) {
            mChecking.reset();
        }
        mChildren.erase(ended);
    }
}

// The front has closed the children's sockets: most end by themselves.
void SpawnerProcess::endChildren()
{
    using std::chrono::steady_clock;
    const auto until = steady_clock::now() + kWorkerEndGrace;
    while (!mChildren.empty() && steady_clock::now() < until) {
        constexpr int kPollMs = 100;
        pollfd wait{mChildSignals.get(), POLLIN, 0};
        (void)poll(&wait, 1, kPollMs);
        childrenEnded();
    }
    for (const auto& [id, child] : mChildren) {
        (void)::kill(child.pid, SIGKILL);
    }
    reap(0);
}

// Waits for the next of what the spawner has to say at its start.
bool await(const Spawner& spawner, ControlKind kind, ControlMessage& message, std::string& problem)
{
    if (receiveControl(spawner.control.get(), message) != Received::Message) {
        problem = "the spawner ended while it loaded the mapping file " + ResourceMapper::RmfPath;
        return false;
    }
    problem = message.text;
    return message.kind == kind;
}

bool learnMapping(Spawner& spawner, std::string& problem)
{
    ControlMessage message;
    if (!await(spawner, ControlKind::Loaded, message, problem)) {
        return false;
    }
    if (!readSummary(message.descriptor, spawner.mapping)) {
        problem = "cannot read the summary of the mapping file: " + service::errnoText();
    }
    return problem.empty();
}

bool learnResources(Spawner& spawner, std::string& problem)
{
    ControlMessage message;
    if (!await(spawner, ControlKind::Made, message, problem)) {
        return false;
    }
    const std::optional<std::string> text = readMemoryFile(message.descriptor);
    if (!text || !native::decodeDocuments(*text, spawner.documents)) {
        problem = "cannot read the service's own resources: " + service::errnoText();
    }
    for (const auto& [uri, document] : spawner.documents) {
        if (document.isResource) {
            spawner.mapping.uris[uri].kind = UriKind::Document;
        }
    }
    return problem.empty();
}

} // namespace

bool startSpawner(Spawner& spawner, std::string& problem, const std::optional<User>& user,
                  const native::Service& service, bool isVerbatim)
{
    int ends[2] = {-1, -1};
    int checkEnds[2] = {-1, -1};
    int schemaEnds[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0 ||
        socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, schemaEnds) != 0 ||
        pipe2(checkEnds, O_CLOEXEC) != 0) {
        problem = "cannot make a socket pair or a pipe: " + service::errnoText();
        return false;
    }
    service::FileDescriptor front(ends[0]);
    service::FileDescriptor control(ends[1]);
    service::FileDescriptor checked(checkEnds[0]);
    service::FileDescriptor checking(checkEnds[1]);
    service::FileDescriptor schemas(schemaEnds[0]);
    service::FileDescriptor schemaMaker(schemaEnds[1]);
    const pid_t parent = getpid();
    spawner.pid = fork();
    if (spawner.pid < 0) {
        problem = "cannot fork: " + service::errnoText();
        return false;
    }
    if (spawner.pid == 0) {
        front.reset();
        checked.reset();
        schemas.reset();
        (void)giveUpRights(user,
                           problem); // first: a process that becomes another user's is not watched
        (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) {
            _exit(EXIT_FAILURE); // the front ended before it could be watched
        }
        SpawnerProcess(std::move(control), std::move(checking), std::move(schemaMaker), isVerbatim)
            .run(problem, service);
    }
    control.reset();
    checking.reset();
    schemaMaker.reset();
    spawner.control = std::move(front);
    spawner.checked = std::move(checked);
    spawner.schemas = std::move(schemas);
    return learnMapping(spawner, problem) && learnResources(spawner, problem);
}

std::optional<native::Documents> receiveSchemas(const Spawner& spawner)
{
    ControlMessage message;
    if (receiveControl(spawner.schemas.get(), message) != Received::Message ||
        message.kind != ControlKind::Made) {
        return std::nullopt;
    }
    native::Documents documents;
    const std::optional<std::string> text = readMemoryFile(message.descriptor);
    return text && native::decodeDocuments(*text, documents) ? std::optional(std::move(documents))
                                                             : std::nullopt;
}

void awaitSpawner(Spawner& spawner)
{
    using std::chrono::steady_clock;
    spawner.control.reset();
    if (spawner.pid <= 0) {
        return;
    }
    const auto until = steady_clock::now() + kSpawnerEndGrace;
    while (waitpid(spawner.pid, nullptr, WNOHANG) == 0) {
        if (steady_clock::now() >= until) {
            (void)::kill(spawner.pid, SIGKILL); // its workers are killed with it
            (void)waitpid(spawner.pid, nullptr, 0);
            return;
        }
        constexpr int kPollMs = 5;
        (void)poll(nullptr, 0, kPollMs);
    }
}

} // namespace host
