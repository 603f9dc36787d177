// What a worker makes of requests that the data cache answers: of one state of it, however often
// its writer commits, and without taking what SQLite cannot read for what is not there.
#include "StderrFile.h"
#include "worker/request_handler.h"

#include <ExtendedErrorInfoHandling.h>
#include <ResourceMapper.h>
#include <TempDirectory.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/json.h>
#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <utility>

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kBoxMapping = R"({
    "VexoBox": {"@odata.id": "/r/VexoBox", "UniqueSelector": "Key",
                "Links": {"VexoEnclosureCollection": {}},
                "mappings": {"XCIM_Box": {"is_cached": true, "key_properties": ["Key"],
                             "properties": {"State": {"cim_type": "uint32"}}}}},
    "VexoBoxes": {"@odata.id": "/r/VexoBoxes", "is_collection": true, "supports_top_skip": true,
                  "mappings": {"VexoBox": {}}},
    "VexoBare": {"@odata.id": "/r/VexoBare", "UniqueSelector": "Key",
                 "mappings": {"XCIM_Bare": {"is_cached": true, "properties": {"A": {}}}}},
    "VexoLinked": {"@odata.id": "/r/VexoLinked", "Links": {"VexoEnclosureCollection": {}},
                   "mappings": {"XCIM_None": {}}},
    "Rack": {"instances": {"VexoBox": {}}}})";

// What the writer's number for a state of the cache is shown as in the answer's links.
std::string linkTo(const Json::Value& state)
{
    return "/redfish/v1/Vexo/Chassis/System.Embedded.1/VexoEnclosure/S." + state.asString();
}

Json::Value parsed(const std::string& text)
{
    Json::Value value;
    std::istringstream in(text);
    in >> value;
    return value;
}

using Database = std::unique_ptr<sqlite3, int (*)(sqlite3*)>;

class CachedRequests : public testing::Test
{
protected:
    void SetUp() override
    {
        ExtendedErrorInfoHandling::SetRegistryDirectory(REGISTRY_DIRECTORY);
        mRmfPath = std::exchange(ResourceMapper::RmfPath, mDirectory.File("mapping.json"));
        mCachePath = std::exchange(SQLInterface::DataCachePath, mDirectory.File("cache.db"));
        std::ofstream(ResourceMapper::RmfPath) << kBoxMapping;
        sqlite3* handle = nullptr;
        ASSERT_EQ(sqlite3_open(SQLInterface::DataCachePath.c_str(), &handle), SQLITE_OK);
        mWriter.reset(handle);
        write("pragma synchronous = off; create table Tbl_CMPIReady (ClassName);"
              "insert into Tbl_CMPIReady values ('XCIM_Bare');"
              "create table Tbl_XCIM_Box (Key, State);"
              "create table Tbl_xcim_enclosureemmdependency "
              "(__LeftClass, __LeftClassKey, __RightClass, __RightClassKey)");
        becomeNext();
    }

    void TearDown() override
    {
        sqlite3_close_v2(dbhandle);
        dbhandle = nullptr;
        forgetMapping();
        ResourceMapper::RmfPath = mRmfPath;
        SQLInterface::DataCachePath = mCachePath;
    }

