// What the last system call complained of, for people.
#ifndef HOST_ERRNO_TEXT_H_
#define HOST_ERRNO_TEXT_H_

#include <cerrno>
#include <string>
#include <system_error>

namespace host {

inline std::string errnoText()
{
    return std::generic_category().message(errno);
}

} // namespace host

#endif
