// JSON Schema and CSDL of resource types, as clients read them.
#include "schema/csdl.h"
#include "schema/json_schema.h"

#include <JsonText.h>
#include <gmock/gmock.h>
#include <pugixml.hpp>

#include <algorithm>
#include <set>

namespace {

using host::schema::ResourceType;
using support::IsJson;
using support::json;

const char* const kMapping = R"({
  "VexoA": {"@odata.type": "#VexoA.v1_0_0.VexoA", "@odata.id": "/r/VexoA", "UniqueSelector": "Key",
    "Description": "An <A> & its \"B\".", "Links": {"ComputerSystem": {}, "VexoEnclosureCollection": {}},
    "mappings": {"C_A": {"is_cached": true,
      "properties": {
        "Key": {"cim_type": "string"},
        "Size": {"cim_type": "uint64", "alias": "SizeBytes", "units": "By",
                 "description": "How large it is."},
        "Made": {"cim_type": "datetime"},
        "State": {"cim_type": "uint16", "value_mapping": {"2": "On", "3": "Off"}},
        "Speed": {"cim_type": "uint16", "value_mapping": {"1": "1 Gbit/s"}},
        "Ports": {"cim_type": "sint16", "is_arraytype": true}},
      "Actions": {"#VexoA.Go": {"target": "/r/VexoA/Actions/VexoA.Go",
                                "Mode@Redfish.AllowableValues": ["Fast"]}},
      "methods": {"Go": {"inputs": {
        "Mode": {"redfish_type": "Edm.String", "isrequired": true, "value_mapping": {"1": "Fast"}},
        "At": {"redfish_type": "Edm.DateTimeOffset"}},
        "outputs": {"MessageID": {"cim_type": "string"}, "Job": {"is_ref_type": true},
                    "Speed": {"cim_type": "uint16", "value_mapping": {"1": "Low"}, "alias": "X"},
                    "Times": {"cim_type": "uint32", "is_arraytype": true}}}}}}},
  "VexoAs": {"@odata.type": "#VexoAs.VexoAs", "@odata.id": "/r/VexoAs", "is_collection": true,
    "supports_nextlink": true, "mappings": {"VexoA": {}}},
  "Box": {"Description": "Of a bay.", "instances": {"VexoA": {}, "Plain": {}}},
  "Plain": {}})";

class SchemaDocuments : public testing::Test
{
protected:
    const std::vector<ResourceType> mTypes = host::schema::resourceTypesOf(json(kMapping));
    const ResourceType& mResource = mTypes[0];
    const ResourceType& mCollection = mTypes[1];
    const ResourceType& mContainer = mTypes[2];
    const Json::Value mSchema = json(host::schema::jsonSchemaOf({&mResource}));

    [[nodiscard]] const Json::Value& propertyOf(const char* name) const
    {
        return mSchema["definitions"]["VexoA"]["properties"][name];
    }

    // The element that an XPath names in the resource's CSDL; its attribute.
    [[nodiscard]] std::string inCsdl(const std::string& path, const char* attribute) const
    {
        return in(host::schema::csdlOf({&mResource}), path, attribute);
    }

    static std::string in(const std::string& xml, const std::string& path, const char* attribute)
    {
        pugi::xml_document document;
        EXPECT_TRUE(document.load_string(xml.c_str()));
        return document.select_node(path.c_str()).node().attribute(attribute).value();
    }
};

struct ExpectedProperty
{
    const char* name;
    const char* schema;
};

