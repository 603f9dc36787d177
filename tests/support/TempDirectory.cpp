#include "TempDirectory.h"

#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace support {

namespace {

// Children that tests fork have copies of this process's static objects, and destroy them when they
// exit.
const pid_t kOwner = getpid();

} // namespace

TempDirectory::TempDirectory()
{
    std::string path = (std::filesystem::temp_directory_path() / "cimgate-test-XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    mPath = path;
}

TempDirectory::~TempDirectory()
{
    if (getpid() == kOwner) {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
}

} // namespace support
