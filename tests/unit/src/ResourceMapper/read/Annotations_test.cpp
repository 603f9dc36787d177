#include "LibraryTest.h"

namespace {

using support::IsJson;
using support::json;
using support::logged;
using support::loggedAnywhere;
using support::Request;

class Annotations : public support::LibraryTest
{
protected:
    Annotations() : mRequest("/r/X") { describe(mRequest.mapper); }

    static void describe(ResourceMapper& mapper)
    {
        mapper.mOemResourceName = "VexoBox";
        mapper.mCimClass = "XCIM_Box";
        mapper.mResourceObj = json(R"({
            "@odata.id": "/r/VexoBox", "@odata.type": "#Box", "@odata.context": "/ctx",
            "Name": "Box", "Description": "A box", "UniqueSelector": "Key",
            "Link_Header": "</box>", "allowed_operations": ["GET"],
            "mappings": {"XCIM_Box": {"Actions": {"#Box.Open": {"target": "/open"}}}}})");
    }

    // What an object becomes as the answer to an instance request.
    Json::Value annotated(const std::string& object, const std::string& selectList = "null")
    {
        Json::Value result = json(object);
        EXPECT_EQ(mRequest.mapper.AddOdataMetaData(result, true, json(selectList), true), RM_OK);
        return result;
    }

    Request mRequest;
};

TEST_F(Annotations, InstanceGetsThemAll)
{
    EXPECT_THAT(annotated(R"({"Key": "7", "Size": 1})"), IsJson(R"({
        "@odata.context": "/ctx", "@odata.id": "/r/VexoBox/7", "@odata.type": "#Box",
        "Actions": {"#Box.Open": {"target": "/open"}}, "Description": "A box", "Id": "7",
        "Key": "7", "Name": "Box", "Size": 1})"));
    EXPECT_TRUE(loggedAnywhere(" SelectorSet 7"));
    EXPECT_EQ(mRequest.Header("Allow"), "GET");
    EXPECT_EQ(mRequest.Header("Link"), "</box>");
}

TEST_F(Annotations, IsRequestedIsNotRead)
{
    Json::Value requested = json(R"({"Key": "7"})");
    Json::Value other = requested;
    EXPECT_EQ(mRequest.mapper.AddOdataMetaData(requested, true, Json::Value(), true), RM_OK);
    EXPECT_EQ(mRequest.mapper.AddOdataMetaData(other, false, Json::Value(), true), RM_OK);
    EXPECT_EQ(requested, other);
}

TEST_F(Annotations, NumericKeyIsWrittenAsText)
{
    const Json::Value result = annotated(R"({"Key": 7})");
    EXPECT_EQ(result["@odata.id"].asString(), "/r/VexoBox/7");
    EXPECT_EQ(result["Id"], Json::Value("7"));
}