TEST_F(SchemaDocuments, JsonSchemaHasEachPropertyWithItsType)
{
    const ExpectedProperty all[] = {
        {"Key", R"({"type": "string", "readonly": true})"},
        {"SizeBytes", R"({"type": ["integer", "null"], "minimum": 0, "units": "By",
                          "description": "How large it is.", "readonly": true})"},
        {"Made", R"({"type": ["string", "null"], "format": "date-time", "readonly": true})"},
        {"State", R"({"type": ["string", "null"], "enum": ["On", "Off", null], "readonly": true})"},
        {"Speed", R"({"type": ["string", "null"], "enum": ["1 Gbit/s", null], "readonly": true})"},
        {"Ports", R"({"type": "array", "items": {"type": "integer"}, "readonly": true})"},
        {"Ports@odata.count", R"({"type": "integer", "minimum": 0, "readonly": true})"},
        {"@odata.type", R"({"type": "string", "const": "#VexoA.v1_0_0.VexoA"})"},
        {"Id", R"({"type": "string", "readonly": true})"},
        {"Links", R"({"$ref": "#/definitions/Links"})"},
        {"Actions", R"({"$ref": "#/definitions/Actions"})"}};
    for (const ExpectedProperty& expected : all) {
        EXPECT_THAT(propertyOf(expected.name), IsJson(expected.schema)) << expected.name;
    }
}

TEST_F(SchemaDocuments, JsonSchemaHasNothingElse)
{
    const Json::Value& resource = mSchema["definitions"]["VexoA"];
    EXPECT_EQ(resource["additionalProperties"], Json::Value(false));
    EXPECT_THAT(resource["properties"].getMemberNames(),
                testing::UnorderedElementsAre("@odata.context", "@odata.id", "@odata.type",
                                              "Actions", "Description", "Id", "Key", "Links",
                                              "Made", "Name", "Ports", "Ports@odata.count",
                                              "SizeBytes", "Speed", "State"));
    EXPECT_THAT(resource["required"], IsJson(R"(["@odata.id", "@odata.type"])"));
    EXPECT_EQ(resource["description"].asString(), "An <A> & its \"B\".");
}

TEST_F(SchemaDocuments, JsonSchemaTellsWhatActionsTake)
{
    EXPECT_THAT(mSchema["definitions"]["Actions"]["properties"],
                IsJson(R"({"#VexoA.Go": {"$ref": "#/definitions/Go"}})"));
    EXPECT_THAT(mSchema["definitions"]["Go"]["parameters"],
                IsJson(R"({"At": {"type": "string", "format": "date-time"},
                           "Mode": {"type": "string", "enum": ["Fast"],
                                    "requiredParameter": true}})"));
    EXPECT_THAT(mSchema["definitions"]["Go"]["properties"],
                IsJson(R"({"target": {"type": "string", "format": "uri-reference",
                                      "readonly": true},
                           "Mode@Redfish.AllowableValues": {"type": "array"}})"));
}

TEST_F(SchemaDocuments, JsonSchemaOfLinksHasEachByItsName)
{
    EXPECT_THAT(mSchema["definitions"]["Links"]["properties"],
                IsJson(R"({"ComputerSystem": {"$ref": "#/definitions/idRef"},
                           "VexoEnclosureCollection": {"type": "array",
                               "items": {"$ref": "#/definitions/idRef"}}})"));
}

TEST_F(SchemaDocuments, JsonSchemaOfACollectionHasItsMembersInPlace)
{
    const Json::Value schema = json(host::schema::jsonSchemaOf({&mCollection}));
    const Json::Value& properties = schema["definitions"]["VexoAs"]["properties"];
    EXPECT_THAT(properties["Members"],
                IsJson(R"({"type": "array", "readonly": true, "items": {"$ref":
                    "/redfish/v1/JsonSchemas/VexoA.v1_0_0.json#/definitions/VexoA"}})"));
    EXPECT_TRUE(properties.isMember("Members@odata.count"));
    EXPECT_TRUE(properties.isMember("Members@odata.nextLink"));
    EXPECT_TRUE(properties.isMember("Id"));
    EXPECT_EQ(schema["$id"].asString(), "/redfish/v1/JsonSchemas/VexoAs.json");
}

TEST_F(SchemaDocuments, UnversionedJsonSchemaRefersToEachVersion)
{
    ResourceType next;
    next.name = {"VexoA", "v1_1_0", "VexoA"};
    const Json::Value schema = json(host::schema::unversionedSchemaOf({&mResource, &next}));
    EXPECT_EQ(schema["$id"].asString(), "/redfish/v1/JsonSchemas/VexoA.json");
    EXPECT_THAT(schema["definitions"]["VexoA"]["anyOf"], IsJson(R"([{"$ref": "#/definitions/idRef"},
                    {"$ref": "/redfish/v1/JsonSchemas/VexoA.v1_0_0.json#/definitions/VexoA"},
                    {"$ref": "/redfish/v1/JsonSchemas/VexoA.v1_1_0.json#/definitions/VexoA"}])"));
}

TEST_F(SchemaDocuments, UnversionedJsonSchemaHasWhatHasNoVersionBesideEachVersion)
{
    ResourceType own = mResource;
    own.name.version = "";
    ResourceType other;
    other.name = {"VexoA", "", "Other"};
    const Json::Value schema = json(host::schema::unversionedSchemaOf({&other, &own, &mResource}));
    EXPECT_THAT(schema["anyOf"], IsJson(R"([{"$ref": "#/definitions/Other"},
                                            {"$ref": "#/definitions/VexoA"}])"));
    const Json::Value& definitions = schema["definitions"];
    const Json::Value& all = definitions["VexoA"]["anyOf"];
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[0]["$ref"].asString(), "#/definitions/idRef");
    Json::Value expected = mSchema["definitions"]["VexoA"];
    expected["properties"]["@odata.type"]["const"] = "#VexoA.VexoA";
    EXPECT_EQ(all[1], expected);
    EXPECT_EQ(all[2]["$ref"].asString(),
              "/redfish/v1/JsonSchemas/VexoA.v1_0_0.json#/definitions/VexoA");
    for (const char* part : {"Links", "Actions", "Go", "idRef"}) {
        EXPECT_EQ(definitions[part], mSchema["definitions"][part]) << part;
    }
    EXPECT_EQ(definitions["Other"]["properties"]["@odata.type"]["const"].asString(),
              "#VexoA.Other");
}

TEST_F(SchemaDocuments, CsdlHasEachPropertyWithItsType)
{
    const std::pair<const char*, const char*> all[] = {
        {"Key", "Edm.String"},
        {"SizeBytes", "Edm.Int64"},
        {"Made", "Edm.DateTimeOffset"},
        {"State", "VexoA.v1_0_0.State"},
        {"Speed", "Edm.String"}, // CSDL has no name for its value
        {"Ports", "Collection(Edm.Int64)"},
        {"Links", "VexoA.v1_0_0.Links"},
        {"Actions", "VexoA.v1_0_0.Actions"}};
    for (const auto& [name, type] : all) {
        const std::string path = std::string("//Property[@Name='") + name + "']";
        EXPECT_EQ(inCsdl(path, "Type"), type) << name;
    }
    EXPECT_EQ(inCsdl("//Property[@Name='Key']", "Nullable"), "false");
    EXPECT_EQ(inCsdl("//Property[@Name='Made']", "Nullable"), "true");
    EXPECT_EQ(inCsdl("//Property[@Name='Id']", "Type"), ""); // that of the standard's type
    EXPECT_EQ(inCsdl("//EnumType[@Name='State']/Member[2]", "Name"), "Off");
    const std::string size = "//Property[@Name='SizeBytes']/Annotation";
    EXPECT_EQ(inCsdl(size + "[@Term='OData.Permissions']", "EnumMember"), "OData.Permission/Read");
    EXPECT_EQ(inCsdl(size + "[@Term='Measures.Unit']", "String"), "By");
    EXPECT_EQ(inCsdl(size + "[@Term='OData.Description']", "String"), "How large it is.");
    EXPECT_EQ(inCsdl(size + "[@Term='Validation.Minimum']", "Int"), "0");
}

TEST_F(SchemaDocuments, CsdlHasAnAbstractTypeWithWhatAllVersionsShare)
{
    const std::string type = "//Schema[@Namespace='VexoA']/EntityType";
    EXPECT_EQ(inCsdl(type, "Abstract"), "true");
    EXPECT_EQ(inCsdl(type, "BaseType"), "Resource.v1_0_0.Resource");
    EXPECT_EQ(inCsdl(type + "/Annotation[@Term='OData.Description']", "String"),
              "An <A> & its \"B\".");
    EXPECT_EQ(inCsdl(type + "/Annotation[@Term='Capabilities.UpdateRestrictions']//PropertyValue",
                     "Bool"),
              "false");
    EXPECT_THAT(host::schema::csdlOf({&mResource}),
                testing::HasSubstr("<String>/r/VexoA/{Id}</String>"));
    EXPECT_EQ(inCsdl("//Schema[@Namespace='VexoA.v1_0_0']/EntityType", "BaseType"), "VexoA.VexoA");
}

TEST_F(SchemaDocuments, CsdlHasActionsWithTheirParameters)
{
    const std::string action = "//Schema[@Namespace='VexoA']/Action[@Name='Go']";
    EXPECT_EQ(inCsdl(action + "/Parameter[1]", "Type"), "VexoA.v1_0_0.Actions");
    EXPECT_EQ(inCsdl(action + "/Parameter[@Name='Mode']", "Type"), "VexoA.v1_0_0.GoMode");
    EXPECT_EQ(inCsdl(action + "/Parameter[@Name='Mode']", "Nullable"), "false");
    EXPECT_EQ(inCsdl(action + "/Parameter[@Name='At']", "Nullable"), "true");
    EXPECT_EQ(inCsdl("//EnumType[@Name='GoMode']/Member", "Name"), "Fast");
}

TEST_F(SchemaDocuments, CsdlOfACollectionExpandsItsMembers)
{
    const std::string xml = host::schema::csdlOf({&mCollection});
    EXPECT_EQ(in(xml, "//EntityType", "BaseType"), "Resource.v1_0_0.ResourceCollection");
    EXPECT_EQ(in(xml, "//NavigationProperty[@Name='Members']", "Type"), "Collection(VexoA.VexoA)");
    EXPECT_EQ(in(xml, "//NavigationProperty/Annotation[@Term='OData.AutoExpand']", "Term"),
              "OData.AutoExpand");
    EXPECT_EQ(in(xml, "//edmx:Reference[edmx:Include/@Namespace='VexoA']", "Uri"),
              "/redfish/v1/Schemas/VexoA_v1.xml");
}

TEST_F(SchemaDocuments, MetadataRefersToVendorsAndToStandardSchemas)
{
    const std::string xml = host::schema::metadataOf({mResource.name, {"Job", "v1_0_0", "Job"}});
    const std::string vendors = "//edmx:Reference[edmx:Include/@Namespace='VexoA.v1_0_0']";
    EXPECT_EQ(in(xml, vendors, "Uri"), "/redfish/v1/Schemas/VexoA_v1.xml");
    EXPECT_EQ(in(xml, vendors + "/edmx:Include[1]", "Namespace"), "VexoA");
    EXPECT_EQ(in(xml, "//edmx:Reference[edmx:Include/@Namespace='Job']", "Uri"),
              "http://redfish.dmtf.org/schemas/v1/Job_v1.xml");
    EXPECT_EQ(in(xml, "//edmx:DataServices/Schema[1]/EntityContainer", "Extends"),
              "ServiceRoot.v1_5_0.ServiceContainer");
}

TEST_F(SchemaDocuments, JsonSchemaTellsWhatActionsAnswer)
{
    const Json::Value& definitions = mSchema["definitions"];
    EXPECT_EQ(definitions["Go"]["actionResponse"]["$ref"], "#/definitions/GoResponse");
    EXPECT_THAT(definitions["GoResponse"], IsJson(R"({"type": "object", "properties": {
                    "Speed": {"type": ["string", "null"], "enum": ["Low", null]},
                    "Times": {"type": "array", "items": {"type": ["integer", "null"], "minimum": 0}}}})"));
}

TEST_F(SchemaDocuments, CsdlTellsWhatActionsAnswer)
{
    EXPECT_EQ(inCsdl("//Action[@Name='Go']/ReturnType", "Type"), "VexoA.v1_0_0.GoResponse");
    const std::string response =
        "//Schema[@Namespace='VexoA.v1_0_0']/ComplexType[@Name='GoResponse']/Property";
    EXPECT_EQ(inCsdl(response + "[@Name='Speed']", "Type"), "VexoA.v1_0_0.GoResponseSpeed");
    EXPECT_EQ(inCsdl(response + "[@Name='Times']", "Type"), "Collection(Edm.Int64)");
    EXPECT_EQ(inCsdl("//EnumType[@Name='GoResponseSpeed']/Member", "Name"), "Low");
    EXPECT_EQ(inCsdl(response + "[@Name='Job']", "Name"), "");
}

TEST_F(SchemaDocuments, JsonSchemaOfAContainerHasEachResourceThatItEmbeds)
{
    const Json::Value schema = json(host::schema::jsonSchemaOf({&mContainer}));
    EXPECT_EQ(schema["$id"].asString(), "/redfish/v1/JsonSchemas/VexoBox.v1_0_0.json");
    EXPECT_THAT(schema["definitions"], IsJson(R"({"VexoBox": {
        "type": "object", "additionalProperties": false, "description": "Of a bay.",
        "properties": {
            "@odata.type": {"type": "string", "const": "#VexoBox.v1_0_0.VexoBox"},
            "Plain": {"type": "object"},
            "VexoA": {"$ref": "/redfish/v1/JsonSchemas/VexoA.v1_0_0.json#/definitions/VexoA"}},
        "required": ["@odata.type"]}})"));
}

