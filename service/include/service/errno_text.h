// What the last system call complained of, for people.
#ifndef SERVICE_ERRNO_TEXT_H_
#define SERVICE_ERRNO_TEXT_H_

#include <cerrno>
#include <string>
#include <system_error>

namespace service {

inline std::string errnoText()
{
    return std::generic_category().message(errno);
}

} // namespace service

#endif
