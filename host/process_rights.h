// What a process of the service may do: no more than it needs, also where root has started it.
#ifndef HOST_PROCESS_RIGHTS_H_
#define HOST_PROCESS_RIGHTS_H_

#include <sys/types.h>

#include <optional>
#include <string>

namespace host {

struct User
{
    std::string name;
    uid_t uid;
    gid_t gid;
};

// The user of this name; nothing where there is none.
std::optional<User> findUser(const std::string& name);

// Becomes the user, where one is given, with his groups; gives up every capability, and the ways to
// get one back (the bounding set, programs that are set-uid); writes no core file. A process that
// had more rights than its user cannot be looked into any more either. Returns false with the cause
// in problem where it cannot become the user.
bool giveUpRights(const std::optional<User>& user, std::string& problem);

} // namespace host

#endif
