#include "MappedResourcesTest.h"

#include <ostream>

namespace {

using support::countLogged;
using support::json;
using support::logged;
using support::messagesAtLevel;
using support::Request;
using support::StatementTrace;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Not;

class MappedResourceReadiness : public support::MappedResourcesTest
{};

// A member between "Fan" and "Pump" whose class is not ready in the cache.
struct UnreadyMember
{
    const char* title;
    const char* name;
    const char* entry;
    bool isLookedUp; // in the readiness table
};

void PrintTo(const UnreadyMember& member, std::ostream* stream)
{
    *stream << member.title;
}

class MemberThatIsNotCached : public MappedResourceReadiness,
                              public ::testing::WithParamInterface<UnreadyMember>
{
protected:
    MemberThatIsNotCached()
    {
        addResource("Gate");
        classOf("Gate")["is_cached"] = false;
        addResource("Hook");
        classOf("Hook").removeMember("is_cached");
        addResource("Lamp"); // without a row in the readiness table
    }

    void SetUp() override
    {
        MappedResourceReadiness::SetUp();
        mCache.Run(table("Gate", "('2', 1)") + table("Hook", "('2', 1)") +
                   table("Lamp", "('2', 1)") +
                   "insert into Tbl_CMPIReady values ('XCIM_Gate'), ('XCIM_Hook'), (null)");
    }
};

TEST_P(MemberThatIsNotCached, EndsTheReadAfterWhatCameBefore)
{
    const UnreadyMember& member = GetParam();
    embed(std::string(R"({"Fan": {}, "Pump": {}, ")") + member.name + "\": " + member.entry + "}");
    const StatementTrace trace;
    Request request("/", true);
    const Answer answer = mapped(request, "2");
    EXPECT_EQ(answer.result, RM_DATA_NOT_CACHED);
    EXPECT_EQ(static_cast<int>(answer.result), 18);
    EXPECT_THAT(answer.out.getMemberNames(), ElementsAre("Fan"));
    EXPECT_EQ(answer.out["Fan"]["Speed"].asInt(), 1200);
    std::vector<std::string> statements = {readinessOf("Fan"), selectOf("Fan", " where Slot = ?")};
    if (member.isLookedUp) {
        statements.push_back(readinessOf(member.name));
    }
    EXPECT_THAT(trace.Texts(), ElementsAreArray(statements));
    EXPECT_EQ(countLogged(3, "IsCached", "Entry not present in meta table"),
              member.isLookedUp ? 1 : 0);
    EXPECT_THAT(messagesAtLevel(1), IsEmpty());
    EXPECT_THAT(messagesAtLevel(4), Not(Contains("Got Key Pump")));
    EXPECT_FALSE(logged(4, std::string("No embedded data for ") + member.name));
    EXPECT_EQ(request.scope.GetHeaderCount(), 0U);
    EXPECT_EQ(request.mapper.mOemResourceName, member.name);
}

INSTANTIATE_TEST_SUITE_P(
    , MemberThatIsNotCached,
    ::testing::Values(UnreadyMember{"class that is not cached by key", "Gate", "{}", false},
                      UnreadyMember{"class that is not cached by condition", "Gate",
                                    R"({"QueryClause": "Slot = '#p1'"})", false},
                      UnreadyMember{"class that says nothing of the cache by key", "Hook",
                                    R"({"KeyRegex": "^(.*)$"})", false},
                      UnreadyMember{"class that says nothing of the cache by condition", "Hook",
                                    R"({"KeyRegex": "^(.*)$", "QueryClause": "Slot = '#p1'"})",
                                    false},
                      UnreadyMember{"class without a readiness row by key", "Lamp", "{}", true},
                      UnreadyMember{"class without a readiness row by condition", "Lamp",
                                    R"({"QueryClause": "Slot = '#p1'"})", true}));

TEST_F(MappedResourceReadiness, MissingReadinessTableIsDataThatIsNotCached)
{
    mCache.Run("drop table Tbl_CMPIReady");
    embed(R"({"Fan": {}})");
    const Answer answer = mapped("2");
    EXPECT_EQ(answer.result, RM_DATA_NOT_CACHED);
    EXPECT_TRUE(answer.out.isNull());
}

TEST_F(MappedResourceReadiness, ReadinessRowCountsInAnyCase)
{
    mCache.Run("update Tbl_CMPIReady set ClassName = 'xcim_fAN' where ClassName = 'XCIM_Fan'");
    embed(R"({"Fan": {}})");
    const Answer answer = mapped("2");
    EXPECT_EQ(answer.result, RM_OK);
    EXPECT_EQ(answer.out["Fan"]["Speed"].asInt(), 1200);
}

TEST_F(MappedResourceReadiness, MemberThatIsSkippedNeedNotBeCached)
{
    classOf("Lid")["is_cached"] = false;
    embed(R"({"Fan": {}, "Lid": {"KeyRegex": "^no$"}, "Pump": {}})");
    const Answer answer = mapped("2");
    EXPECT_EQ(answer.result, RM_OK);
    EXPECT_THAT(answer.out.getMemberNames(), ElementsAre("Fan", "Pump"));
}

TEST_F(MappedResourceReadiness, CollectionByKeyThatIsNotCachedIsNotReached)
{
    mResources["Fans"] = json(R"({"is_collection": true, "mappings": {"Fan": {}}})");
    classOf("Fan")["is_cached"] = false;
    embed(R"({"Fans": {}})");
    EXPECT_EQ(mapped("2").result, RM_DATA_NOT_CACHED);
}

} // namespace
