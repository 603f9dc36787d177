// Values of the mapping file whose JSON type is not the expected one: they read as their null
// default and are logged at level 1; what the JSON library can convert is converted.
#include "LibraryTest.h"

namespace {

using support::IsJson;
using support::json;
using support::Request;
using ::testing::Contains;
using ::testing::StartsWith;

constexpr const char* kOddMapping = R"({
    "VexoBoxes": {"@odata.id": "/r/VexoBoxes", "@odata.type": "#Boxes", "@odata.context": "/ctx",
        "Name": "All", "Description": "All boxes", "is_collection": true,
        "supports_nextlink": true, "supports_top_skip": true, "allowed_operations": ["GET"],
        "Link_Header": "</boxes>", "mappings": {"VexoBox": {}}},
    "VexoBox": {"@odata.id": "/r/VexoBox", "@odata.type": "#Box", "@odata.context": "/ctx",
        "Name": "One", "Description": "One box", "UniqueSelector": "Key",
        "allowed_operations": ["GET"], "Link_Header": "</box>",
        "Links": {"ComputerSystem": {"@odata.id": "/r/System"}},
        "mappings": {"XCIM_Box": {"is_cached": true, "properties": {
            "Colours": {"value_mapping": {"1": "Red"}}, "Size": {"alias": "SizeMM"},
            "State": {"value_mapping": {"1": "On"}}}}}},
    "VexoRoom": {"@odata.id": "/r/VexoRoom", "@odata.type": "#Room", "@odata.context": "/ctx",
        "Name": "Room", "Description": "A room", "Selectors": "Floor=1",
        "allowed_operations": ["GET"], "Link_Header": "</room>",
        "mappings": {"XCIM_Room": {"key_properties": ["Id"], "Actions": {
            "#Room.Clean": {"target": "/r/VexoRoom/Actions/Room.Clean", "title": "Clean"}}}}}
})";

class WrongTypes : public support::LibraryTest
{
protected:
    void SetUp() override
    {
        openCache("create table Tbl_CMPIReady (ClassName); create table Tbl_XCIM_Box "
                  "(Key, Colours, Size, State); insert into Tbl_XCIM_Box values ('B1', " +
                  support::arrayCell(1, 2, "1#2") + ", '7', '1')");
    }

    // The mapping with the value at a path (member names) replaced.
    static Json::Value mappingWith(const std::vector<std::string>& path, const Json::Value& value)
    {
        Json::Value mapping = json(kOddMapping);
        Json::Value* place = &mapping;
        for (const std::string& name : path) {
            EXPECT_TRUE(place->isMember(name)) << name;
            place = &(*place)[name];
        }
        *place = value;
        return mapping;
    }

    // Runs every operation once on each resource of the mapping.
    void exercise(const Json::Value& mapping) const
    {
        support::MappingFile::ForgetLoaded();
        support::LogCapture::Reset();
        mMapping.Write(support::compact(mapping));
        for (const char* url : {"/r/VexoBoxes", "/r/VexoBoxes?$select=Members", "/r/VexoBox/B1",
                                "/r/VexoBox/B1?$select=SizeMM,Links/ComputerSystem", "/r/VexoRoom",
                                "/r/VexoRoom?$select=Actions/%23Room.Clean/title"}) {
            read(url);
        }
        Request action("/r/VexoRoom/Actions/Room.Clean");
        (void)action.mapper.ParseUri(RM_METHOD_POST);
    }

    static void read(const std::string& url)
    {
        Request request(url);
        ResourceMapper& mapper = request.mapper;
        if (mapper.ParseUri(RM_METHOD_GET) != RM_OK) {
            return;
        }
        Json::Value body;
        _ResourceMapperError result = RM_OK;
        (void)mapper.IsCached();
        mapper.PrintRMFData();
        if (!mapper.IsServiceURI(body, result)) {
            result = mapper.mIsCollection ? mapper.GetCollection(body, true)
                                          : mapper.GetInstance(body, true);
        }
        if (result == RM_OK) {
            mapper.SendResponse(body);
        } else {
            mapper.SendExtendedErrorResponse(result);
        }
    }

