#include "TempDirectory.h"
#include "front/cache_state.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

using host::CacheState;

// A writer of the cache, on a connection of its own.
class CacheStateWriter
{
public:
    explicit CacheStateWriter(const std::string& path)
    {
        EXPECT_EQ(sqlite3_open(path.c_str(), &mHandle), SQLITE_OK);
        sqlite3_busy_timeout(mHandle, 10000);
    }
    ~CacheStateWriter() { sqlite3_close(mHandle); }
    CacheStateWriter(const CacheStateWriter&) = delete;
    CacheStateWriter& operator=(const CacheStateWriter&) = delete;

    void run(const std::string& sql)
    {
        EXPECT_EQ(sqlite3_exec(mHandle, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sql << ": " << sqlite3_errmsg(mHandle);
    }
    void commit() { run("INSERT INTO T VALUES (1)"); }
    // The log and its index stay when the last one who has the file open closes it.
    void leaveLog()
    {
        int isWanted = 1;
        EXPECT_EQ(sqlite3_file_control(mHandle, "main", SQLITE_FCNTL_PERSIST_WAL, &isWanted),
                  SQLITE_OK);
    }

private:
    sqlite3* mHandle = nullptr;
};

class CacheStates : public testing::TestWithParam<const char*>
{
protected:
    std::string path() const { return mDirectory.File("cache.db"); }
    void make(const std::string& path) const
    {
        CacheStateWriter writer(path);
        writer.run(std::string("PRAGMA journal_mode = ") + GetParam());
        writer.run("CREATE TABLE T (a)");
    }
    bool hasLog() const { return GetParam() == std::string("WAL"); }

    support::TempDirectory mDirectory;
};

TEST_P(CacheStates, IsTheSameUntilAWriterCommits)
{
    make(path());
    CacheStateWriter writer(path());
    writer.commit();
    CacheState state(path());
    const auto first = state.current();
    ASSERT_TRUE(first);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(state.current(), first);
    }
    std::optional<uint64_t> last = first;
    for (int i = 0; i < 5; ++i) {
        writer.commit();
        const auto now = state.current();
        ASSERT_TRUE(now);
        EXPECT_NE(now, last);
        EXPECT_EQ(state.current(), now);
        last = now;
    }
}

TEST_P(CacheStates, WhatIsNotCommittedIsNoOtherState)
{
    make(path());
    CacheStateWriter writer(path());
    writer.commit();
    CacheState state(path());
    const auto before = state.current();
    ASSERT_TRUE(before);
    writer.run("BEGIN IMMEDIATE; INSERT INTO T VALUES (2)");
    EXPECT_EQ(state.current(), before);
    writer.run("ROLLBACK");
    EXPECT_EQ(state.current(), before);
}

TEST_P(CacheStates, FileThatTakesThePlaceIsAnotherStateAndMayComeBack)
{
    make(path());
    make(mDirectory.File("other.db"));
    CacheStateWriter writer(path());
    CacheStateWriter other(mDirectory.File("other.db"));
    writer.commit();
    other.commit();
    CacheState state(path());
    const auto first = state.current();
    ASSERT_TRUE(first);
    for (const char* const suffix : {"-wal", "-shm", ""}) {
        const std::string name = path() + suffix;
        const std::string otherName = mDirectory.File("other.db") + suffix;
        if (std::filesystem::exists(otherName)) {
            std::filesystem::rename(name, mDirectory.File("former.db") + suffix);
            std::filesystem::rename(otherName, name);
        }
    }
    const auto second = state.current();
    ASSERT_TRUE(second);
    EXPECT_NE(second, first);
    std::filesystem::remove(path());
    EXPECT_EQ(state.current(), std::nullopt);
}

TEST_P(CacheStates, WriterThatHasTheFileForItselfLeavesNoState)
{
    make(path());
    CacheState state(path());
    {
        CacheStateWriter writer(path());
        writer.commit();
        ASSERT_TRUE(state.current());
    }
    CacheStateWriter writer(path());
    writer.run(
        "PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; INSERT INTO T VALUES (3); COMMIT");
    EXPECT_EQ(state.current(), std::nullopt);
}

TEST_P(CacheStates, AnotherJournalIsAnotherState)
{
    make(path());
    CacheStateWriter writer(path());
    writer.commit();
    CacheState state(path());
    const auto first = state.current();
    ASSERT_TRUE(first);
    writer.run(std::string("PRAGMA journal_mode = ") + (hasLog() ? "DELETE" : "WAL"));
    writer.commit();
    const auto second = state.current();
    ASSERT_TRUE(second);
    EXPECT_NE(second, first);
}

TEST_P(CacheStates, NoFileAPipeAndNoDatabaseHaveNone)
{
    CacheState state(path());
    EXPECT_EQ(state.current(), std::nullopt);
    ASSERT_EQ(mkfifo(path().c_str(), 0600), 0);
    EXPECT_EQ(state.current(), std::nullopt);
    std::filesystem::remove(path());
    std::ofstream(path()) << std::string(4096, 'x');
    EXPECT_EQ(state.current(), std::nullopt);
    std::filesystem::resize_file(path(), 0);
    EXPECT_EQ(state.current(), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Journals, CacheStates,
                         testing::Values("DELETE", "TRUNCATE", "PERSIST", "WAL"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(CacheStates, OfALinkTheFilesBesideTheFileItselfCount)
{
    std::filesystem::create_directory(mDirectory.File("real"));
    const std::string real = mDirectory.File("real") + "/cache.db";
    make(path()); // leaves nothing but what is removed with it, or an index that nobody writes
    CacheStateWriter former(path());
    former.commit();
    std::filesystem::remove(path());
    make(real);
    std::filesystem::create_symlink(real, path());
    CacheStateWriter writer(real);
    writer.commit();
    CacheState state(path());
    const auto first = state.current();
    ASSERT_TRUE(first);
    writer.commit();
    const auto second = state.current();
    ASSERT_TRUE(second);
    EXPECT_NE(second, first);
}

// ---- The index of a log that is not as it should be ----

class CacheStateByLog : public testing::Test
{
protected:
    CacheStateByLog() : mPath(mDirectory.File("cache.db")), mWriter(mPath), mState(mPath)
    {
        mWriter.run("PRAGMA journal_mode = WAL; CREATE TABLE T (a)");
        mWriter.commit();
        EXPECT_TRUE(mState.current());
    }

    void overwrite(off_t offset, char byte) const
    {
        const service::FileDescriptor file(open((mPath + "-shm").c_str(), O_WRONLY | O_CLOEXEC));
        EXPECT_EQ(pwrite(file.get(), &byte, 1, offset), 1);
    }
    void overwriteBothCopies(off_t offset) const
    {
        overwrite(offset, 0);
        overwrite(48 + offset, 0);
    }
    std::string log() const { return mPath + "-wal"; }

    support::TempDirectory mDirectory;
    std::string mPath;
    CacheStateWriter mWriter;
    CacheState mState;
};

TEST_F(CacheStateByLog, CopiesThatDifferTellNothing)
{
    overwrite(16, 'x');
    EXPECT_EQ(mState.current(), std::nullopt);
}

TEST_F(CacheStateByLog, IndexOfAnotherVersionTellsNothing)
{
    overwriteBothCopies(0);
    EXPECT_EQ(mState.current(), std::nullopt);
}

TEST_F(CacheStateByLog, IndexThatIsNotMadeTellsNothing)
{
    overwriteBothCopies(12);
    EXPECT_EQ(mState.current(), std::nullopt);
}

// The log is written from its beginning again once all of it is in the database, and times have the
// clock's ticks.
TEST_F(CacheStateByLog, CommitThatLeavesSizeAndTimeOfTheLogIsAnotherState)
{
    mWriter.run("PRAGMA wal_checkpoint");
    const auto before = mState.current();
    ASSERT_TRUE(before);
    const auto size = std::filesystem::file_size(log());
    const auto time = std::filesystem::last_write_time(log());
    mWriter.commit();
    ASSERT_EQ(std::filesystem::file_size(log()), size);
    std::filesystem::last_write_time(log(), time);
    const auto after = mState.current();
    EXPECT_TRUE(after);
    EXPECT_NE(after, before);
}

TEST_F(CacheStateByLog, LogThatChangesUnderTheSameHeaderIsAnotherState)
{
    const auto before = mState.current();
    const auto time = std::filesystem::last_write_time(log());
    std::filesystem::last_write_time(log(), time + std::chrono::milliseconds(1));
    const auto touched = mState.current();
    EXPECT_TRUE(touched);
    EXPECT_NE(touched, before);
    std::filesystem::resize_file(log(), std::filesystem::file_size(log()) + 1);
    std::filesystem::last_write_time(log(), time + std::chrono::milliseconds(1));
    const auto longer = mState.current();
    EXPECT_TRUE(longer);
    EXPECT_NE(longer, touched);
}

TEST_F(CacheStateByLog, LogThatTakesThePlaceUnderTheSameHeaderIsAnotherState)
{
    const auto before = mState.current();
    const std::string another = mDirectory.File("another");
    std::filesystem::copy_file(log(), another);
    std::filesystem::last_write_time(another, std::filesystem::last_write_time(log()));
    std::filesystem::rename(another, log());
    const auto after = mState.current();
    EXPECT_TRUE(after);
    EXPECT_NE(after, before);
}

TEST_F(CacheStateByLog, IndexThatIsCutOffOrGoneTellsNothingAndEndsNothing)
{
    std::filesystem::copy_file(mPath, mDirectory.File("copy.db"));
    std::ofstream(mDirectory.File("copy.db-shm")) << std::string(95, 'x');
    CacheState copy(mDirectory.File("copy.db"));
    EXPECT_EQ(copy.current(), std::nullopt);
    std::filesystem::resize_file(mDirectory.File("copy.db-shm"), 0);
    EXPECT_EQ(copy.current(), std::nullopt);
    std::filesystem::remove(mDirectory.File("copy.db-shm"));
    EXPECT_EQ(copy.current(), std::nullopt);
}

// A file with two names may lose this one to another file and still have one.
TEST_F(CacheStateByLog, IndexWithASecondNameIsToldFromTheFileThatTakesItsPlace)
{
    const std::string index = mPath + "-shm";
    const auto first = mState.current();
    std::filesystem::create_hard_link(index, mDirectory.File("second"));
    EXPECT_EQ(mState.current(), first);
    std::filesystem::copy_file(index, mDirectory.File("another"));
    std::filesystem::rename(mDirectory.File("another"), index);
    const auto second = mState.current();
    EXPECT_TRUE(second);
    EXPECT_NE(second, first);
    std::filesystem::copy_file(index, mDirectory.File("another"));
    std::filesystem::rename(mDirectory.File("another"), index);
    EXPECT_NE(mState.current(), second);
}

// One that is moved away keeps its only name, which is another one.
TEST_F(CacheStateByLog, IndexThatIsMovedAwayIsToldFromTheFileThatTakesItsPlace)
{
    const std::string index = mPath + "-shm";
    ASSERT_TRUE(mState.current());
    std::filesystem::rename(index, mDirectory.File("former"));
    std::ofstream(index) << "no index";
    EXPECT_EQ(mState.current(), std::nullopt);
}

// Keeps a file for itself, as another process: of its own locks a process is told nothing.
class LoneWriterProcess
{
public:
    explicit LoneWriterProcess(const std::string& path)
    {
        int ends[2] = {-1, -1};
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        const service::FileDescriptor ready(ends[0]);
        service::FileDescriptor mine(ends[1]);
        mPid = fork();
        if (mPid == 0) {
            CacheStateWriter writer(path);
            writer.run("PRAGMA locking_mode = EXCLUSIVE; INSERT INTO T VALUES (3)");
            (void)!write(mine.get(), "", 1);
            (void)pause();
            _exit(EXIT_SUCCESS);
        }
        mine.reset();
        char byte = 0;
        EXPECT_EQ(read(ready.get(), &byte, 1), 1);
    }
    ~LoneWriterProcess()
    {
        (void)kill(mPid, SIGKILL);
        (void)waitpid(mPid, nullptr, 0);
    }
    LoneWriterProcess(const LoneWriterProcess&) = delete;
    LoneWriterProcess& operator=(const LoneWriterProcess&) = delete;

private:
    pid_t mPid = -1;
};

// It writes the log without the index, which may lie there still.
TEST(CacheStateByLeftIndex, WriterThatHasTheFileForItselfLeavesNoState)
{
    const support::TempDirectory directory;
    const std::string path = directory.File("cache.db");
    {
        CacheStateWriter writer(path);
        writer.run("PRAGMA journal_mode = WAL; CREATE TABLE T (a)");
        writer.leaveLog();
    }
    CacheState state(path);
    ASSERT_TRUE(state.current());
    {
        const LoneWriterProcess writer(path);
        ASSERT_TRUE(std::filesystem::exists(path + "-shm"));
        EXPECT_EQ(state.current(), std::nullopt);
    }
    EXPECT_TRUE(state.current());
}

} // namespace
