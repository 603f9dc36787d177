#include "spawner/memory_file.h"

#include <sys/mman.h>
#include <sys/stat.h>

namespace host {

service::FileDescriptor writeMemoryFile(const char* name, const std::string& text)
{
    service::FileDescriptor file(memfd_create(name, MFD_CLOEXEC));
    // A file in memory takes all or nothing has room.
    if (write(file.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        file.reset();
    }
    return file;
}

std::optional<std::string> readMemoryFile(const service::FileDescriptor& file)
{
    struct stat about
    {};
    if (fstat(file.get(), &about) != 0 || about.st_size < 0) {
        return std::nullopt;
    }
    std::string text(static_cast<size_t>(about.st_size), '\0');
    const bool isRead = pread(file.get(), text.data(), text.size(), 0) == about.st_size;
    return isRead ? std::optional(std::move(text)) : std::nullopt;
}

} // namespace host