    // The answer to a GET of an instance or of a singleton.
    Json::Value answer(const Json::Value& mapping, const std::string& url) const
    {
        support::MappingFile::ForgetLoaded();
        mMapping.Write(support::compact(mapping));
        Request request(url);
        Json::Value body;
        _ResourceMapperError result = RM_OK;
        EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
        if (!request.mapper.IsServiceURI(body, result)) {
            EXPECT_EQ(request.mapper.GetInstance(body, true), RM_OK);
        }
        return body;
    }
};

// A place of the mapping file: its member names, and which JSON values are wrong there. A text is
// wrong too where the mapping wants an object; it would only be a bad selector in "Selectors".
struct Place
{
    std::vector<std::string> path;
    std::vector<const char*> wrong;
};

std::vector<Place> places()
{
    const std::vector<const char*> notText = {R"({"x": 1})", "[1]"};
    const std::vector<const char*> notObject = {"[1]", "\"x\"", "5", "true"};
    const std::vector<const char*> notFlag = {R"({"x": 1})", "[1]", "\"x\""};
    const std::vector<const char*> notList = {R"({"x": 1})", "\"x\"", "5"};
    const std::vector<const char*> notTexts = {"[{}]", R"(["GET", ["POST"]])"};
    std::vector<Place> all;
    for (const char* entry : {"VexoBoxes", "VexoBox", "VexoRoom"}) {
        all.push_back({{entry}, notObject});
        for (const char* key :
             {"@odata.id", "@odata.type", "@odata.context", "Name", "Description", "Link_Header"}) {
            all.push_back({{entry, key}, notText});
        }
        all.push_back({{entry, "mappings"}, notObject});
        all.push_back({{entry, "allowed_operations"}, notList});
        all.push_back({{entry, "allowed_operations"}, notTexts});
    }
    for (const char* flag : {"is_collection", "supports_nextlink", "supports_top_skip"}) {
        all.push_back({{"VexoBoxes", flag}, notFlag});
    }
    const std::vector<std::string> box = {"VexoBox", "mappings", "XCIM_Box"};
    const std::vector<std::string> room = {"VexoRoom", "mappings", "XCIM_Room"};
    const auto below = [](std::vector<std::string> path, const std::vector<std::string>& rest) {
        path.insert(path.end(), rest.begin(), rest.end());
        return path;
    };
    all.push_back({{"VexoBox", "UniqueSelector"}, notText});
    all.push_back({{"VexoBox", "Links"}, notObject});
    all.push_back({{"VexoRoom", "Selectors"}, notText});
    all.push_back({box, notObject});
    all.push_back({below(box, {"is_cached"}), notFlag});
    all.push_back({below(box, {"properties"}), notObject});
    all.push_back({below(box, {"properties", "Size"}), notObject});
    all.push_back({below(box, {"properties", "Size", "alias"}), notText});
    all.push_back({below(box, {"properties", "State", "value_mapping"}), notObject});
    all.push_back({below(box, {"properties", "Colours", "value_mapping"}), notObject});
    all.push_back({room, notObject});
    all.push_back({below(room, {"Actions"}), notObject});
    all.push_back({below(room, {"Actions", "#Room.Clean"}), notObject});
    all.push_back({below(room, {"Actions", "#Room.Clean", "target"}), notText});
    return all;
}

std::string nameOf(const Place& place)
{
    std::string name;
    for (const std::string& member : place.path) {
        name += "/" + member;
    }
    return name;
}

TEST_F(WrongTypes, SoundMappingLogsNone)
{
    exercise(json(kOddMapping));
    EXPECT_THAT(support::messagesAtLevel(1),
                ::testing::Each(
                    ::testing::AnyOf("Resource not found in RMF", "Value map not present in RMF")));
}

