// What the spawner has for the front is a file in memory: a packet may not have room for it.
#ifndef HOST_SPAWNER_MEMORY_FILE_H_
#define HOST_SPAWNER_MEMORY_FILE_H_

#include <service/file_descriptor.h>

#include <optional>
#include <string>

namespace host {

// A file with the text; not open when there is no memory for it.
service::FileDescriptor writeMemoryFile(const char* name, const std::string& text);

// Reads such a file from its beginning; nothing where that fails.
std::optional<std::string> readMemoryFile(const service::FileDescriptor& file);

} // namespace host

#endif
