// What a real worker, with a real data cache, answers the message queue.
#include "queue/message.h"
#include "spawner/SpawnerTest.h"
#include "wire/frame_io.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>

namespace {

using namespace std::string_literals; // NOLINT(google-build-using-namespace): literals with NULs

using host::QueueFault;

constexpr const char* kMapping = R"({
    "Rack": {"instances": {"Fan": {"QueryClause": "Slot = '#p1'"}, "Lid": {}}},
    "Shed": {"instances": {"Pump": {}}},
    "Empty": {"instances": {}},
    "Odd": null,
    "Fan": {"@odata.id": "/r/Fan", "@odata.type": "#Fan", "@odata.context": "/c",
            "UniqueSelector": "Slot",
            "mappings": {"T_Fan": {"is_cached": true, "key_properties": ["Slot"],
                                   "properties": {"Speed": {"cim_type": "uint32"}}}}},
    "Lid": {"@odata.id": "/r/Lid", "@odata.type": "#Lid", "@odata.context": "/c",
            "UniqueSelector": "Slot",
            "mappings": {"T_Lid": {"is_cached": true, "key_properties": ["Slot"],
                                   "properties": {"Size": {"cim_type": "uint32"}}}}},
    "Pump": {"@odata.id": "/r/Pump", "@odata.type": "#Pump", "@odata.context": "/c",
             "UniqueSelector": "Slot",
             "mappings": {"T_Pump": {"is_cached": true, "key_properties": ["Slot"],
                                     "properties": {"Flow": {"cim_type": "uint32"}}}}}
})";

// Pumps are not ready.
constexpr const char* kCache = R"(
    create table Tbl_CMPIReady (ClassName);
    insert into Tbl_CMPIReady values ('T_Fan'), ('T_Lid');
    create table Tbl_T_Fan (Slot, Speed);
    insert into Tbl_T_Fan values ('1', 1100), ('2', 1200);
    create table Tbl_T_Lid (Slot, Size);
    insert into Tbl_T_Lid values ('2', 7);
    create table Tbl_T_Pump (Slot, Flow);
    insert into Tbl_T_Pump values ('2', 9);
)";

class OemHandlerTest : public SpawnerTest
{
protected:
    void SetUp() override
    {
        SpawnerTest::SetUp();
        makeCache();
        ASSERT_TRUE(start(kMapping)) << mProblem;
        mWorker = spawn();
        ASSERT_TRUE(host::isReady(readFrame(mWorker.descriptor.get())));
    }

    void TearDown() override
    {
        mWorker.descriptor.reset(); // ends it
        SpawnerTest::TearDown();
    }

    std::string answerTo(const std::string& container, const std::string& id) const
    {
        EXPECT_TRUE(host::sendFrame(mWorker.descriptor.get(),
                                    host::encodeRequest(host::EmbeddedDataRequest{container, id})));
        httpd::Response response;
        EXPECT_TRUE(host::decodeResponse(readFrame(mWorker.descriptor.get()), response));
        return response.body;
    }

    host::ControlMessage mWorker;

private:
    static void makeCache()
    {
        sqlite3* handle = nullptr;
        ASSERT_EQ(sqlite3_open(SQLInterface::DataCachePath.c_str(), &handle), SQLITE_OK);
        const std::unique_ptr<sqlite3, int (*)(sqlite3*)> cache(handle, sqlite3_close);
        ASSERT_EQ(sqlite3_exec(handle, kCache, nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(handle);
    }
};

TEST_F(OemHandlerTest, DataOfWhatTheContainerEmbeds)
{
    EXPECT_EQ(answerTo("Rack", "2"),
              R"({"Fan":{"@odata.context":"/c","@odata.id":"/r/Fan/2","@odata.type":"#Fan",)"
              R"("Speed":1200},)"
              R"("Lid":{"@odata.context":"/c","@odata.id":"/r/Lid/2","@odata.type":"#Lid",)"
              R"("Size":7}})");
    EXPECT_EQ(answerTo("Rack", "1"),
              R"({"Fan":{"@odata.context":"/c","@odata.id":"/r/Fan/1","@odata.type":"#Fan",)"
              R"("Speed":1100}})");
    EXPECT_EQ(answerTo("Rack", "3"), "{}");
}

TEST_F(OemHandlerTest, EntryThatEmbedsNothingHasNoData)
{
    for (const char* container : {"Empty", "Fan", "Odd"}) {
        EXPECT_EQ(answerTo(container, "2"), "{}") << container;
    }
}

TEST_F(OemHandlerTest, ResourceThatIsNotReadyIsNamed)
{
    EXPECT_EQ(answerTo("Shed", "2"), host::queueError(QueueFault::NotCached, "Pump"));
}

TEST_F(OemHandlerTest, UnknownContainerDoesNotEndTheWorker)
{
    for (const std::string& container : {"Nothing"s, ""s, "rack"s, "Rack "s, "Rack\0"s}) {
        EXPECT_EQ(answerTo(container, "2"),
                  host::queueError(QueueFault::UnknownContainer, container));
    }
    EXPECT_EQ(answerTo("Rack", "3"), "{}");
}

TEST_F(OemHandlerTest, RefusedIdsNeverReachTheCache)
{
    const std::string refused = host::queueError(QueueFault::InvalidId);
    for (const std::string& id :
         {""s, "2' or '1'='1"s, "2\""s, "2;"s, "2/*"s, "2--"s, "2 "s, "2%"s, "2\\"s, "2\n"s, "2\0"s,
          "2\0x"s, "\xc3\xa4"s, "\xff"s, std::string(128, '2')}) {
        EXPECT_EQ(answerTo("Rack", id), refused) << id;
        EXPECT_EQ(answerTo("Shed", id), refused) << id;
        EXPECT_EQ(answerTo("Nothing", id), refused) << id;
    }
    EXPECT_EQ(answerTo("Rack", std::string(127, '2')), "{}");
}

} // namespace