TEST_F(WrongTypes, AreLoggedAndNeverThrow)
{
    for (const Place& place : places()) {
        for (const char* value : place.wrong) {
            SCOPED_TRACE(nameOf(place) + " = " + value);
            EXPECT_NO_THROW(exercise(mappingWith(place.path, json(value))));
            EXPECT_THAT(support::messagesAtLevel(1), Contains(StartsWith("Unexpected JSON type")));
        }
    }
}

TEST_F(WrongTypes, NullsReadAsAbsent)
{
    for (const Place& place : places()) {
        SCOPED_TRACE(nameOf(place));
        EXPECT_NO_THROW(exercise(mappingWith(place.path, Json::Value())));
        EXPECT_THAT(support::messagesAtLevel(1),
                    ::testing::Not(Contains(StartsWith("Unexpected JSON type"))));
    }
}

TEST_F(WrongTypes, TextThatIsAnObjectReadsAsEmpty)
{
    const Json::Value mapping = mappingWith({"VexoBox", "Name"}, json(R"({"x": 1})"));
    EXPECT_EQ(answer(mapping, "/r/VexoBox/B1")["Name"], Json::Value(""));
}

TEST_F(WrongTypes, TextThatIsANumberIsConverted)
{
    const Json::Value mapping = mappingWith({"VexoBox", "Name"}, 5);
    EXPECT_EQ(answer(mapping, "/r/VexoBox/B1")["Name"], Json::Value("5"));
}

TEST_F(WrongTypes, FlagThatIsANumberIsConverted)
{
    support::MappingFile::ForgetLoaded();
    mMapping.Write(support::compact(mappingWith({"VexoBoxes", "is_collection"}, 1)));
    Request request("/r/VexoBoxes");
    EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    EXPECT_TRUE(request.mapper.mIsCollection);
}

TEST_F(WrongTypes, FlagThatIsATextReadsAsFalse)
{
    support::MappingFile::ForgetLoaded();
    mMapping.Write(support::compact(mappingWith({"VexoBoxes", "supports_nextlink"}, "true")));
    Request request("/r/VexoBoxes");
    EXPECT_EQ(request.mapper.ParseUri(RM_METHOD_GET), RM_OK);
    EXPECT_FALSE(request.mapper.mSupportsNextLink);
}

TEST_F(WrongTypes, AliasThatIsAnObjectLeavesThePropertysName)
{
    const Json::Value mapping = mappingWith(
        {"VexoBox", "mappings", "XCIM_Box", "properties", "Size", "alias"}, json("[1]"));
    EXPECT_EQ(answer(mapping, "/r/VexoBox/B1")["Size"], Json::Value("7"));
}

TEST_F(WrongTypes, ValueMapThatIsATextIsNone)
{
    const Json::Value mapping = mappingWith(
        {"VexoBox", "mappings", "XCIM_Box", "properties", "State", "value_mapping"}, "On");
    EXPECT_EQ(answer(mapping, "/r/VexoBox/B1")["State"], Json::Value("1"));
}

TEST_F(WrongTypes, EntryWithoutSelectorsInATextHasNone)
{
    const Json::Value mapping = mappingWith({"VexoRoom", "Selectors"}, json("[1]"));
    EXPECT_THAT(answer(mapping, "/r/VexoRoom")["Id"], IsJson(R"("VexoRoom")"));
}

TEST_F(WrongTypes, OtherResourcesAreServedBesideABrokenEntry)
{
    for (const char* value : {"5", "\"x\"", "[1]", "null"}) {
        const Json::Value mapping = mappingWith({"VexoRoom"}, json(value));
        EXPECT_EQ(answer(mapping, "/r/VexoBox/B1")["SizeMM"], Json::Value("7"));
    }
}

} // namespace
