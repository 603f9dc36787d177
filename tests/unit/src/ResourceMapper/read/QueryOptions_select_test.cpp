#include "LibraryTest.h"

namespace {

using support::IsJson;
using support::json;
using support::loggedAnywhere;
using support::Request;

constexpr const char* kEntry = R"({
    "Links": {"Chassis": {"Fans": {}}, "Drives": [], "Text": "t"},
    "mappings": {"XCIM_Box": {"properties": {
        "Name": {}, "Size": {"alias": ""}, "Speed": {"alias": "SpeedRPM"},
        "Mode": {"alias": "Operation"}}}}
})";

class SelectMatching : public support::LibraryTest
{
protected:
    SelectMatching() : mRequest("/r/X")
    {
        mRequest.mapper.mResourceObj = json(kEntry);
        mRequest.mapper.mCimClass = "XCIM_Box";
    }

    // Matches a list against the class's properties.
    _ResourceMapperError match(const Json::Value& selectList)
    {
        return mRequest.mapper.MatchQueryParamAndPropList(
            json(R"(["Mode", "Name", "Size", "Speed"])"), selectList, mMatched, mSelectAll);
    }
    _ResourceMapperError match(const char* selectList) { return match(json(selectList)); }

    // Checks that an item is refused under this name.
    void expectRefused(const std::string& item, const std::string& argument)
    {
        mRequest.mapper.mErrorArgs = Json::Value();
        Json::Value selectList(Json::arrayValue);
        selectList.append(item);
        EXPECT_EQ(match(selectList), RM_PROPERTY_UNKNOWN) << item;
        EXPECT_EQ(mRequest.mapper.mErrorArgs["p1"].asString(), argument) << item;
    }

    Request mRequest;
    Json::Value mMatched = Json::Value(Json::arrayValue);
    bool mSelectAll = false;
};

TEST_F(SelectMatching, EmptyListChangesNothing)
{
    EXPECT_EQ(match("[]"), RM_OK);
    EXPECT_EQ(match("null"), RM_OK);
    EXPECT_TRUE(mRequest.mapper.mShowLinks);
    EXPECT_TRUE(mMatched.empty());
    EXPECT_FALSE(mSelectAll);
}

TEST_F(SelectMatching, PropertyIsMatchedByItsName)
{
    EXPECT_EQ(match(R"(["Size", "Name"])"), RM_OK);
    EXPECT_THAT(mMatched, IsJson(R"(["Size", "Name"])"));
    EXPECT_FALSE(mRequest.mapper.mShowLinks);
    EXPECT_FALSE(mSelectAll);
}

TEST_F(SelectMatching, PropertyWithAnAliasIsMatchedByTheAliasAlone)
{
    EXPECT_EQ(match(R"(["SpeedRPM"])"), RM_OK);
    EXPECT_THAT(mMatched, IsJson(R"(["Speed"])"));
    expectRefused("Speed", "Speed");
}

TEST_F(SelectMatching, AliasThatDoesNotBeginWithThePropertysNameCannotBeSelected)
{
    expectRefused("Operation", "Operation");
    expectRefused("Mode", "Mode");
}

TEST_F(SelectMatching, OnlyWholeNamesMatch)
{
    for (const char* item : {"Names", "Nam", "name", "Size ", "SpeedRPMs", "", "Colour"}) {
        expectRefused(item, item);
    }
    EXPECT_TRUE(mMatched.empty());
}

TEST_F(SelectMatching, StarSelectsAllAndShowsLinks)
{
    EXPECT_EQ(match(R"(["Name", "*"])"), RM_OK);
    EXPECT_TRUE(mSelectAll);
    EXPECT_TRUE(mRequest.mapper.mShowLinks);
    EXPECT_THAT(mMatched, IsJson(R"(["Name"])"));
}

TEST_F(SelectMatching, StarDoesNotExcuseAnUnknownItem)
{
    EXPECT_EQ(match(R"(["*", "Colour"])"), RM_PROPERTY_UNKNOWN);
    EXPECT_THAT(mRequest.mapper.mErrorArgs, IsJson(R"({"p1": "Colour"})"));
}

