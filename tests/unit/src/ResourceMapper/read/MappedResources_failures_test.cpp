#include "MappedResourcesTest.h"

#include <ostream>

namespace {

using support::json;
using support::messagesAtLevel;
using support::Request;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

class MappedResourceFailures : public support::MappedResourcesTest
{};

// A member between "Fan" and "Pump" that has no data for the id 2.
struct FailingMember
{
    const char* title;
    const char* name;
    const char* entry;
    std::vector<std::string> errors; // the messages at level 1
    bool isRead;                     // whether it comes as far as to be looked for in the cache
};

void PrintTo(const FailingMember& member, std::ostream* stream)
{
    *stream << member.title;
}

class MemberWithoutData : public MappedResourceFailures,
                          public ::testing::WithParamInterface<FailingMember>
{
protected:
    MemberWithoutData()
    {
        addResource("Hose"); // without a table
        addResource("Hull"); // without properties
        classOf("Hull").removeMember("properties");
        mResources["Hull"].removeMember("UniqueSelector");
        addResource("Lamp"); // without a key to find it by
        mResources["Lamp"].removeMember("UniqueSelector");
    }

    void SetUp() override
    {
        MappedResourceFailures::SetUp();
        mCache.Run(table("Lamp", "('2', 1)") +
                   "delete from Tbl_XCIM_Lid where Slot = '2'; "
                   "insert into Tbl_CMPIReady values ('XCIM_Hose'), ('XCIM_Hull'), ('XCIM_Lamp')");
    }
};

TEST_P(MemberWithoutData, IsLeftOutAndTheOthersAreServed)
{
    const FailingMember& member = GetParam();
    embed(std::string(R"({"Fan": {}, "Pump": {}, ")") + member.name + "\": " + member.entry + "}");
    const Answer answer = mapped("2");
    EXPECT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.out.getMemberNames(), ElementsAre("Fan", "Pump"));
    EXPECT_EQ(answer.out["Fan"]["Speed"].asInt(), 1200);
    EXPECT_EQ(answer.out["Pump"]["Speed"].asInt(), 3200);
    EXPECT_THAT(messagesAtLevel(1), ElementsAreArray(member.errors));
    const std::string noData = std::string("No embedded data for ") + member.name;
    EXPECT_THAT(messagesAtLevel(4), Contains(noData).Times(member.isRead ? 1 : 0));
}

INSTANTIATE_TEST_SUITE_P(
    , MemberWithoutData,
    ::testing::Values(
        FailingMember{"resource that the mapping lacks",
                      "Gap",
                      "{}",
                      {"Resource not found in RMF", "CheckResource Failed for Gap. Ignored!"},
                      false},
        FailingMember{"expression that does not compile",
                      "Lid",
                      R"({"KeyRegex": "^(2"})",
                      {"REGEX Compilation failed for '^(2'"},
                      false},
        FailingMember{"expression that does not compile beside a query",
                      "Lid",
                      R"({"KeyRegex": "[", "QueryClause": "Slot = '1'"})",
                      {"REGEX Compilation failed for '['"},
                      false},
        FailingMember{"expression that does not match",
                      "Lid",
                      R"({"KeyRegex": "^(1)$"})",
                      {"REGEX Failed! Ignore and continue!"},
                      false},
        FailingMember{"expression that does not match beside a query",
                      "Lid",
                      R"({"KeyRegex": "^1$", "QueryClause": "Slot = '1'"})",
                      {"REGEX Failed! Ignore and continue!"},
                      false},
        FailingMember{"expression without a group",
                      "Lid",
                      R"({"KeyRegex": "^2$"})",
                      {"Failed to match regex"},
                      false},
        FailingMember{"expression whose first group is unmatched",
                      "Lid",
                      R"({"KeyRegex": "^(x)?(2)$"})",
                      {"Failed to match regex"},
                      false},
        FailingMember{"expression that is a number without a group",
                      "Lid",
                      R"({"KeyRegex": 2})",
                      {"Failed to match regex"},
                      false},
        FailingMember{"no row of the key",
                      "Lid",
                      "{}",
                      {"Rows returned is = 0 for get instance request",
                       "SQL query on get instance returned 0 rows"},
                      true},
        FailingMember{
            "no row that meets the condition",
            "Lid",
            R"({"QueryClause": "Slot = '#p1'"})",
            {"Rows returned is = 0 for get instance request", "SQL to Json conversion is failed"},
            true},
        FailingMember{"condition that is no SQL",
                      "Lid",
                      R"({"QueryClause": "Slot is is '#p1'"})",
                      {"SQL error while preparing Query",
                       "SQL Prepare statement failed for select Speed,Slot from Tbl_XCIM_Lid "
                       "where Slot is is '2' COLLATE NOCASE"},
                      true},
        FailingMember{"condition on a column that is not there",
                      "Lid",
                      R"({"QueryClause": "Depth = #p1"})",
                      {"SQL error while preparing Query",
                       "SQL Prepare statement failed for select Speed,Slot from Tbl_XCIM_Lid "
                       "where Depth = 2 COLLATE NOCASE"},
                      true},
        FailingMember{"class without properties by key",
                      "Hull",
                      "{}",
                      {"Properties are not present in RMF"},
                      true},
        FailingMember{"class without properties by condition",
                      "Hull",
                      R"({"QueryClause": "Slot = '#p1'"})",
                      {"Properties are not present in RMF"},
                      true},
        FailingMember{"table that is not there by key",
                      "Hose",
                      "{}",
                      {"SQL error while preparing Query",
                       "SQL Prepare statement failed for "
                       "select Speed,Slot from Tbl_XCIM_Hose where Slot = ?"},
                      true},
        FailingMember{"table that is not there by condition",
                      "Hose",
                      R"({"QueryClause": "Slot = '#p1'"})",
                      {"SQL error while preparing Query",
                       "SQL Prepare statement failed for select Speed,Slot from Tbl_XCIM_Hose "
                       "where Slot = '2' COLLATE NOCASE"},
                      true},
        FailingMember{"resource without a key by key",
                      "Lamp",
                      "{}",
                      {"SQL error while preparing Query",
                       "SQL Prepare statement failed for "
                       "select Speed from Tbl_XCIM_Lamp where  = ?"},
                      true}));

// A condition needs no key property.
TEST_F(MappedResourceFailures, ConditionReadsAClassOfAnyNumberOfKeys)
{
    for (const char* keys : {"[]", R"(["Slot", "Speed"])", "null"}) {
        classOf("Fan")["key_properties"] = json(keys);
        embed(R"({"Fan": {"QueryClause": "Slot = '#p1'"}})");
        EXPECT_EQ(mapped("2").out["Fan"]["Speed"].asInt(), 1200) << keys;
    }
}

// A condition on a collection finds no data of its members, only what describes the collection.
TEST_F(MappedResourceFailures, CollectionByConditionIsDescribedByItsOwnEntry)
{
    mResources["Fans"] = json(R"({"@odata.id": "/r/Fans", "@odata.type": "#Fans",
        "@odata.context": "/all", "is_collection": true, "mappings": {"Fan": {}}})");
    embed(R"({"Fans": {"QueryClause": "Slot = '#p1'"}, "Pump": {}})");
    const Answer answer = mapped("2");
    EXPECT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.out["Fans"],
                support::IsJson(R"({"@odata.context": "/all", "@odata.id": "/r/Fans",
                                    "@odata.type": "#Fans"})"));
    EXPECT_EQ(answer.out["Pump"]["Speed"].asInt(), 3200);
}

