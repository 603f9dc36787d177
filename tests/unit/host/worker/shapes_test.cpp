// What of a mapped resource's answer is brought into Redfish's shape, and what is left as it is.
#include "worker/shapes.h"

#include <gmock/gmock.h>
#include <json/json.h>

#include <sstream>
#include <string>

namespace {

Json::Value jsonOf(const std::string& text)
{
    Json::Value value;
    std::istringstream in(text);
    in >> value;
    return value;
}

constexpr const char* kShapedMapping = R"({
    "VexoFan": {"@odata.id": "/r/VexoFan", "UniqueSelector": "Key", "@odata.type": "#VexoFan.v1_0_0.VexoFan",
                "Links": {"ComputerSystem": {"@odata.id": "/s"}, "VexoEnclosureCollection": {}},
                "mappings": {"XCIM_Fan": {"is_cached": true, "properties": {
                    "Key": {"cim_type": "string"},
                    "Built": {"cim_type": "datetime", "alias": "BuiltAt"},
                    "Checks": {"cim_type": "datetime", "is_arraytype": true},
                    "Told": {"redfish_type": "Edm.DateTimeOffset"},
                    "Words": {"cim_type": "string", "is_arraytype": true},
                    "Kind": {"cim_type": "datetime", "value_mapping": {"1": "One"}},
                    "Text": {"cim_type": "string"}}}}},
    "VexoFans": {"@odata.id": "/r/VexoFans", "@odata.type": "#VexoFans.VexoFans", "is_collection": true,
                 "mappings": {"VexoFan": {}}},
    "VexoPlain": {"@odata.id": "/r/VexoPlain", "@odata.type": "no type", "mappings": {}},
    "VexoClock": {"@odata.id": "/r/VexoClock", "mappings": {"XCIM_Clock": {
        "Actions": {"#VexoClock.Ask": {"target": "/r/VexoClock/Actions/VexoClock.Ask"},
                    "#VexoClock.Set": {"target": "/r/VexoClock/Actions/VexoClock.Set"}},
        "methods": {"Ask": {"outputs": {"Now": {"cim_type": "datetime", "alias": "Time"},
                                        "Next": {"cim_type": "datetime", "is_arraytype": true},
                                        "Told": {"redfish_type": "Edm.DateTimeOffset"},
                                        "Text": {"cim_type": "string"}}}}}}},
    "VexoJob": {"@odata.id": "/r/VexoJob", "@odata.type": "#Job.v1_0_0.Job", "mappings": {}}})";

class ShapedAnswer : public testing::Test
{
protected:
    Json::Value shaped(const char* resource, const std::string& body)
    {
        Json::Value value = jsonOf(body);
        mShapes.shape(resource, value);
        return value;
    }

    Json::Value mMapping = jsonOf(kShapedMapping);
    host::Shapes mShapes{mMapping};
};

TEST_F(ShapedAnswer, HasAColonInTheOffsetOfItsDateTimes)
{
    EXPECT_EQ(shaped("VexoFan", R"({"BuiltAt": "2024-05-01T10:20:30+0200",
                                    "Checks": ["1970-01-01T00:00:00-0330", null],
                                    "Told": "2024-05-01T10:20:30.123456+0000"})"),
              jsonOf(R"({"BuiltAt": "2024-05-01T10:20:30+02:00",
                         "Checks": ["1970-01-01T00:00:00-03:30", null],
                         "Told": "2024-05-01T10:20:30.123456+00:00"})"));
}

TEST_F(ShapedAnswer, KeepsWhatIsNoDateTimeWithoutAColon)
{
    for (const char* body :
         {R"({"BuiltAt": "2024-05-01T10:20:30Z"})", R"({"BuiltAt": "2024-05-01T10:20:30+02:00"})",
          R"({"BuiltAt": "soon+0200"})", R"({"BuiltAt": ""})", R"({"BuiltAt": null})",
          R"({"BuiltAt": "2024-05-01T10:20:30x0200"})", R"({"BuiltAt": 5})",
          R"({"BuiltAt": "2024-05-01T10:20:30+02O0"})"}) {
        EXPECT_EQ(shaped("VexoFan", body), jsonOf(body)) << body;
    }
}

