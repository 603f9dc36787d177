// The real spawner and real workers, without a front.
#include "StderrFile.h"
#include "spawner/SpawnerTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/socket.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

using host::ControlMessage;
using host::Received;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kUncached = "{}";
constexpr const char* kCached = R"({
    "VexoThing": {"@odata.id": "/r/VexoThing", "UniqueSelector": "Key",
                  "mappings": {"T": {"is_cached": true, "properties": {"A": {}}}}}})";

// Makes a data cache with one thing.
void makeCache(const std::string& path)
{
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &handle), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(handle,
                           "create table Tbl_CMPIReady (ClassName);"
                           "insert into Tbl_CMPIReady values ('T');"
                           "create table Tbl_T (Key, A); insert into Tbl_T values ('1', 'a')",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(handle);
}

void sendRequest(const ControlMessage& worker, const std::string& target = "/redfish/v1/Nothing")
{
    const std::string request = host::encodeRequest(host::ReadRequest{target});
    ASSERT_EQ(send(worker.descriptor.get(), request.data(), request.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(request.size()));
}

void expectAnswered(const ControlMessage& worker)
{
    sendRequest(worker);
    httpd::Response response;
    ASSERT_TRUE(host::decodeResponse(readFrame(worker.descriptor.get()), response));
    EXPECT_EQ(response.status, 404U);
}

// Asks for the thing.
unsigned int statusOfThing(const ControlMessage& worker)
{
    sendRequest(worker, "/r/VexoThing/1");
    httpd::Response response;
    EXPECT_TRUE(host::decodeResponse(readFrame(worker.descriptor.get()), response));
    return response.status;
}

void expectSeenAsReplaced(const ControlMessage& worker)
{
    sendRequest(worker);
    host::Declined reason{};
    EXPECT_TRUE(host::decodeDeclined(readFrame(worker.descriptor.get()), reason));
    EXPECT_EQ(reason, host::Declined::CacheReplaced);
}

int linesWith(const std::string& text, const std::string& part)
{
    int lines = 0;
    std::istringstream rest(text);
    for (std::string line; std::getline(rest, line);) {
        lines += line.find(part) != std::string::npos ? 1 : 0;
    }
    return lines;
}

TEST_F(SpawnerTest, MissingMappingFileIsReported)
{
    EXPECT_FALSE(host::startSpawner(mSpawner, mProblem));
    EXPECT_THAT(mProblem,
                StartsWith("cannot read the mapping file " + ResourceMapper::RmfPath + ":"));
    EXPECT_THAT(mProblem, HasSubstr("--rmf"));
}

TEST_F(SpawnerTest, MalformedMappingFileIsReported)
{
    EXPECT_FALSE(start("{\"Thing\": "));
    EXPECT_THAT(mProblem, HasSubstr(ResourceMapper::RmfPath + " is not a JSON object"));
}

TEST_F(SpawnerTest, TellsWhetherWorkersUseTheCache)
{
    ASSERT_TRUE(start(kUncached)) << mProblem;
    EXPECT_FALSE(mSpawner.mapping.usesCache);
    host::awaitSpawner(mSpawner);
    ASSERT_TRUE(start(kCached)) << mProblem;
    EXPECT_TRUE(mSpawner.mapping.usesCache);
}

TEST_F(SpawnerTest, WorkerGetsReadyAndAnswersOneRequestAfterTheOther)
{
    ASSERT_TRUE(start(kUncached)) << mProblem;
    const ControlMessage worker = spawn();
    EXPECT_TRUE(host::isReady(readFrame(worker.descriptor.get())));
    for (int i = 0; i < 3; ++i) {
        expectAnswered(worker);
    }
}

TEST_F(SpawnerTest, WorkersHaveNoSocketsOfOthers)
{
    ASSERT_TRUE(start(kUncached)) << mProblem;
    ControlMessage first = spawn();
    const ControlMessage second = spawn();
    EXPECT_TRUE(host::isReady(readFrame(first.descriptor.get())));
    EXPECT_TRUE(host::isReady(readFrame(second.descriptor.get())));
    EXPECT_NE(first.id, second.id);
    first.descriptor.reset();
    EXPECT_TRUE(processEnds(first.pid)); // nobody else holds the other end
    expectAnswered(second);
}

TEST_F(SpawnerTest, KilledWorkerIsReapedAndOthersLive)
{
    ASSERT_TRUE(start(kUncached)) << mProblem;
    const ControlMessage killed = spawn();
    const ControlMessage other = spawn();
    EXPECT_TRUE(host::isReady(readFrame(killed.descriptor.get())));
    kill(killed.id);
    EXPECT_TRUE(isGone(killed.descriptor.get()));
    EXPECT_TRUE(processEnds(killed.pid));
    kill(killed.id); // an id of the past names nobody
    EXPECT_TRUE(host::isReady(readFrame(other.descriptor.get())));
    EXPECT_EQ(spawn().id, other.id + 1);
    EXPECT_EQ(::kill(other.pid, 0), 0);
}

TEST_F(SpawnerTest, WorkersWithoutACacheAnswerTheRestAndTellItOnceWhenItGoesAndWhenItIsBack)
{
    const StderrFile errors(mDirectory.File("stderr"));
    ASSERT_TRUE(start(kCached)) << mProblem;
    const ControlMessage first = spawn();
    const ControlMessage second = spawn();
    for (const ControlMessage* worker : {&first, &second}) {
        ASSERT_TRUE(host::isReady(readFrame(worker->descriptor.get())));
        EXPECT_EQ(statusOfThing(*worker), 503U);
        expectAnswered(*worker);
    }
    const std::string cache = "cimgated: the data cache " + SQLInterface::DataCachePath;
    EXPECT_EQ(linesWith(errors.text(), cache + " is not there"), 1) << errors.text();
    makeCache(SQLInterface::DataCachePath);
    EXPECT_EQ(statusOfThing(first), 200U);
    EXPECT_EQ(statusOfThing(second), 200U);
    EXPECT_EQ(linesWith(errors.text(), cache + " can be read again"), 1) << errors.text();
    EXPECT_EQ(linesWith(errors.text(), cache), 2) << errors.text();
}

TEST_F(SpawnerTest, CacheThatIsNoneIsToldInSqlitesWords)
{
    std::ofstream(SQLInterface::DataCachePath) << std::string(4096, 'x');
    const StderrFile errors(mDirectory.File("stderr"));
    ASSERT_TRUE(start(kCached)) << mProblem;
    ControlMessage worker = spawn();
    ASSERT_TRUE(host::isReady(readFrame(worker.descriptor.get())));
    EXPECT_EQ(linesWith(errors.text(),
                        SQLInterface::DataCachePath + " cannot be read: file is not a database:"),
              1);
    EXPECT_EQ(statusOfThing(worker), 503U);
    std::filesystem::remove(SQLInterface::DataCachePath);
    std::ofstream(SQLInterface::DataCachePath).flush();
    expectSeenAsReplaced(worker);
    worker = spawn();
    ASSERT_TRUE(host::isReady(readFrame(worker.descriptor.get())));
    EXPECT_EQ(statusOfThing(worker), 503U);
    EXPECT_EQ(linesWith(errors.text(), SQLInterface::DataCachePath +
                                           " cannot be read: no such table: Tbl_CMPIReady:"),
              1)
        << errors.text();
}

// Each of its requests makes a worker look at the cache.
TEST_F(SpawnerTest, SchemasComeOnceTheyAreMade)
{
    ASSERT_TRUE(start(R"({"VexoThing": {"@odata.type": "#VexoThing.v1_0_0.VexoThing"}})"))
        << mProblem;
    EXPECT_FALSE(mSpawner.documents.contains("/redfish/v1/JsonSchemas/VexoThing.json"));
    EXPECT_TRUE(mSpawner.documents.contains("/redfish/v1/JsonSchemas/VexoThing"));
    const auto schemas = host::receiveSchemas(mSpawner);
    ASSERT_TRUE(schemas);
    EXPECT_TRUE(schemas->contains("/redfish/v1/JsonSchemas/VexoThing.json"));
    EXPECT_FALSE(host::receiveSchemas(mSpawner));
}

TEST_F(SpawnerTest, CacheThatCannotBeLookedAtIsToldOnceWhileItLasts)
{
    const std::string directory = mDirectory.File("cache");
    const std::string elsewhere = mDirectory.File("elsewhere");
    SQLInterface::DataCachePath = directory + "/cache.db";
    std::filesystem::create_directory(directory);
    makeCache(SQLInterface::DataCachePath);
    const StderrFile errors(mDirectory.File("stderr"));
    ASSERT_TRUE(start(kCached)) << mProblem;
    const ControlMessage worker = spawn();
    ASSERT_TRUE(host::isReady(readFrame(worker.descriptor.get())));
    ASSERT_EQ(statusOfThing(worker), 200U);

    std::filesystem::rename(directory, elsewhere);
    expectAnswered(worker); // a cache that is missing is nothing to tell
    for (int period = 1; period <= 2; ++period) {
        std::ofstream(directory).flush();
        expectAnswered(worker);
        expectAnswered(worker);
        EXPECT_EQ(
            linesWith(errors.text(), SQLInterface::DataCachePath + " is replaced: Not a directory"),
            period)
            << errors.text();
        std::filesystem::remove(directory);
        expectAnswered(worker);
    }
    EXPECT_EQ(linesWith(errors.text(), SQLInterface::DataCachePath), 2) << errors.text();

    std::filesystem::rename(elsewhere, directory);
    expectAnswered(worker);
    std::ofstream(elsewhere).flush();
    std::filesystem::rename(elsewhere, SQLInterface::DataCachePath);
    expectSeenAsReplaced(worker);
}

// A file offset of 32 bits has no room for their size.
TEST_F(SpawnerTest, CachesAboveTwoGibibytesAreSeenToBeReplaced)
{
    constexpr std::uintmax_t bytes = 3ULL << 30U; // of a file without content: it takes no room
    const std::string next = mDirectory.File("next.db");
    for (const std::string& path : {SQLInterface::DataCachePath, next}) {
        makeCache(path);
        std::filesystem::resize_file(path, bytes);
    }
    ASSERT_TRUE(start(kCached)) << mProblem;
    const ControlMessage worker = spawn();
    ASSERT_TRUE(host::isReady(readFrame(worker.descriptor.get())));
    ASSERT_EQ(statusOfThing(worker), 200U);
    std::filesystem::rename(next, SQLInterface::DataCachePath);
    expectSeenAsReplaced(worker);
}

TEST_F(SpawnerTest, CacheThatCannotBeOpenedIsReported)
{
    std::filesystem::create_directory(SQLInterface::DataCachePath);
    EXPECT_FALSE(start(kCached));
    EXPECT_THAT(mProblem, StartsWith("cannot open the data cache " + SQLInterface::DataCachePath +
                                     ": it is no regular file; "));
    host::awaitSpawner(mSpawner);
    mProblem.clear();
    EXPECT_TRUE(start(kUncached)) << mProblem;
}

TEST_F(SpawnerTest, CheckHasToldAllWhenItsDescriptorCloses)
{
    const StderrFile errors(mDirectory.File("stderr"));
    ASSERT_TRUE(start(R"({"VexoThing": {}})")) << mProblem;
    char byte = 0;
    EXPECT_TRUE(hasInput(mSpawner.checked.get()));
    EXPECT_EQ(read(mSpawner.checked.get(), &byte, sizeof byte), 0);
    EXPECT_EQ(linesWith(errors.text(), "cimgated: " + ResourceMapper::RmfPath + ":1: VexoThing"), 1)
        << errors.text();
}

TEST_F(SpawnerTest, CacheThatCannotBeLookedAtFromTheBeginningIsTold)
{
    const StderrFile errors(mDirectory.File("stderr"));
    ASSERT_TRUE(start(kCached)) << mProblem;
    std::filesystem::create_symlink("none.db", SQLInterface::DataCachePath);
    const ControlMessage worker = spawn();
    ASSERT_TRUE(host::isReady(readFrame(worker.descriptor.get())));
    EXPECT_EQ(linesWith(errors.text(), SQLInterface::DataCachePath + " cannot be read: " +
                                           "Too many levels of symbolic links"),
              1)
        << errors.text();
}

TEST_F(SpawnerTest, WorkerThatGetsNonsenseEnds)
{
    ASSERT_TRUE(start(kUncached)) << mProblem;
    const ControlMessage worker = spawn();
    EXPECT_TRUE(host::isReady(readFrame(worker.descriptor.get())));
    const std::string nonsense(host::kFrameHeaderBytes, '\xff');
    ASSERT_EQ(send(worker.descriptor.get(), nonsense.data(), nonsense.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(nonsense.size()));
    EXPECT_TRUE(isGone(worker.descriptor.get()));
    EXPECT_TRUE(processEnds(worker.pid));
}

TEST_F(SpawnerTest, EveryoneEndsWithTheControlSocket)
{
    ASSERT_TRUE(start(kUncached)) << mProblem;
    ControlMessage idle = spawn();
    ControlMessage held = spawn(); // its socket stays open: the spawner has to end it
    EXPECT_TRUE(host::isReady(readFrame(held.descriptor.get())));
    idle.descriptor.reset();
    const pid_t spawner = mSpawner.pid;
    host::awaitSpawner(mSpawner);
    EXPECT_EQ(::kill(spawner, 0), -1);
    EXPECT_EQ(::kill(idle.pid, 0), -1);
    EXPECT_EQ(::kill(held.pid, 0), -1);
    EXPECT_TRUE(isGone(held.descriptor.get()));
}

TEST_F(SpawnerTest, WorkersDoNotOutliveASpawnerThatIsKilled)
{
    ASSERT_TRUE(start(kUncached)) << mProblem;
    const ControlMessage worker = spawn();
    EXPECT_TRUE(host::isReady(readFrame(worker.descriptor.get())));
    ASSERT_EQ(::kill(mSpawner.pid, SIGKILL), 0);
    EXPECT_TRUE(isGone(worker.descriptor.get()));
    ControlMessage message;
    EXPECT_TRUE(hasInput(mSpawner.control.get()));
    EXPECT_EQ(host::receiveControl(mSpawner.control.get(), message), Received::Gone);
}

} // namespace
