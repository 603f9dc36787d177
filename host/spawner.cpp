#include "spawner.h"

#include "control.h"
#include "log.h"
#include "worker.h"

#include <ResourceMapper.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <set>
#include <system_error>

namespace host {

namespace {

std::string errorText()
{
    return std::generic_category().message(errno);
}

// Loads the mapping file without answering a request; "" when that worked.
std::string loadMapping()
{
    odata::Scope scope = odata::Scope::New();
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(nullptr, scope, uri, false);
    // No entry has an empty name: looking one up only loads the file.
    switch (mapper.checkResource("", true)) {
    case RM_RMF_NOT_PRESENT:
        return "cannot read the mapping file " + ResourceMapper::RmfPath +
               ": name a readable file with --rmf";
    case RM_MALFORMED_JSON:
        return "the mapping file " + ResourceMapper::RmfPath +
               " is not a JSON object: correct it or name another one with --rmf";
    default:
        return {};
    }
}

// The spawner's side of the control socket, and the workers it has to answer for.
class SpawnerProcess
{
public:
    explicit SpawnerProcess(FileDescriptor control) : mControl(std::move(control)) {}

    [[noreturn]] void run();

private:
    void serve();
    void spawn();
    void kill(pid_t pid);
    void reap(int options);
    void endWorkers();

    FileDescriptor mControl;
    FileDescriptor mChildSignals;
    std::set<pid_t> mWorkers; // not yet reaped, so that their pids are still theirs
};

void SpawnerProcess::run()
{
    (void)prctl(PR_SET_NAME, "cimgated-spawn");
    // Ctrl-C, or a supervisor, may signal the whole group: the front decides when the others end.
    (void)std::signal(SIGINT, SIG_IGN);
    (void)std::signal(SIGTERM, SIG_IGN);
    (void)std::signal(SIGPIPE, SIG_IGN);
    ControlMessage loaded;
    loaded.text = loadMapping();
    loaded.kind = loaded.text.empty() ? ControlKind::Loaded : ControlKind::Failed;
    if (sendControl(mControl.get(), loaded) && loaded.kind == ControlKind::Loaded) {
        serve();
        endWorkers();
    }
    std::exit(EXIT_SUCCESS); // NOLINT(concurrency-mt-unsafe): the process has one thread
}

void SpawnerProcess::serve()
{
    sigset_t childSignal;
    sigemptyset(&childSignal);
    sigaddset(&childSignal, SIGCHLD);
    (void)sigprocmask(SIG_BLOCK, &childSignal, nullptr);
    mChildSignals = FileDescriptor(signalfd(-1, &childSignal, SFD_CLOEXEC | SFD_NONBLOCK));
    while (true) {
        pollfd waits[] = {{mControl.get(), POLLIN, 0}, {mChildSignals.get(), POLLIN, 0}};
        if (poll(waits, 2, -1) < 0) {
            continue;
        }
        if (waits[1].revents != 0) {
            signalfd_siginfo info{};
            (void)!read(mChildSignals.get(), &info, sizeof info);
            reap(WNOHANG);
        }
        if (waits[0].revents == 0) {
            continue;
        }
        ControlMessage message;
        if (receiveControl(mControl.get(), message) != Received::Message) {
            return;
        }
        if (message.kind == ControlKind::Spawn) {
            spawn();
        } else if (message.kind == ControlKind::Kill) {
            kill(message.pid);
        }
    }
}

void SpawnerProcess::spawn()
{
    int ends[2] = {-1, -1};
    const bool havePair = socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0;
    FileDescriptor front(ends[0]);
    FileDescriptor worker(ends[1]);
    const pid_t pid = havePair ? fork() : -1;
    if (pid == 0) {
        (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
        sigset_t none;
        sigemptyset(&none);
        (void)sigprocmask(SIG_SETMASK, &none, nullptr);
        front.reset();
        mControl.reset();
        mChildSignals.reset();
        runWorker(std::move(worker));
    }
    ControlMessage answer;
    if (pid < 0) {
        answer.kind = ControlKind::NoWorker;
        answer.text = errorText();
    } else {
        mWorkers.insert(pid);
        answer.kind = ControlKind::Worker;
        answer.pid = pid;
        answer.socket = std::move(front);
    }
    (void)sendControl(mControl.get(), answer); // a front that is gone shows at the next receive
}

void SpawnerProcess::kill(pid_t pid)
{
    if (mWorkers.count(pid) != 0) {
        (void)::kill(pid, SIGKILL);
    }
}

void SpawnerProcess::reap(int options)
{
    int status = 0;
    for (pid_t pid = waitpid(-1, &status, options); pid > 0; pid = waitpid(-1, &status, options)) {
        mWorkers.erase(pid);
        if (WIFSIGNALED(status)) {
            log(Severity::Error, "worker " + std::to_string(pid) + " ended by signal " +
                                     std::to_string(WTERMSIG(status)));
        } else if (WEXITSTATUS(status) != 0) {
            log(Severity::Error, "worker " + std::to_string(pid) + " ended with status " +
                                     std::to_string(WEXITSTATUS(status)));
        }
    }
}

void SpawnerProcess::endWorkers()
{
    for (const pid_t pid : mWorkers) {
        (void)::kill(pid, SIGKILL);
    }
    while (waitpid(-1, nullptr, 0) > 0 || errno == EINTR) {
    }
}

} // namespace

bool startSpawner(Spawner& spawner, std::string& problem)
{
    int ends[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        problem = "cannot make a socket pair: " + errorText();
        return false;
    }
    FileDescriptor front(ends[0]);
    FileDescriptor control(ends[1]);
    const pid_t parent = getpid();
    spawner.pid = fork();
    if (spawner.pid < 0) {
        problem = "cannot fork: " + errorText();
        return false;
    }
    if (spawner.pid == 0) {
        (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) {
            _exit(EXIT_FAILURE); // the front ended before it could be watched
        }
        front.reset();
        SpawnerProcess(std::move(control)).run();
    }
    control.reset();
    spawner.control = std::move(front);
    ControlMessage message;
    if (receiveControl(spawner.control.get(), message) != Received::Message) {
        problem = "the spawner ended while it loaded the mapping file " + ResourceMapper::RmfPath;
        return false;
    }
    problem = message.text;
    return message.kind == ControlKind::Loaded;
}

void awaitSpawner(Spawner& spawner)
{
    spawner.control.reset();
    while (waitpid(spawner.pid, nullptr, 0) < 0 && errno == EINTR) {
    }
}

} // namespace host