TEST_F(ShapedAnswer, KeepsTextsThatAreNotDeclaredAsDateTimes)
{
    for (const char* name : {"Kind", "Text", "Built", "Key", "Unknown"}) {
        const std::string body =
            std::string("{\"") + name + R"(": "2024-05-01T10:20:30+0200", "Text": null})";
        EXPECT_EQ(shaped("VexoFan", body), jsonOf(body)) << name;
    }
}

TEST_F(ShapedAnswer, HasEmptyArraysInPlaceOfNull)
{
    EXPECT_EQ(shaped("VexoFan", R"({"Words": null, "Checks": null, "Text": null})"),
              jsonOf(R"({"Words": [], "Checks": [], "Text": null})"));
    EXPECT_EQ(shaped("VexoFan", "{}"), jsonOf("{}")); // as $select leaves it
    EXPECT_EQ(shaped("VexoFan", R"({"Words": "x"})"), jsonOf(R"({"Words": "x"})"));
}

TEST_F(ShapedAnswer, OfAnActionHasAColonInTheOffsetOfItsDateTimes)
{
    const std::string time = R"("2024-05-01T10:20:30+0000")";
    const std::string shapedTime = R"("2024-05-01T10:20:30+00:00")";
    const std::string kept = R"("Text": )" + time + R"(, "Undeclared": )" + time + "}";
    const Json::Value outputs =
        jsonOf("{\"Now\": " + time + ", \"Next\": [" + time + "], \"Told\": " + time + ", " + kept);
    Json::Value answer = outputs;
    mShapes.shapeOutputs("VexoClock", "Ask", answer);
    EXPECT_EQ(answer, jsonOf("{\"Now\": " + shapedTime + ", \"Next\": [" + shapedTime +
                             "], \"Told\": " + shapedTime + ", " + kept));
    for (const char* method : {"Set", "Unknown"}) { // declare no outputs
        answer = outputs;
        mShapes.shapeOutputs("VexoClock", method, answer);
        EXPECT_EQ(answer, outputs) << method;
    }
}

TEST_F(ShapedAnswer, HasLinksThatAreObjects)
{
    EXPECT_EQ(shaped("VexoFan", R"({"Links": null})"), jsonOf(R"({"Links": {}})"));
    EXPECT_EQ(shaped("VexoFan", R"({"Links": {"VexoEnclosureCollection": null}})"),
              jsonOf(R"({"Links": {"VexoEnclosureCollection": []}})"));
    EXPECT_EQ(shaped("VexoPlain", R"({"Links": null})"), jsonOf(R"({"Links": null})"));
}

TEST_F(ShapedAnswer, OfACollectionIsThatOfItsMembers)
{
    EXPECT_EQ(
        shaped("VexoFans", R"({"Members": [{"Words": null, "Links": null}, {"Checks": null}],
                                     "Words": null})"),
        jsonOf(R"({"Members": [{"Words": [], "Links": {}}, {"Checks": []}], "Words": null})"));
    EXPECT_EQ(shaped("VexoFans", R"({"Members": []})"), jsonOf(R"({"Members": []})"));
    EXPECT_EQ(shaped("VexoFans", R"({"Name": "$select"})"), jsonOf(R"({"Name": "$select"})"));
}

TEST_F(ShapedAnswer, IsOfAnEntry)
{
    EXPECT_EQ(shaped("VexoNone", R"({"Words": null})"), jsonOf(R"({"Words": null})"));
}

TEST_F(ShapedAnswer, IsDescribedByTheSchemaOfItsType)
{
    EXPECT_EQ(mShapes.schemaUriOf("VexoFan"), "/redfish/v1/JsonSchemas/VexoFan.v1_0_0.json");
    EXPECT_EQ(mShapes.schemaUriOf("VexoFans"), "/redfish/v1/JsonSchemas/VexoFans.json");
    EXPECT_EQ(mShapes.schemaUriOf("VexoJob"), "http://redfish.dmtf.org/schemas/v1/Job.v1_0_0.json");
    EXPECT_EQ(mShapes.schemaUriOf("VexoPlain"), "");
}

} // namespace
