// A directory of its own for one test, removed with everything in it.
#ifndef TESTS_SUPPORT_TEMP_DIRECTORY_H_
#define TESTS_SUPPORT_TEMP_DIRECTORY_H_

#include <filesystem>
#include <string>

namespace support {

class TempDirectory
{
public:
    TempDirectory();
    ~TempDirectory();
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    // Path of an entry of the directory; nothing is created.
    [[nodiscard]] std::string File(const std::string& name) const
    {
        return (mPath / name).string();
    }

private:
    std::filesystem::path mPath;
};

} // namespace support

#endif
