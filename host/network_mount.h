// Whether a file lies on another machine: whoever asks for it there may wait for ever.
#ifndef HOST_NETWORK_MOUNT_H_
#define HOST_NETWORK_MOUNT_H_

#include <string>

namespace host {

// The name of the network file system that has this number (statfs(2), f_type); "" of another one.
std::string networkFileSystem(long type);

// That of the file at path, or, where there is none yet, of its directory.
std::string networkFileSystemOf(const std::string& path);

} // namespace host

#endif
