#include "LibraryTest.h"
#include "LogMessage.h"
#include "RedfishOemInterface.h"

#include <barrier>
#include <functional>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 2;

// Runs work on several threads that start together.
void together(const std::function<void(int)>& work)
{
    std::barrier start(kThreads);
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&, number] {
            start.arrive_and_wait();
            work(number);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

class Concurrency : public support::LibraryTest
{};

TEST_F(Concurrency, TwoFirstRequestsLoadTheMappingFileOnce)
{
    mMapping.Write(R"({"VexoBox": {"@odata.id": "/redfish/v1/VexoBox",
                                   "mappings": {"XCIM_Box": {"properties": {"Id": {}}}}}})");
    for (int round = 0; round < 20; ++round) {
        support::MappingFile::ForgetLoaded();
        support::LogCapture::Reset();
        together([](int /*number*/) {
            support::Request request("/redfish/v1/VexoBox");
            EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
            EXPECT_EQ(request.mapper.mCimClass, "XCIM_Box");
        });
        EXPECT_EQ(support::countLogged(3, "generateURIs", "Entering"), 1);
    }
}

TEST_F(Concurrency, ThreadsShareTheDataCache)
{
    mMapping.Write(R"({"VexoBox": {"@odata.id": "/redfish/v1/VexoBox", "UniqueSelector": "Id",
        "mappings": {"XCIM_Box": {"properties": {"Id": {}, "Size": {"cim_type": "uint32"}}}}}})");
    openCache("create table Tbl_XCIM_Box (Id, Size); insert into Tbl_XCIM_Box values "
              "('0', 10), ('1', 11)");
    together([](int number) {
        for (int round = 0; round < 20; ++round) {
            support::Request request("/redfish/v1/VexoBox/" + std::to_string(number));
            Json::Value body;
            ASSERT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
            ASSERT_EQ(request.mapper.GetInstance(body, true), RM_OK);
            EXPECT_EQ(body["Size"].asInt(), 10 + number);
        }
    });
}

TEST_F(Concurrency, ThreadsEmbedDataOfTheirOwn)
{
    mMapping.Write(R"({
        "Rack": {"instances": {"Box": {}, "Lid": {"KeyRegex": "([0-9])$",
                                                  "QueryClause": "Box = '#p1'"}}},
        "Box": {"UniqueSelector": "Id", "mappings": {"XCIM_Box": {"is_cached": true,
            "key_properties": ["Id"], "properties": {"Size": {"cim_type": "uint32"}}}}},
        "Lid": {"mappings": {"XCIM_Lid": {"is_cached": true, "properties": {"Colour": {}}}}}})");
    openCache("create table Tbl_CMPIReady (ClassName); "
              "insert into Tbl_CMPIReady values ('XCIM_Box'), ('XCIM_Lid'); "
              "create table Tbl_XCIM_Box (Id, Size); create table Tbl_XCIM_Lid (Box, Colour); "
              "insert into Tbl_XCIM_Box values ('Box.0', 10), ('Box.1', 11); "
              "insert into Tbl_XCIM_Lid values ('0', 'red'), ('1', 'blue')");
    together([](int number) {
        for (int round = 0; round < 20; ++round) {
            std::string container = "Rack";
            std::string id = "Box." + std::to_string(number);
            Json::Value out;
            getResourceOemData(container.data(), id.data(), out);
            EXPECT_EQ(out["Box"]["Size"].asInt(), 10 + number);
            EXPECT_EQ(out["Lid"]["Colour"].asString(), number == 0 ? "red" : "blue");
        }
    });
}

TEST_F(Concurrency, ThreadsLogTogether)
{
    together([](int number) {
        for (int line = 0; line < 100; ++line) {
            logMessage(1, "File.cpp", line, "f", "thread %d", number);
        }
    });
    EXPECT_EQ(support::countLogged(1, "f", "thread 0"), 100);
    EXPECT_EQ(support::countLogged(1, "f", "thread 1"), 100);
}

} // namespace
