#include "process_rights.h"

#include <grp.h>
#include <linux/capability.h>
#include <pwd.h>
#include <service/errno_text.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>

namespace host {

namespace {

using Capabilities = std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3>;

bool hasCapabilities()
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    Capabilities held{};
    (void)syscall(SYS_capget, &header, held.data());
    return held[0].permitted != 0 || held[1].permitted != 0;
}

// What a program that is executed could get back. It takes a capability of its own, which whoever
// has no other one need not have.
void emptyBoundingSet()
{
    for (unsigned long capability = 0; prctl(PR_CAPBSET_READ, capability) >= 0; ++capability) {
        (void)prctl(PR_CAPBSET_DROP, capability);
    }
}

void giveUpCapabilities()
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    const Capabilities none{};
    (void)prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
    (void)syscall(SYS_capset, &header, none.data());
    (void)prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
}

bool isAlready(const User& user)
{
    return getuid() == user.uid && geteuid() == user.uid && getgid() == user.gid && geteuid() != 0;
}

bool become(const User& user)
{
    return isAlready(user) || (initgroups(user.name.c_str(), user.gid) == 0 &&
                               setresgid(user.gid, user.gid, user.gid) == 0 &&
                               setresuid(user.uid, user.uid, user.uid) == 0);
}

} // namespace

std::optional<User> findUser(const std::string& name)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the process has one thread
    const passwd* const found = getpwnam(name.c_str());
    return found == nullptr ? std::nullopt
                            : std::optional(User{found->pw_name, found->pw_uid, found->pw_gid});
}

bool giveUpRights(const std::optional<User>& user, std::string& problem)
{
    const bool wasPrivileged = hasCapabilities();
    emptyBoundingSet();
    if (user && !become(*user)) {
        problem = "cannot become the user " + user->name + ": " + service::errnoText() +
                  "; start as root, or as that user, or leave out --user";
        return false;
    }
    giveUpCapabilities();
    const rlimit noCore{0, 0};
    (void)setrlimit(RLIMIT_CORE, &noCore);
    if (wasPrivileged) {
        (void)prctl(PR_SET_DUMPABLE, 0);
    }
    return true;
}

} // namespace host