TEST_F(SchemaDocuments, CsdlOfAContainerIsAnObjectOfOem)
{
    const std::string xml = host::schema::csdlOf({&mContainer});
    const std::string abstract = "//Schema[@Namespace='VexoBox']/ComplexType[@Name='VexoBox']";
    EXPECT_EQ(in(xml, abstract, "BaseType"), "Resource.OemObject");
    EXPECT_EQ(in(xml, abstract, "Abstract"), "true");
    EXPECT_EQ(in(xml, abstract + "/Annotation", "String"), "Of a bay.");
    const std::string type = "//Schema[@Namespace='VexoBox.v1_0_0']/ComplexType[@Name='VexoBox']";
    EXPECT_EQ(in(xml, type, "BaseType"), "VexoBox.VexoBox");
    const std::string embedded = type + "/NavigationProperty[@Name='VexoA']";
    EXPECT_EQ(in(xml, embedded, "Type"), "VexoA.VexoA");
    EXPECT_EQ(in(xml, embedded, "Nullable"), "true");
    EXPECT_EQ(in(xml, embedded + "/Annotation[2]", "Term"), "OData.AutoExpand");
    EXPECT_EQ(in(xml, type + "/NavigationProperty[@Name='Plain']", "Type"), "Resource.Item");
    EXPECT_EQ(in(xml, "//edmx:Reference[edmx:Include/@Namespace='VexoA']", "Uri"),
              "/redfish/v1/Schemas/VexoA_v1.xml");
    EXPECT_EQ(in(xml, "//EntityType", "Name"), "");
}