TEST_F(Annotations, HashInTheKeyIsEscapedInTheIdAlone)
{
    const Json::Value result = annotated(R"({"Key": "Disk#1"})");
    EXPECT_EQ(result["@odata.id"].asString(), "/r/VexoBox/Disk%231");
    EXPECT_EQ(result["Id"].asString(), "Disk#1");
}

TEST_F(Annotations, ObjectWithoutKeyIsNamedAfterItsResource)
{
    const Json::Value result = annotated("{}");
    EXPECT_EQ(result["Id"].asString(), "VexoBox");
    EXPECT_EQ(result["@odata.id"].asString(), "/r/VexoBox/");
    EXPECT_FALSE(result.isMember("Key"));
}

TEST_F(Annotations, ResourceWithoutKeyHasItsUriAsId)
{
    mRequest.mapper.mResourceObj.removeMember("UniqueSelector");
    EXPECT_EQ(annotated(R"({"Key": "7"})")["@odata.id"].asString(), "/r/VexoBox");
}

TEST_F(Annotations, MissingOnesAreEmptyTexts)
{
    mRequest.mapper.mResourceObj = json("{}");
    EXPECT_THAT(annotated("{}"), IsJson(R"({
        "@odata.context": "", "@odata.id": "", "@odata.type": "", "Description": "",
        "Id": "VexoBox", "Name": ""})"));
    for (const char* key : {"@odata.id", "@odata.type", "@odata.context", "Name", "Description",
                            "Link_Header", "allowed_operations"}) {
        EXPECT_TRUE(logged(1, std::string(key) + " metadata is missing in RMF"));
    }
    EXPECT_TRUE(loggedAnywhere("Empty URI"));
}

TEST_F(Annotations, SelectChoosesIdNameAndDescription)
{
    const auto members = [this](const std::string& selectList) {
        const Json::Value result = annotated("{}", selectList);
        std::string found;
        for (const char* name : {"Description", "Id", "Name"}) {
            found += result.isMember(name) ? name[0] : '-';
        }
        EXPECT_EQ(result["@odata.type"].asString(), "#Box");
        EXPECT_EQ(result["@odata.context"].asString(), "/ctx");
        EXPECT_TRUE(result.isMember("@odata.id"));
        return found;
    };
    EXPECT_EQ(members("null"), "DIN");
    EXPECT_EQ(members("[]"), "DIN");
    EXPECT_EQ(members(R"(["*"])"), "DIN");
    EXPECT_EQ(members(R"(["Size", "*"])"), "DIN");
    EXPECT_EQ(members(R"(["Id"])"), "-I-");
    EXPECT_EQ(members(R"(["Name"])"), "--N");
    EXPECT_EQ(members(R"(["Size", "Description"])"), "D--");
    EXPECT_EQ(members(R"(["Size"])"), "---");
    EXPECT_EQ(members(R"(["id", "Names"])"), "---");
}

TEST_F(Annotations, MappedNameWins)
{
    EXPECT_EQ(annotated(R"({"Name": "Mapped"})")["Name"].asString(), "Mapped");
    EXPECT_EQ(annotated(R"({"Name": "Mapped"})", R"(["Name"])")["Name"].asString(), "Mapped");
    EXPECT_EQ(annotated("{}", R"(["Name"])")["Name"].asString(), "Box");
}

TEST_F(Annotations, MappedDescriptionAndIdAreReplaced)
{
    const Json::Value result = annotated(R"({"Key": "7", "Description": "x", "Id": "x"})");
    EXPECT_EQ(result["Description"].asString(), "A box");
    EXPECT_EQ(result["Id"].asString(), "7");
}

TEST_F(Annotations, OnTheMessageQueueNamesAndHeadersAreLeftOut)
{
    Request queued("/r/X", true);
    describe(queued.mapper);
    Json::Value object = json(R"({"Key": "7"})");
    EXPECT_EQ(queued.mapper.AddOdataMetaData(object, true, Json::Value(), true), RM_OK);
    EXPECT_THAT(object, IsJson(R"({
        "@odata.context": "/ctx", "@odata.id": "/r/VexoBox/7", "@odata.type": "#Box",
        "Actions": {"#Box.Open": {"target": "/open"}}, "Key": "7"})"));
    EXPECT_EQ(queued.scope.GetHeaderCount(), 0U);
}

TEST_F(Annotations, MemberOfACollectionHasNoActionsAndNoHeaders)
{
    mRequest.mapper.mIsCollection = true;
    Json::Value member = json(R"({"Key": "7"})");
    EXPECT_EQ(mRequest.mapper.AddOdataMetaData(member, true, Json::Value(), false), RM_OK);
    EXPECT_THAT(member, IsJson(R"({
        "@odata.context": "/ctx", "@odata.id": "/r/VexoBox/7", "@odata.type": "#Box",
        "Description": "A box", "Id": "7", "Key": "7", "Name": "Box"})"));
    EXPECT_EQ(mRequest.scope.GetHeaderCount(), 0U);
}

TEST_F(Annotations, LinksAreAddedOnlyWhenShown)
{
    mRequest.mapper.mResourceObj["Links"]["ComputerSystem"] = "/r/System";
    EXPECT_THAT(annotated("{}")["Links"], IsJson(R"({"ComputerSystem": "/r/System"})"));
    mRequest.mapper.mShowLinks = false;
    EXPECT_FALSE(annotated("{}").isMember("Links"));
}

TEST_F(Annotations, StarKeepsAllActions)
{
    EXPECT_TRUE(annotated("{}", R"(["Actions/#No", "*"])")["Actions"].isMember("#Box.Open"));
}

TEST_F(Annotations, SelectedActionThatDoesNotExistIsRefused)
{
    Json::Value object = json("{}");
    EXPECT_EQ(
        mRequest.mapper.AddOdataMetaData(object, true, json(R"(["Size", "Actions/#No"])"), true),
        RM_PROPERTY_UNKNOWN);
    EXPECT_THAT(mRequest.mapper.mErrorArgs, IsJson(R"({"p1": "Actions/#No"})"));
}

TEST_F(Annotations, ActionsOfTheClassAreCopiedUnchanged)
{
    mRequest.mapper.mResourceObj = json(R"({"mappings": {
        "XCIM_Box": {"Actions": {"#A": {"target": "/a b#c", "inputs": {"x": {}}}}},
        "XCIM_Other": {"Actions": {"#B": {}}}}})");
    Json::Value object;
    mRequest.mapper.AddActions(object);
    EXPECT_THAT(object,
                IsJson(R"({"Actions": {"#A": {"target": "/a b#c", "inputs": {"x": {}}}}})"));
}

TEST_F(Annotations, ClassWithoutActionsGetsNone)
{
    for (const char* entry : {R"({"mappings": {"XCIM_Box": {"Actions": {}}}})",
                              R"({"mappings": {"XCIM_Box": {}}})", "{}"}) {
        mRequest.mapper.mResourceObj = json(entry);
        Json::Value object = json("{}");
        mRequest.mapper.AddActions(object);
        EXPECT_THAT(object, IsJson("{}"));
    }
}

TEST_F(Annotations, HashesOfAUriAreEscaped)
{
    const std::pair<const char*, const char*> cases[] = {{"/a", "/a"},
                                                         {"#", "%23"},
                                                         {"/a#b#c", "/a%23b%23c"},
                                                         {"##", "%23%23"},
                                                         {"a b%23?", "a b%23?"}};
    for (const auto& [text, encoded] : cases) {
        std::string uri = text;
        mRequest.mapper.EncodeSpecialChars(uri);
        EXPECT_EQ(uri, encoded);
        EXPECT_TRUE(loggedAnywhere(std::string("Encoded Uri Segment: ") + encoded));
    }
}

TEST_F(Annotations, EachEscapeIsLogged)
{
    std::string uri = "a#b#c";
    mRequest.mapper.EncodeSpecialChars(uri);
    int found = 0;
    for (const support::LogLine& line : support::LogCapture::Lines()) {
        found += line.message() == "Found Encodable Char : #" ? 1 : 0;
    }
    EXPECT_EQ(found, 2);
}

TEST_F(Annotations, EmptyUriIsLeftAlone)
{
    std::string uri;
    mRequest.mapper.EncodeSpecialChars(uri);
    EXPECT_EQ(uri, "");
    EXPECT_TRUE(loggedAnywhere("Empty URI"));
    EXPECT_FALSE(loggedAnywhere("Encoded Uri Segment: "));
}

TEST_F(Annotations, ResourceWithoutLinksGetsNone)
{
    Json::Value object = json("{}");
    mRequest.mapper.SetLinks(object, "7");
    EXPECT_THAT(object, IsJson("{}"));
}

TEST_F(Annotations, LinksAreThoseOfTheKey)
{
    mRequest.mapper.mResourceObj["Links"] =
        json(R"({"ComputerSystem": {"@odata.id": "/s"}, "VexoPSNumericSensorCollection": {}})");
    Json::Value object;
    mRequest.mapper.SetLinks(object, "PSU.Slot.4");
    EXPECT_THAT(object["Links"].getMemberNames(),
                ::testing::ElementsAre("ComputerSystem", "VexoPSNumericSensorCollection"));
    Json::Value other;
    mRequest.mapper.SetLinks(other, "Fan.4");
    EXPECT_THAT(other["Links"], IsJson(R"({"ComputerSystem": {"@odata.id": "/s"}})"));
}

TEST_F(Annotations, SelectedLinksAreShownAlone)
{
    mRequest.mapper.mResourceObj["Links"] =
        json(R"({"ComputerSystem": {"@odata.id": "/s"}, "VexoPSNumericSensorCollection": {}})");
    mRequest.mapper.mSelectedLinks = json(R"(["ComputerSystem"])");
    Json::Value object;
    mRequest.mapper.SetLinks(object, "PSU.Slot.4");
    EXPECT_THAT(object["Links"], IsJson(R"({"ComputerSystem": {"@odata.id": "/s"}})"));
}

TEST_F(Annotations, SelectedLinkThatWasNotResolvedIsEmpty)
{
    mRequest.mapper.mResourceObj["Links"] =
        json(R"({"ComputerSystem": {"@odata.id": "/s"}, "VexoPSNumericSensorCollection": {}})");
    mRequest.mapper.mSelectedLinks = json(R"(["VexoPSNumericSensorCollection"])");
    Json::Value object;
    mRequest.mapper.SetLinks(object, "Fan.4");
    EXPECT_TRUE(object.isMember("Links"));
    EXPECT_TRUE(object["Links"]["VexoPSNumericSensorCollection"].empty());
    EXPECT_FALSE(object["Links"].isMember("ComputerSystem"));
}

// What "$select" makes of a resource's actions.
struct ActionCase
{
    const char* selectList;
    const char* actions; // null where the first bad item is refused
    const char* refused;
};

void PrintTo(const ActionCase& action, std::ostream* stream)
{
    *stream << action.selectList;
}

constexpr const char* kActions = R"({"#A.X": {"target": "/x", "title": "X"},
                                     "#A.Y": {"target": "/y"}, "#A.Z": "text"})";

class ActionSelection : public Annotations, public ::testing::WithParamInterface<ActionCase>
{};

TEST_P(ActionSelection, KeepsWhatIsNamed)
{
    Json::Value resource;
    resource["Actions"] = json(kActions);
    resource["Size"] = 1;
    Json::Value selectList = json(GetParam().selectList);
    const unsigned int result = mRequest.mapper.applyFilterOnAction(resource, selectList);
    if (GetParam().actions != nullptr) {
        EXPECT_EQ(result, RM_OK);
        EXPECT_THAT(resource["Actions"], IsJson(GetParam().actions));
        EXPECT_TRUE(support::messagesAtLevel(1).empty());
    } else {
        EXPECT_EQ(result, RM_PROPERTY_UNKNOWN);
        EXPECT_THAT(resource["Actions"], IsJson(kActions));
        EXPECT_TRUE(logged(1, "Invalid select property"));
        EXPECT_EQ(mRequest.mapper.mErrorArgs["p1"].asString(), GetParam().refused);
    }
    EXPECT_EQ(resource["Size"].asInt(), 1);
}

INSTANTIATE_TEST_SUITE_P(
    , ActionSelection,
    ::testing::Values(
        // Nothing about actions.
        ActionCase{"[]", kActions, nullptr}, ActionCase{"null", kActions, nullptr},
        ActionCase{R"(["Size", "Name"])", kActions, nullptr},
        // All of them.
        ActionCase{R"(["Actions"])", kActions, nullptr},
        ActionCase{R"(["MyActions"])", kActions, nullptr},
        // One action, several, and members of them.
        ActionCase{R"(["Actions/#A.Y"])", R"({"#A.Y": {"target": "/y"}})", nullptr},
        ActionCase{R"(["Size", "Actions/#A.Y", "Actions/#A.X"])",
                   R"({"#A.X": {"target": "/x", "title": "X"}, "#A.Y": {"target": "/y"}})",
                   nullptr},
        ActionCase{R"(["Actions/#A.X/title"])", R"({"#A.X": {"title": "X"}})", nullptr},
        ActionCase{R"(["Actions/#A.X/title", "Actions/#A.X/target", "Actions/#A.X/title"])",
                   R"({"#A.X": {"target": "/x", "title": "X"}})", nullptr},
        ActionCase{R"(["Actions/#A.X/title", "Actions/#A.X"])",
                   R"({"#A.X": {"target": "/x", "title": "X"}})", nullptr},
        ActionCase{R"(["Actions/#A.X", "Actions/#A.X/title"])",
                   R"({"#A.X": {"target": "/x", "title": "X"}})", nullptr},
        ActionCase{R"(["Actions/#A.X/title", "Actions"])", kActions, nullptr},
        ActionCase{R"(["Actions/#A.Z"])", R"({"#A.Z": "text"})", nullptr},
        // What does not exist.
        ActionCase{R"(["Actions/#A.W"])", nullptr, "Actions/#A.W"},
        ActionCase{R"(["Actions/#A.X/label"])", nullptr, "Actions/#A.X/label"},
        ActionCase{R"(["Actions/#A.Z/text"])", nullptr, "Actions/#A.Z/text"},
        ActionCase{R"(["Actions/#A.X/title/text"])", nullptr, "Actions/#A.X/title/text"},
        ActionCase{R"(["Actions/#A.X", "Actions/#A.W"])", nullptr, "Actions/#A.W"},
        // Empty segments.
        ActionCase{R"(["Actions//#A.X"])", nullptr, "Actions//#A.X"},
        ActionCase{R"(["/Actions"])", nullptr, "/Actions"},
        ActionCase{R"(["Actions/"])", nullptr, "Actions/"},
        ActionCase{R"(["Actions/#A.X/"])", nullptr, "Actions/#A.X/"}));

TEST_F(Annotations, ResourceWithoutActionsHasNoneToSelect)
{
    Json::Value resource = json(R"({"Size": 1})");
    Json::Value all = json(R"(["Actions"])");
    EXPECT_EQ(mRequest.mapper.applyFilterOnAction(resource, all), RM_OK);
    EXPECT_THAT(resource, IsJson(R"({"Size": 1})"));
    Json::Value one = json(R"(["Actions/#A.X"])");
    EXPECT_EQ(mRequest.mapper.applyFilterOnAction(resource, one), RM_PROPERTY_UNKNOWN);
    EXPECT_THAT(resource, IsJson(R"({"Size": 1})"));
}

} // namespace
