#include "TempDirectory.h"

#include <stdlib.h>

#include <cerrno>
#include <system_error>

namespace support {

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
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

} // namespace support
