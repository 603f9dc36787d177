// What is written to standard error, for a test to look at.
#ifndef STDERR_FILE_H_
#define STDERR_FILE_H_

#include <fcntl.h>
#include <gtest/gtest.h>
#include <service/file_descriptor.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <string>
#include <utility>

// Everything that this process and its children write to standard error while it lives.
class StderrFile
{
public:
    explicit StderrFile(std::string path) : mPath(std::move(path)), mStderr(dup(STDERR_FILENO))
    {
        const service::FileDescriptor file(
            open(mPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR));
        EXPECT_GE(dup2(file.get(), STDERR_FILENO), 0);
    }
    ~StderrFile() { EXPECT_GE(dup2(mStderr.get(), STDERR_FILENO), 0); }
    StderrFile(const StderrFile&) = delete;
    StderrFile& operator=(const StderrFile&) = delete;

    std::string text() const
    {
        std::ifstream file(mPath);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::string mPath;
    service::FileDescriptor mStderr;
};

#endif
