// Standard error as a place for log lines that nobody waits for.
#ifndef STANDARD_ERROR_H_
#define STANDARD_ERROR_H_

#include "Stamp.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

// Whoever started the process may have left standard error to a reader that does not read. A line
// that cannot be written at once is dropped; how many were dropped is told ahead of the next line
// that can.
//
// Standard error may be redirected at any time. A forked process counts its own lines.
//
// Threads: any.
class StandardError
{
public:
    // Writes a line, which has its line end, behind its stamp. False when it was dropped.
    bool write(int severity, const std::string& text);

    void setStamp(VexoStamp stamp);

    // Waits until there is room for a line, at most timeoutMs; false when there is none.
    static bool awaitRoom(int timeoutMs);

private:
    // What a descriptor is open on, whatever its number.
    struct Identity
    {
        dev_t device = 0;
        ino_t inode = 0;
        bool operator==(const Identity&) const = default;
    };
    static Identity identityOf(int fd);

    void forgetParent();
    bool writeRest();
    bool writeNotice();
    bool writeLine(std::string_view line);
    ssize_t put(std::string_view bytes);
    void openAgain(Identity wanted);

    std::mutex mMutex;
    Stamp mStamp;
    pid_t mProcess = 0;    // the one that the next two speak of
    uint64_t mDropped = 0; // lines, not told of yet
    std::string mRest;     // of a line that was written in part
    // Standard error with a file description of our own: that of the inherited descriptor is shared
    // with whoever started us, who does not expect it to become non-blocking.
    int mOwn = -1;
    Identity mOwnIdentity;
};

#endif
