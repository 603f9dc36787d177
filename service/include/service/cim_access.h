// How the CIM object manager is reached, as the command line says.
#ifndef SERVICE_CIM_ACCESS_H_
#define SERVICE_CIM_ACCESS_H_

#include <cli/command_line.h>

#include <string>
#include <vector>

namespace service {

struct CimAccess
{
    std::string url;          // empty for the local object manager
    std::string user;         // empty: nothing is said of who asks
    std::string passwordFile; // belongs to the user
    std::string caFile;       // PEM; empty for the system's authorities
};

// The longest password.
inline constexpr size_t kMaxPasswordBytes = 1024;

// The options that say so: --cim, what the object manager is asked for, and who asks.
std::vector<cli::Option> cimOptions(CimAccess& access, const std::string& purpose);

// Makes this process, and those that it forks, reach the object manager so. Reads the password, of
// which nothing is kept elsewhere. To be called before there are threads and before anything
// connects. Returns false with the cause in problem.
bool prepareCim(const CimAccess& access, std::string& problem);

} // namespace service

#endif
