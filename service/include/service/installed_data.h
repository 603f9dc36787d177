// Files that have been installed with the programs.
#ifndef SERVICE_INSTALLED_DATA_H_
#define SERVICE_INSTALLED_DATA_H_

#include <optional>
#include <string>

namespace service {

// The path of a file, wherever this program has been installed: the library looks at fixed paths
// only. Nothing where it is not there.
std::optional<std::string> installedData(const char* name);

} // namespace service

#endif
