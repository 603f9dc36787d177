#include "front/cache_state.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace host {

namespace {

// In the header of a database: how it may be written and read, 2 for a log (the file format's
// offsets 18 and 19).
constexpr off_t kJournalOffset = 18;
constexpr std::array<unsigned char, 2> kWriteAhead = {2, 2};

// In the header of the log's index: its version, and whether it has been made.
constexpr uint32_t kIndexVersion = 3007000;
constexpr size_t kIsMadeOffset = 12;

// The bytes that SQLite locks: from the pending one to the last of the shared ones.
constexpr off_t kPendingByte = 0x40000000;
constexpr off_t kLockBytes = 512;

// What SQLite's names of the files beside a database begin with.
std::string logOf(const std::string& path)
{
    const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
    return real == nullptr ? path : std::string(real.get());
}

bool isSameFile(const struct stat& one, const struct stat& other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool isSameContent(const struct stat& now, const struct stat& before)
{
    return now.st_size == before.st_size && now.st_mtim.tv_sec == before.st_mtim.tv_sec &&
           now.st_mtim.tv_nsec == before.st_mtim.tv_nsec;
}

bool isUntouched(const struct stat& now, const struct stat& before)
{
    return now.st_nlink == 1 && now.st_ctim.tv_sec == before.st_ctim.tv_sec &&
           now.st_ctim.tv_nsec == before.st_ctim.tv_nsec;
}

} // namespace

bool CacheState::LogState::operator==(const LogState& other) const
{
    return header == other.header && isSameFile(log, other.log) && isSameContent(log, other.log);
}

// Has the file open that the path names now.
bool CacheState::follow(const std::string& path, OpenFile& file, struct stat& found)
{
    if (stat(path.c_str(), &found) != 0 || !S_ISREG(found.st_mode)) {
        return false;
    }
    if (file.descriptor.isOpen() && isSameFile(found, file.identity)) {
        return true;
    }
    OpenFile opened;
    opened.descriptor =
        service::FileDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!opened.descriptor.isOpen() || fstat(opened.descriptor.get(), &opened.identity) != 0) {
        return false;
    }
    // Closing a descriptor drops the locks that SQLite has by others: it has none between two
    // questions.
    file = std::move(opened);
    mLog.reset();
    mVersion.reset();
    closeDatabase();
    return true;
}

// The same of a file beside the database, and how it stands now. One that has its only name and
// has not been touched since it was looked up by that still has it: looking up costs more than all
// else of a question.
bool CacheState::followBeside(const std::string& path, OpenFile& file, struct stat& now)
{
    if (file.descriptor.isOpen() && fstat(file.descriptor.get(), &now) == 0 &&
        isUntouched(now, file.identity)) {
        return true;
    }
    const bool isFollowed = follow(path, file, now);
    file.identity = isFollowed ? now : file.identity;
    return isFollowed;
}

std::optional<uint64_t> CacheState::current()
{
    struct stat now
    {};
    if (!follow(mPath, mFile, now)) {
        return std::nullopt;
    }
    // Who writes the file past SQLite, as a copy over it or one that cuts it off, changes no count.
    if (!isSameContent(now, mFile.identity)) {
        mLog.reset();
        mVersion.reset();
        mFile.identity = now;
    }
    const std::optional<bool> isLog = hasLog();
    if (!isLog) {
        return std::nullopt;
    }
    return *isLog ? stateByLog() : stateByJournal();
}

std::optional<bool> CacheState::hasLog() const
{
    std::array<unsigned char, 2> journal{};
    if (pread(mFile.descriptor.get(), journal.data(), journal.size(), kJournalOffset) !=
        static_cast<ssize_t>(journal.size())) {
        return std::nullopt;
    }
    return journal == kWriteAhead;
}

// A number that is another one wherever the value is.
template <typename Value>
uint64_t CacheState::numberOf(std::optional<Value>& last, const Value& now)
{
    if (last != now) {
        last = now;
        ++mNumber;
    }
    return mNumber;
}

std::optional<uint64_t> CacheState::stateByLog()
{
    mVersion.reset();
    closeDatabase();
    if (!mLog) {
        const std::string path = logOf(mPath);
        mLogPath = path + "-wal";
        mIndexPath = path + "-shm";
        mIndex = {};
        mLogFile = {};
    }
    std::array<unsigned char, 2 * kHeaderBytes> both{};
    LogState now;
    struct stat index
    {};
    if (!followBeside(mIndexPath, mIndex, index) || isLocked() ||
        !followBeside(mLogPath, mLogFile, now.log) ||
        pread(mIndex.descriptor.get(), both.data(), both.size(), 0) !=
            static_cast<ssize_t>(both.size())) {
        return std::nullopt;
    }
    uint32_t version = 0;
    std::memcpy(&version, both.data(), sizeof version);
    const bool isWhole = std::memcmp(both.data(), both.data() + kHeaderBytes, kHeaderBytes) == 0 &&
                         version == kIndexVersion && both[kIsMadeOffset] != 0;
    if (!isWhole) {
        return std::nullopt;
    }
    std::memcpy(now.header.data(), both.data(), kHeaderBytes);
    return numberOf(mLog, now);
}

// A writer that has the file for itself writes a log without an index.
bool CacheState::isLocked() const
{
    struct flock lock
    {};
    lock.l_type = F_RDLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = kPendingByte;
    lock.l_len = kLockBytes;
    return fcntl(mFile.descriptor.get(), F_GETLK, &lock) != 0 || lock.l_type != F_UNLCK;
}

std::optional<uint64_t> CacheState::stateByJournal()
{
    mLog.reset();
    if (!openDatabase()) {
        return std::nullopt;
    }
    const bool isTold = sqlite3_step(mAsk.get()) == SQLITE_ROW;
    const int64_t version = isTold ? sqlite3_column_int64(mAsk.get(), 0) : 0;
    (void)sqlite3_reset(mAsk.get()); // gives the lock back
    return isTold ? std::optional(numberOf(mVersion, version)) : std::nullopt;
}

bool CacheState::openDatabase()
{
    if (mAsk != nullptr) {
        return true;
    }
    sqlite3* handle = nullptr;
    const int opened = sqlite3_open_v2(mPath.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr);
    mDatabase.reset(handle);
    sqlite3_stmt* statement = nullptr;
    if (opened == SQLITE_OK &&
        sqlite3_prepare_v2(handle, "PRAGMA data_version", -1, &statement, nullptr) == SQLITE_OK) {
        mAsk.reset(statement);
    }
    if (mAsk == nullptr) {
        closeDatabase();
    }
    return mAsk != nullptr;
}

void CacheState::closeDatabase()
{
    mAsk.reset();
    mDatabase.reset();
}

} // namespace host