TEST_F(SelectMatching, CommonPropertiesAndActionsAreAcceptedSilently)
{
    EXPECT_EQ(match(R"(["Id", "Description", "@odata.id", "@odata.type", "@odata.context",
                        "Actions", "Actions/#S.Run", "MyActions"])"),
              RM_OK);
    EXPECT_TRUE(mMatched.empty());
    EXPECT_FALSE(mRequest.mapper.mShowLinks);
}

TEST_F(SelectMatching, LinksAloneSelectsEveryLink)
{
    EXPECT_EQ(match(R"(["Links"])"), RM_OK);
    EXPECT_TRUE(mRequest.mapper.mShowLinks);
    EXPECT_TRUE(mRequest.mapper.mSelectedLinks.empty());
    EXPECT_TRUE(mMatched.empty());
}

TEST_F(SelectMatching, AnyItemWithLinksInItIsALinksItem)
{
    EXPECT_EQ(match(R"(["MyLinks"])"), RM_OK);
    EXPECT_TRUE(mRequest.mapper.mShowLinks);
    expectRefused("Chassis/Links", "Links");
}

TEST_F(SelectMatching, LinkIsSelectedByName)
{
    EXPECT_EQ(match(R"(["Links/Drives", "Links/Chassis"])"), RM_OK);
    EXPECT_THAT(mRequest.mapper.mSelectedLinks, IsJson(R"(["Drives", "Chassis"])"));
    EXPECT_TRUE(mRequest.mapper.mShowLinks);
    EXPECT_TRUE(loggedAnywhere("Links select Drives"));
    EXPECT_TRUE(loggedAnywhere("Links select Chassis"));
}

TEST_F(SelectMatching, MemberOfALinkSelectsTheLink)
{
    EXPECT_EQ(match(R"(["Links/Chassis/Fans"])"), RM_OK);
    EXPECT_THAT(mRequest.mapper.mSelectedLinks, IsJson(R"(["Chassis"])"));
}

TEST_F(SelectMatching, UnknownLinkIsRefusedByWhatFollowsTheFirstSlash)
{
    expectRefused("Links/Doors", "Doors");
    expectRefused("Links/", "");
    expectRefused("Links/Chassis/Doors", "Chassis/Doors");
    expectRefused("Links/Chassis/", "Chassis/");
    expectRefused("Links/Chassis/Fans/1", "Chassis/Fans/1");
    expectRefused("Links/Doors/Fans", "Doors/Fans");
    expectRefused("Links//", "/");
    EXPECT_TRUE(mRequest.mapper.mSelectedLinks.empty());
}

TEST_F(SelectMatching, LinkThatIsNoObjectHasNoMembers)
{
    expectRefused("Links/Drives/1", "Drives/1");
    expectRefused("Links/Text/t", "Text/t");
}

TEST_F(SelectMatching, LinksOfAResourceWithoutLinksAreRefusedWhole)
{
    mRequest.mapper.mResourceObj.removeMember("Links");
    expectRefused("Links", "Links");
    expectRefused("Links/Chassis", "Links/Chassis");
}

TEST_F(SelectMatching, CollectionHasNoLinksAndNoStarForThem)
{
    mRequest.mapper.mIsCollection = true;
    EXPECT_EQ(match(R"(["*"])"), RM_OK);
    EXPECT_TRUE(mSelectAll);
    EXPECT_FALSE(mRequest.mapper.mShowLinks);
    expectRefused("Links", "Links");
    expectRefused("Links/Chassis", "Links/Chassis");
}

TEST_F(SelectMatching, CollectionPartsAreMatchedWhole)
{
    mRequest.mapper.mIsCollection = true;
    EXPECT_EQ(mRequest.mapper.MatchQueryParamAndPropList(
                  json(R"(["Members", "Members@odata.count", "Members@odata.nextLink"])"),
                  json(R"(["Members@odata.count"])"), mMatched, mSelectAll),
              RM_OK);
    EXPECT_THAT(mMatched, IsJson(R"(["Members@odata.count"])"));
}

} // namespace
