// A file descriptor that closes itself.
#ifndef SERVICE_FILE_DESCRIPTOR_H_
#define SERVICE_FILE_DESCRIPTOR_H_

#include <unistd.h>

#include <utility>

namespace service {

class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) : mFd(fd) {}
    ~FileDescriptor() { reset(); }
    FileDescriptor(FileDescriptor&& other) noexcept : mFd(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        if (this != &other) {
            reset();
            mFd = other.release();
        }
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return mFd; }
    bool isOpen() const { return mFd >= 0; }
    int release() { return std::exchange(mFd, -1); }
    void reset()
    {
        if (mFd >= 0) {
            close(release());
        }
    }

private:
    int mFd = -1;
};

} // namespace service

#endif