TEST_F(MappedResourceFailures, UnknownContainerAborts)
{
    embed(R"({"Fan": {}})");
    Request request("/", true);
    Json::Value out;
    EXPECT_ABORTS_AFTER("RM_OK == err", "Resource not found in RMF\n3|Leaving",
                        (void)request.mapper.GetMappedResources("Shelf", "2", out));
    EXPECT_ABORTS_AFTER("RM_OK == err", "Resource not found in RMF\n3|Leaving",
                        (void)request.mapper.GetMappedResources("", "2", out));
}

TEST_F(MappedResourceFailures, MissingMappingFileAborts)
{
    Request request("/", true);
    Json::Value out;
    EXPECT_ABORTS_AFTER("RM_OK == err",
                        "Resource Mapping file(" + mMapping.Path() + ") is not present\n3|Leaving",
                        (void)request.mapper.GetMappedResources("Rack", "2", out));
}

TEST_F(MappedResourceFailures, MalformedMappingFileAborts)
{
    mMapping.Write("{");
    Request request("/", true);
    Json::Value out;
    EXPECT_ABORTS_AFTER("RM_OK == err", "Invalid Json format\n3|Leaving",
                        (void)request.mapper.GetMappedResources("Rack", "2", out));
}

TEST_F(MappedResourceFailures, EmptyIdAsKeyAborts)
{
    embed(R"({"Fan": {}})");
    EXPECT_ABORTS("!s.empty()", (void)mapped(""));
}

TEST_F(MappedResourceFailures, KeyThatTheExpressionMakesEmptyAborts)
{
    embed(R"({"Fan": {"KeyRegex": "^Bay([0-9]*)$"}})");
    EXPECT_EQ(mapped("Bay2").out["Fan"]["Speed"].asInt(), 1200);
    EXPECT_ABORTS("!s.empty()", (void)mapped("Bay"));
}

TEST_F(MappedResourceFailures, ClassOfAnyOtherNumberOfKeysAbortsByKey)
{
    classOf("Fan")["is_cached"] = false; // the key comes first
    for (const char* keys : {"[]", R"(["Slot", "Speed"])", "null"}) {
        classOf("Fan")["key_properties"] = json(keys);
        embed(R"({"Fan": {}})");
        EXPECT_ABORTS("mResourceObj[MAPPINGS_KEY][mCimClass][KEYPROPERTIES_KEY].size() == 1",
                      (void)mapped("2"));
    }
}

TEST_F(MappedResourceFailures, CollectionByKeyAborts)
{
    mResources["Fans"] = json(R"({"is_collection": true, "mappings": {"Fan": {}}})");
    embed(R"({"Fans": {}})");
    EXPECT_ABORTS("mIsCollection == false", (void)mapped("2"));
}

TEST_F(MappedResourceFailures, ConditionOffTheMessageQueueAborts)
{
    embed(R"({"Fan": {"QueryClause": "Slot = '#p1'"}})");
    Request request("/");
    EXPECT_ABORTS("mIsZMQCall== true", (void)mapped(request, "2"));
}

TEST_F(MappedResourceFailures, CorruptCellAborts)
{
    mCache.Run("update Tbl_XCIM_Fan set Speed = 0.5");
    for (const char* instances :
         {R"({"Fan": {}})", R"({"Fan": {"QueryClause": "Slot = '#p1'"}})"}) {
        embed(instances);
        EXPECT_ABORTS_AFTER("status == SQLITE_OK", "Unrecognized data type for property Speed",
                            (void)mapped("2"));
    }
}

} // namespace