    void write(const std::string& sql) const
    {
        ASSERT_EQ(sqlite3_exec(mWriter.get(), sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(mWriter.get());
    }

    // Brings the whole cache into its next state, by one transaction: a box more, all boxes and
    // their links with the state's number; in every other state boxes are not ready, and there are
    // none.
    void becomeNext()
    {
        std::ostringstream sql;
        sql << "begin immediate; delete from Tbl_CMPIReady where ClassName = 'XCIM_Box';"
               "delete from Tbl_XCIM_Box; delete from Tbl_xcim_enclosureemmdependency;";
        if (++mState % 2 != 0) {
            sql << "insert into Tbl_CMPIReady values ('XCIM_Box');";
            for (int box = 1; box <= mState; ++box) {
                sql << "insert into Tbl_XCIM_Box values ('B." << box << "', " << mState << ");"
                    << "insert into Tbl_xcim_enclosureemmdependency values ('L', 'B." << box
                    << "', 'R', 'S." << mState << "');";
            }
        }
        sql << "commit";
        write(sql.str());
    }

    // Lets the writer commit before each of the library's statements, until the object ends.
    class Commits
    {
    public:
        explicit Commits(CachedRequests& test) : mTest(test)
        {
            sqlite3_trace_v2(dbhandle, SQLITE_TRACE_STMT, commit, this);
        }
        ~Commits() { sqlite3_trace_v2(dbhandle, 0, nullptr, nullptr); }
        Commits(const Commits&) = delete;
        Commits& operator=(const Commits&) = delete;

        int count() const { return mCount; }

    private:
        static int commit(unsigned int /*event*/, void* context, void* /*statement*/,
                          void* /*text*/)
        {
            auto* const commits = static_cast<Commits*>(context);
            ++commits->mCount;
            commits->mTest.becomeNext();
            return 0;
        }

        CachedRequests& mTest;
        int mCount = 0;
    };

    httpd::Response get(const std::string& target)
    {
        std::optional<httpd::Response> response =
            host::handleRequest(host::ReadRequest{target}, mSources);
        EXPECT_TRUE(response.has_value());
        return response.value_or(httpd::Response());
    }

    std::string embedded(const std::string& id)
    {
        return host::handleRequest(host::EmbeddedDataRequest{"Rack", id}, mSources)->body;
    }

    // The answer of a resource that shows what the container embeds.
    httpd::Response composed(const std::string& id)
    {
        const std::string uri = "/redfish/v1/Chassis/A";
        Json::Value file;
        file[uri] = parsed(R"({"@odata.type": "#Chassis.v1_14_0.Chassis"})");
        file[uri]["Oem"] = parsed(R"({"embed": "Rack"})");
        file[uri]["Oem"]["id"] = id;
        mOwnResources.file = host::service_file::readServiceFile(file, parsed(kBoxMapping));
        std::optional<httpd::Response> response =
            host::handleRequest(host::ComposeRequest{{uri}}, mSources);
        EXPECT_TRUE(response.has_value());
        return response.value_or(httpd::Response());
    }

    // Expects that nothing keeps a writer with a rollback journal from its work.
    void expectNoLock() const
    {
        EXPECT_NE(sqlite3_get_autocommit(dbhandle), 0);
        write("begin exclusive; commit");
    }

    static void forgetMapping()
    {
        ResourceMapper::RmfFileLoaded = false;
        ResourceMapper::RmfObj = Json::Value();
    }

    support::TempDirectory mDirectory;
    std::string mRmfPath;
    std::string mCachePath;
    Database mWriter{nullptr, sqlite3_close};
    host::CacheNotice mNotice;
    host::service_file::ServiceResources mOwnResources;
    host::Sources mSources{mNotice, mOwnResources};
    int mState = 0;
};

class CachedAnswer : public CachedRequests
{
protected:
    void SetUp() override
    {
        CachedRequests::SetUp();
        write("pragma journal_mode = wal");
        ASSERT_EQ(get("/r/VexoBox/none").status, 404U); // opens the cache
    }
};

TEST_F(CachedAnswer, OfAnInstanceIsOfOneState)
{
    int ready = 0;
    for (int round = 0; round < 6; ++round) {
        const Commits commits(*this);
        const httpd::Response response = get("/r/VexoBox/B.1");
        EXPECT_GT(commits.count(), 1);
        if (response.status == 200) {
            const Json::Value box = parsed(response.body);
            const Json::Value& links = box["Links"]["VexoEnclosureCollection"];
            ASSERT_EQ(links.size(), 1U);
            EXPECT_EQ(links[0U]["@odata.id"].asString(), linkTo(box["State"]));
            ++ready;
        } else {
            EXPECT_EQ(response.status, 503U) << response.body; // never 404
        }
    }
    EXPECT_GT(ready, 0);
}

TEST_F(CachedAnswer, OfACollectionIsOfOneState)
{
    int ready = 0;
    for (int round = 0; round < 6; ++round) {
        const Commits commits(*this);
        const httpd::Response response = get("/r/VexoBoxes?$skip=1");
        EXPECT_GT(commits.count(), 1);
        if (response.status != 200) {
            EXPECT_EQ(response.status, 503U) << response.body;
            continue;
        }
        ++ready;
        const Json::Value body = parsed(response.body);
        const int count = body["Members@odata.count"].asInt();
        EXPECT_EQ(static_cast<int>(body["Members"].size()), count - 1);
        for (const Json::Value& box : body["Members"]) {
            EXPECT_EQ(box["State"].asInt(), count);
            EXPECT_EQ(box["Links"]["VexoEnclosureCollection"][0U]["@odata.id"].asString(),
                      linkTo(box["State"]));
        }
    }
    EXPECT_GT(ready, 0);
}

TEST_F(CachedAnswer, OfEmbeddedDataIsOfOneState)
{
    int ready = 0;
    for (int round = 0; round < 6; ++round) {
        const Commits commits(*this);
        const Json::Value data = parsed(embedded("B.1"));
        if (data.isMember("error")) {
            EXPECT_EQ(data["error"]["reason"].asString(), "NotCached");
            continue;
        }
        ++ready;
        const Json::Value& box = data["VexoBox"];
        EXPECT_EQ(box["Links"]["VexoEnclosureCollection"][0U]["@odata.id"].asString(),
                  linkTo(box["State"]));
    }
    EXPECT_GT(ready, 0);
}

std::set<sqlite3_stmt*> openStatements()
{
    std::set<sqlite3_stmt*> statements;
    for (sqlite3_stmt* statement = sqlite3_next_stmt(dbhandle, nullptr); statement != nullptr;
         statement = sqlite3_next_stmt(dbhandle, statement)) {
        statements.insert(statement);
    }
    return statements;
}

TEST_F(CachedAnswer, IsReadInATransactionWhoseStatementsStayPrepared)
{
    const std::set<sqlite3_stmt*> ofTheFirst = openStatements();
    // Begin, take the state, commit; whether boxes are ready, which one it is.
    EXPECT_THAT(ofTheFirst, testing::SizeIs(5));
    EXPECT_EQ(get("/r/VexoBox/none").status, 404U);
    EXPECT_EQ(get("/r/VexoBox/none").status, 404U);
    EXPECT_EQ(openStatements(), ofTheFirst);
}

TEST_F(CachedAnswer, OfAnotherConnectionIsReadByStatementsOfItsOwn)
{
    sqlite3_close_v2(dbhandle);
    ASSERT_EQ(LoadDatabase(), SQLITE_OK);
    EXPECT_EQ(get("/r/VexoBox/B.1").status, 200U);
    EXPECT_THAT(openStatements(), testing::SizeIs(6)); // one more for the link
    expectNoLock();
}

TEST_F(CachedAnswer, OfATableThatIsAnotherOneIsReadByItsColumns)
{
    EXPECT_EQ(parsed(get("/r/VexoBox/B.1").body)["State"], 1);
    write("begin; drop table Tbl_XCIM_Box; create table Tbl_XCIM_Box (Other, State, Key);"
          "insert into Tbl_XCIM_Box values (7, 8, 'B.1'); commit");
    EXPECT_EQ(parsed(get("/r/VexoBox/B.1").body)["State"], 8);
    write("drop table Tbl_XCIM_Box");
    EXPECT_EQ(get("/r/VexoBox/B.1").status, 500U);
    write("create table Tbl_XCIM_Box (Key, State); insert into Tbl_XCIM_Box values ('B.1', 9)");
    EXPECT_EQ(parsed(get("/r/VexoBox/B.1").body)["State"], 9);
}

TEST_F(CachedRequests, LeaveNoTransactionOpen)
{
    const std::pair<const char*, unsigned int> targets[] = {{"/r/VexoBox/B.1", 200},
                                                            {"/r/VexoBoxes", 200},
                                                            {"/r/VexoBox/none", 404},
                                                            {"/r/VexoBoxes?$top=0", 400},
                                                            {"/r/VexoBox/B.1?$select=X", 400},
                                                            {"/r/VexoBoxes?$filter=x", 501},
                                                            {"/r/VexoBare/1", 500}};
    for (const auto& [target, status] : targets) {
        SCOPED_TRACE(target);
        EXPECT_EQ(get(target).status, status);
        expectNoLock();
    }
    (void)embedded("B.1");
    expectNoLock();
    becomeNext(); // boxes are not ready
    EXPECT_EQ(get("/r/VexoBoxes").status, 503U);
    expectNoLock();
}

class UnreadableCache : public CachedRequests
{
protected:
    void SetUp() override
    {
        CachedRequests::SetUp();
        ASSERT_EQ(get("/r/VexoBox/B.1").status,
                  200U); // opens the cache, whose layout is known then
        mErrors.emplace(mDirectory.File("stderr"));
    }

    void expectUnavailable(const std::string& target, const std::string& remark)
    {
        const httpd::Response response = get(target);
        EXPECT_EQ(response.status, 503U);
        const auto retryAfter = std::count_if(
            response.headers.begin(), response.headers.end(), [](const httpd::Header& header) {
                return header.name == "Retry-After" && header.value == "5";
            });
        EXPECT_EQ(retryAfter, 1);
        EXPECT_THAT(response.remark, StartsWith(remark));
        EXPECT_NE(sqlite3_get_autocommit(dbhandle), 0);
    }

    std::optional<StderrFile> mErrors;
};

TEST_F(UnreadableCache, ThatIsLockedForLongIsUnavailable)
{
    ASSERT_EQ(sqlite3_busy_timeout(dbhandle, 1), SQLITE_OK);
    write("begin exclusive");
    expectUnavailable("/r/VexoBox/B.1", "cannot read Tbl_CMPIReady: database is locked");
    expectUnavailable("/r/VexoBoxes", "cannot read Tbl_CMPIReady: database is locked");
    write("commit");
    EXPECT_EQ(get("/r/VexoBox/B.1").status, 200U);
    EXPECT_THAT(mErrors->text(), Not(HasSubstr("the data cache " + SQLInterface::DataCachePath)));
}

TEST_F(UnreadableCache, WithADamagedPageHasNoAnswerForWhoNeedsIt)
{
    write("with recursive number (n) as (select 1 union all select n + 1 from number "
          "where n < 400) insert into Tbl_XCIM_Box select 'Filler.' || n, n from number");
    {
        std::ifstream in(SQLInterface::DataCachePath, std::ios::binary);
        std::string content(std::istreambuf_iterator<char>(in), {});
        constexpr size_t kPageBytes = 4096;
        const size_t page = content.find("Filler.399") / kPageBytes;
        content.replace(page * kPageBytes, kPageBytes, kPageBytes, '\xff');
        ++content[27]; // counts changes, so that readers look again
        std::ofstream(SQLInterface::DataCachePath, std::ios::binary) << content;
    }
    const std::string remark = "cannot read Tbl_XCIM_Box: database disk image is malformed (entry "
                               "VexoBox, class XCIM_Box)";
    expectUnavailable("/r/VexoBox/Filler.399", remark);
    expectUnavailable("/r/VexoBox/never.was", remark);
    EXPECT_EQ(get("/r/VexoBox/B.1").status, 200U);
    const httpd::Response shown = composed("Filler.399");
    EXPECT_TRUE(parsed(shown.body)["Oem"].isNull()) << shown.body;
    EXPECT_THAT(shown.remark, StartsWith("VexoBox: cannot read Tbl_XCIM_Box: database disk image "
                                         "is malformed"));
    EXPECT_FALSE(shown.mayBeKept);
}

TEST_F(UnreadableCache, WithoutReadinessIsToldOnce)
{
    write("alter table Tbl_CMPIReady rename to Elsewhere");
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(get("/r/VexoBox/B.1").status, 503U);
        EXPECT_EQ(get("/r/VexoBoxes").status, 503U);
    }
    write("alter table Elsewhere rename to Tbl_CMPIReady");
    EXPECT_EQ(get("/r/VexoBox/B.1").status, 200U);
    EXPECT_EQ(get("/r/VexoBox/B.1").status, 200U);
    const std::string told = mErrors->text();
    const std::string cache = "cimgated: the data cache " + SQLInterface::DataCachePath;
    const size_t gone = told.find(cache + " cannot be read: no such table: Tbl_CMPIReady");
    const size_t back = told.find(cache + " can be read again");
    ASSERT_NE(gone, std::string::npos) << told;
    ASSERT_NE(back, std::string::npos) << told;
    EXPECT_EQ(told.find(cache), gone);
    EXPECT_EQ(told.find(cache, gone + 1), back);
    EXPECT_EQ(told.find(cache, back + 1), std::string::npos);
}

// Whoever asks for what a container embeds.
TEST_F(UnreadableCache, WithoutReadinessIsToldByReadsOfContainers)
{
    write("alter table Tbl_CMPIReady rename to Elsewhere");
    const httpd::Response shown = composed("B.1");
    EXPECT_TRUE(parsed(shown.body)["Oem"].isNull()) << shown.body;
    EXPECT_THAT(shown.remark, StartsWith("VexoBox is not ready in the data cache"));
    EXPECT_FALSE(shown.mayBeKept);
    const std::string problem = "cannot be read: no such table: Tbl_CMPIReady";
    EXPECT_THAT(mErrors->text(), HasSubstr(problem));
    EXPECT_EQ(parsed(embedded("B.1"))["error"]["reason"].asString(), "NotCached");
    const std::string told = mErrors->text();
    EXPECT_EQ(told.find(problem), told.rfind(problem)) << told;
}

TEST_F(CachedRequests, WithoutACacheAreUnavailableAndNoOthers)
{
    mWriter.reset();
    std::filesystem::remove(SQLInterface::DataCachePath);
    const StderrFile errors(mDirectory.File("stderr"));
    for (const char* target : {"/r/VexoBox/B.1", "/r/VexoBoxes", "/r/VexoLinked"}) {
        EXPECT_EQ(get(target).status, 503U) << target;
    }
    EXPECT_EQ(get("/r/VexoNone").status, 404U);
    EXPECT_EQ(parsed(embedded("B.1"))["error"]["reason"].asString(), "Busy");
    const auto posted = host::handleRequest(host::ActionRequest{"/r/VexoBox/B.1", "{}"}, mSources);
    EXPECT_EQ(posted->status, 503U);
    EXPECT_EQ(dbhandle, nullptr);
}

} // namespace
