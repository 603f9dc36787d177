// Which state of the data cache is on the disk. An answer may be given again as long as it is the
// same.
//
// Two calls of current() that give the same number have nothing between them that a writer has
// committed: each asks the file itself, nothing is remembered for a time.
//
// - With a rollback journal SQLite counts the changes that others make (PRAGMA data_version), on a
//   connection that stays open.
// - With a write-ahead log every commit writes the header of the log's index, FILE-shm, twice
//   (https://www.sqlite.org/walformat.html, "The WAL-Index Header"). It is read by pread():
//   SQLite would map the file, and whoever cuts a file off under a map ends the process.
//
// The number changes too where the database's file has another size or time, and where another file
// takes the place of one of the two, or the journal becomes another: what SQLite counts means
// something for one file and one connection only. The former file stays open until the new one has
// been told from it, since the number of an inode comes again once nobody has it.
//
// Threads: one instance, one thread.
#ifndef HOST_FRONT_CACHE_STATE_H_
#define HOST_FRONT_CACHE_STATE_H_

#include <service/file_descriptor.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace host {

class CacheState
{
public:
    explicit CacheState(const std::string& path) : mPath(path) {}

    // The number of the state that a reader would see who begins now. Nothing where that cannot be
    // told: there is no file, a writer is at it, or it is not as it should be. Never waits.
    std::optional<uint64_t> current();

private:
    // The two copies of the header, of which a reader takes none unless they are the same.
    static constexpr size_t kHeaderBytes = 48;
    using Header = std::array<unsigned char, kHeaderBytes>;

    // What a commit changes. The log's file stands beside the header, which may come again where a
    // writer begins with an empty log.
    struct LogState
    {
        Header header{};
        struct stat log
        {};
        bool operator==(const LogState& other) const;
    };

    struct OpenFile
    {
        service::FileDescriptor descriptor;
        struct stat identity
        {};
    };
    struct CloseDatabase
    {
        void operator()(sqlite3* handle) const { sqlite3_close(handle); }
    };
    struct Finalize
    {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };

    bool follow(const std::string& path, OpenFile& file, struct stat& found);
    bool followBeside(const std::string& path, OpenFile& file, struct stat& now);
    std::optional<bool> hasLog() const;
    bool isLocked() const;
    std::optional<uint64_t> stateByLog();
    std::optional<uint64_t> stateByJournal();
    bool openDatabase();
    void closeDatabase();
    template <typename Value>
    uint64_t numberOf(std::optional<Value>& last, const Value& now);

    std::string mPath;
    std::string mLogPath; // beside the file itself, where the path is a link to it
    std::string mIndexPath;
    OpenFile mFile;
    OpenFile mLogFile;
    OpenFile mIndex;
    std::unique_ptr<sqlite3, CloseDatabase> mDatabase;
    std::unique_ptr<sqlite3_stmt, Finalize> mAsk; // goes before the database
    std::optional<LogState> mLog;                 // as last seen; nothing with a journal
    std::optional<int64_t> mVersion;              // as last seen; nothing with a log
    uint64_t mNumber = 0;
};

} // namespace host

#endif