// An entry of a name of one letter, for "~".
std::string sharingEntry(char name)
{
    std::string entry = R"("Vexo~": {"@odata.type": "#VexoX.v1_0_0.~", "UniqueSelector": "Key",
        "Links": {"ComputerSystem": {}}, "mappings": {"C": {"is_cached": true,
            "properties": {"State": {"value_mapping": {"1": "Of~"}}},
            "Actions": {"#VexoX.Go": {"target": "/r"}},
            "methods": {"Go": {"inputs": {"At": {"value_mapping": {"1": "On"}}},
                               "outputs": {"Speed": {"value_mapping": {"1": "Low"}}}}}}}})";
    std::replace(entry.begin(), entry.end(), '~', name);
    return entry;
}

// Two types of one version, each with a link, an action and an enumeration of the same name.
class SharedNameSpace : public testing::Test
{
protected:
    const std::vector<ResourceType> mTypes = host::schema::resourceTypesOf(
        json("{" + sharingEntry('A') + ", " + sharingEntry('B') + "}"));
};

TEST_F(SharedNameSpace, HasAllTypesInOneJsonSchema)
{
    ASSERT_EQ(mTypes.size(), 2U);
    const Json::Value schema = json(host::schema::jsonSchemaOf({&mTypes[0], &mTypes[1]}));
    EXPECT_THAT(schema["anyOf"],
                IsJson(R"([{"$ref": "#/definitions/A"}, {"$ref": "#/definitions/B"}])"));
    EXPECT_FALSE(schema.isMember("$ref"));
    const Json::Value& definitions = schema["definitions"];
    EXPECT_THAT(definitions.getMemberNames(),
                testing::ElementsAre("A", "AActions", "AGo", "AGoResponse", "ALinks", "B",
                                     "BActions", "BGo", "BGoResponse", "BLinks", "idRef"));
    EXPECT_EQ(definitions["B"]["properties"]["Links"]["$ref"], "#/definitions/BLinks");
    EXPECT_EQ(definitions["B"]["properties"]["Actions"]["$ref"], "#/definitions/BActions");
    EXPECT_EQ(definitions["BActions"]["properties"]["#VexoX.Go"]["$ref"], "#/definitions/BGo");
    EXPECT_EQ(definitions["BGo"]["actionResponse"]["$ref"], "#/definitions/BGoResponse");
}

TEST_F(SharedNameSpace, HasAllTypesInTheUnversionedJsonSchema)
{
    const Json::Value schema = json(host::schema::unversionedSchemaOf({&mTypes[0], &mTypes[1]}));
    EXPECT_EQ(schema["anyOf"].size(), 2U);
    EXPECT_THAT(schema["definitions"]["B"]["anyOf"], IsJson(R"([{"$ref": "#/definitions/idRef"},
                    {"$ref": "/redfish/v1/JsonSchemas/VexoX.v1_0_0.json#/definitions/B"}])"));
}

TEST_F(SharedNameSpace, HasAllTypesInOneSchemaOfCsdl)
{
    pugi::xml_document document;
    ASSERT_TRUE(document.load_string(host::schema::csdlOf({&mTypes[0], &mTypes[1]}).c_str()));
    EXPECT_EQ(document.select_nodes("//Schema").size(), 2U);
    std::set<std::string> names;
    for (const auto& node : document.select_nodes("//Schema[@Namespace='VexoX.v1_0_0']/*")) {
        EXPECT_TRUE(names.insert(node.node().attribute("Name").value()).second);
    }
    EXPECT_THAT(names,
                testing::ElementsAre("A", "AActions", "AGoAt", "AGoResponse", "AGoResponseSpeed",
                                     "ALinks", "AState", "B", "BActions", "BGoAt", "BGoResponse",
                                     "BGoResponseSpeed", "BLinks", "BState"));
    const auto typeOf = [&document](const char* path) {
        return std::string(document.select_node(path).node().attribute("Type").value());
    };
    EXPECT_EQ(typeOf("//EntityType[@Name='B']/Property[@Name='State']"), "VexoX.v1_0_0.BState");
    EXPECT_EQ(typeOf("//EntityType[@Name='B']/Property[@Name='Links']"), "VexoX.v1_0_0.BLinks");
    EXPECT_EQ(typeOf("//Action/Parameter[@Name='B']"), "VexoX.v1_0_0.BActions");
    EXPECT_EQ(typeOf("//Action[Parameter[@Name='B']]/Parameter[@Name='At']"), "VexoX.v1_0_0.BGoAt");
    EXPECT_EQ(typeOf("//Action[Parameter[@Name='B']]/ReturnType"), "VexoX.v1_0_0.BGoResponse");
}

} // namespace
