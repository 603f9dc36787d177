// How the CIM object manager is reached, as the command line says.
#ifndef HOST_CIM_ACCESS_H_
#define HOST_CIM_ACCESS_H_

#include <string>

namespace host {

struct CimAccess
{
    std::string url;          // empty for the local object manager
    std::string user;         // empty: nothing is said of who asks
    std::string passwordFile; // belongs to the user
    std::string caFile;       // PEM; empty for the system's authorities
};

// Makes this process, and those that it forks, reach the object manager so. Reads the password, of
// which nothing is kept elsewhere. To be called before there are threads and before anything
// connects. Returns false with the cause in problem.
bool prepareCim(const CimAccess& access, std::string& problem);

} // namespace host

#endif
