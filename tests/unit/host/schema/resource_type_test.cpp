// What schemas tell of a mapping: types, properties, links and actions.
#include "check/mapping_text.h"
#include "schema/property.h"
#include "schema/resource_type.h"

#include <JsonText.h>
#include <gmock/gmock.h>

namespace {

using host::schema::Property;
using host::schema::ResourceType;
using host::schema::ValueType;
using support::json;
using testing::ElementsAre;
using testing::IsEmpty;

struct PropertyCase
{
    const char* what;
    const char* declared;
    bool isCached;
    ValueType type;
    bool isArray = false;
    bool isNullable = true;
    bool isUnsigned = false;
    const char* countName = "";
};

void PrintTo(const PropertyCase& one, std::ostream* out)
{
    *out << one.what;
}

class DeclaredProperty : public testing::TestWithParam<PropertyCase>
{};

TEST_P(DeclaredProperty, HasTheTypeOfWhatAnAnswerShows)
{
    const PropertyCase& expected = GetParam();
    const Property property =
        host::schema::propertyOf("P", json(expected.declared), expected.isCached);
    EXPECT_EQ(property.type, expected.type);
    EXPECT_EQ(property.isArray, expected.isArray);
    EXPECT_EQ(property.isNullable, expected.isNullable);
    EXPECT_EQ(property.isUnsigned, expected.isUnsigned);
    EXPECT_EQ(property.countName, expected.countName);
}

INSTANTIATE_TEST_SUITE_P(
    , DeclaredProperty,
    testing::Values(
        PropertyCase{"text", R"({"cim_type": "string"})", true, ValueType::Text},
        PropertyCase{"unsigned integer", R"({"cim_type": "uint8"})", true, ValueType::Integer,
                     false, true, true},
        PropertyCase{"signed integer", R"({"cim_type": "sint64"})", false, ValueType::Integer},
        PropertyCase{"boolean", R"({"cim_type": "boolean"})", true, ValueType::Boolean},
        PropertyCase{"date-time", R"({"cim_type": "datetime"})", true, ValueType::DateTime},
        PropertyCase{"cached real", R"({"cim_type": "real32"})", true, ValueType::Text},
        PropertyCase{"live real", R"({"cim_type": "real64"})", false, ValueType::Number},
        PropertyCase{"Redfish type without a CIM type", R"({"redfish_type": "Edm.Boolean"})", true,
                     ValueType::Boolean},
        PropertyCase{"array of a Redfish type",
                     R"x({"redfish_type": "Collection(Edm.Int64)", "is_arraytype": true})x", true,
                     ValueType::Integer, true, false, false, "P@odata.count"},
        PropertyCase{"no type at all", "{}", true, ValueType::Text},
        PropertyCase{"integers with a value map",
                     R"({"cim_type": "uint16", "value_mapping": {"2": "On"}})", true,
                     ValueType::Text},
        PropertyCase{"cached array", R"({"cim_type": "uint16", "is_arraytype": true})", true,
                     ValueType::Integer, true, false, true, "P@odata.count"},
        PropertyCase{"live array with a value map",
                     R"({"cim_type": "uint16", "is_arraytype": true, "value_mapping": {"2": "a"}})",
                     false, ValueType::Text, true, true, false, ""},
        PropertyCase{"types that are no texts", R"({"cim_type": [1], "is_arraytype": {}})", true,
                     ValueType::Text}));

TEST(DeclaredPropertyName, IsTheAlias)
{
    const Json::Value declared =
        json(R"({"cim_type": "uint8", "is_arraytype": true, "alias": "Shown"})");
    const Property cached = host::schema::propertyOf("P", declared, true);
    EXPECT_EQ(cached.name, "Shown");
    EXPECT_EQ(cached.countName, "Shown@odata.count");
    const Property live = host::schema::propertyOf("P", declared, false);
    EXPECT_EQ(live.name, "Shown");
    EXPECT_EQ(live.countName, "P@odata.count");
}

TEST(DeclaredPropertyValues, StandOnceEach)
{
    const Property property = host::schema::propertyOf(
        "P", json(R"({"value_mapping": {"1": "On", "2": "Off", "3": "On", "4": "", "5": 5}})"),
        true);
    EXPECT_THAT(property.values, ElementsAre("On", "Off", "5"));
}

TEST(DeclaredPropertyTexts, AreUnitsAndDescription)
{
    const Property property = host::schema::propertyOf(
        "P", json(R"({"units": "Cel", "description": "How warm it is."})"), true);
    EXPECT_EQ(property.units, "Cel");
    EXPECT_EQ(property.description, "How warm it is.");
}

TEST(DeclaredPropertyTexts, ThatSchemasCannotRepeatAreLeftOut)
{
    EXPECT_EQ(host::schema::shownText("a\x01"), "");
    EXPECT_EQ(host::schema::shownText("\xff"), "");
    EXPECT_EQ(host::schema::shownText("\xc3\xa9"), "\xc3\xa9");
}

TEST(JoinedProperties, CoverBoth)
{
    const auto of = [](const char* declared) {
        return host::schema::propertyOf("P", json(declared), true);
    };
    Property values = of(R"({"value_mapping": {"1": "On"}})");
    join(values, of(R"({"value_mapping": {"1": "Off", "2": "On"}})"));
    EXPECT_THAT(values.values, ElementsAre("On", "Off"));
    Property open = of(R"({"value_mapping": {"1": "On"}})");
    join(open, of(R"({"cim_type": "string"})"));
    EXPECT_THAT(open.values, IsEmpty());
    EXPECT_EQ(open.type, ValueType::Text);
    Property any = of(R"({"cim_type": "uint8"})");
    join(any, of(R"({"cim_type": "boolean"})"));
    EXPECT_EQ(any.type, ValueType::Any);
}

struct TypeNameCase
{
    const char* text;
    const char* versioned; // "": it names no type
    const char* qualified;
};

class OdataType : public testing::TestWithParam<TypeNameCase>
{};

TEST_P(OdataType, IsReadInItsParts)
{
    const auto type = host::schema::typeNameOf(GetParam().text);
    EXPECT_EQ(type ? type->versioned() : "", GetParam().versioned);
    EXPECT_EQ(type ? type->qualified() : "", GetParam().qualified);
}

INSTANTIATE_TEST_SUITE_P(
    , OdataType,
    testing::Values(TypeNameCase{"#VexoA.v1_0_0.VexoA", "VexoA.v1_0_0", "VexoA.v1_0_0.VexoA"},
                    TypeNameCase{"#VexoAs.VexoAs", "VexoAs", "VexoAs.VexoAs"},
                    TypeNameCase{"VexoA.v1_0_0.VexoA", "", ""}, TypeNameCase{"#VexoA", "", ""},
                    TypeNameCase{"#VexoA.b.VexoA", "", ""}, TypeNameCase{"#.v1_0_0.A", "", ""},
                    TypeNameCase{"#A/B.v1_0_0.A", "", ""}, TypeNameCase{"", "", ""}));

// The only type of a mapping with one entry, and what it needs besides.
ResourceType typeOf(const std::string& entry)
{
    const auto types = host::schema::resourceTypesOf(
        json(R"({"VexoA": {"@odata.type": "#VexoA.v1_0_0.VexoA", "@odata.id": "/r/VexoA", )" +
             entry + "}}"));
    EXPECT_EQ(types.size(), 1U);
    return types.empty() ? ResourceType() : types.front();
}

std::vector<std::string> namesOf(const ResourceType& type)
{
    std::vector<std::string> names;
    for (const Property& property : type.properties) {
        names.push_back(property.name);
    }
    return names;
}

TEST(MappedType, HasThePropertiesOfTheFirstClass)
{
    const ResourceType type = typeOf(
        R"("UniqueSelector": "K", "mappings": {
             "C_A": {"properties": {"K": {}, "Id": {}, "Name": {}, "B": {"alias": "Bee"},
                                    "D": {"alias": "Description"}}},
             "C_B": {"properties": {"Z": {}}}})");
    EXPECT_THAT(namesOf(type), ElementsAre("Bee", "K"));
    EXPECT_TRUE(type.properties[0].isNullable);
    EXPECT_FALSE(type.properties[1].isNullable); // an instance is found by it
    EXPECT_THAT(type.uris, ElementsAre("/r/VexoA/{Id}"));
}

TEST(MappedType, OfAServiceHasNoProperties)
{
    const ResourceType type = typeOf(R"("mappings": {"C_A": {"properties": {"B": {}}}})");
    EXPECT_THAT(type.properties, IsEmpty());
    EXPECT_THAT(type.uris, ElementsAre("/r/VexoA"));
}

TEST(MappedType, HasTheLinksThatHaveAMeaning)
{
    const ResourceType type = typeOf(
        R"("Links": {"ComputerSystem": {"@odata.id": "/s"}, "VexoEnclosureCollection": {},
                     "Nothing": {}})");
    ASSERT_TRUE(type.hasLinks);
    ASSERT_EQ(type.links.size(), 2U);
    EXPECT_FALSE(type.links[0].isArray);
    EXPECT_EQ(type.links[1].name, "VexoEnclosureCollection");
    EXPECT_TRUE(type.links[1].isArray);
}

TEST(MappedType, HasActionsWithTheInputsOfTheirMethods)
{
    const ResourceType type = typeOf(
        R"("mappings": {"C_A": {
             "Actions": {"#VexoA.Go": {"target": "/r/VexoA/Actions/VexoA.Go", "title": "Goes",
                                       "Mode@Redfish.AllowableValues": ["Fast"]}},
             "methods": {"Go": {"inputs": {
               "Mode": {"redfish_type": "Edm.String", "isrequired": true,
                        "value_mapping": {"1": "Fast"}},
               "Steps": {"redfish_type": "Edm.Int64", "is_arraytype": true}}}}}})");
    ASSERT_EQ(type.actions.size(), 1U);
    const host::schema::Action& action = type.actions.front();
    EXPECT_EQ(action.key, "#VexoA.Go");
    EXPECT_EQ(action.name, "Go");
    ASSERT_EQ(action.members.size(), 2U);
    EXPECT_STREQ(action.members[0].type, "array");
    EXPECT_STREQ(action.members[1].type, "string");
    ASSERT_EQ(action.parameters.size(), 2U);
    EXPECT_TRUE(action.parameters[0].isRequired);
    EXPECT_THAT(action.parameters[0].values, ElementsAre("Fast"));
    EXPECT_EQ(action.parameters[1].type, ValueType::Integer);
    EXPECT_TRUE(action.parameters[1].isArray);
}

std::vector<ResourceType> collectionAndMember(const std::string& isCached)
{
    return host::schema::resourceTypesOf(json(
        R"({"VexoA": {"@odata.type": "#VexoA.v1_0_0.VexoA", "UniqueSelector": "K",
                      "mappings": {"C_A": {"is_cached": )" +
        isCached + R"(}}},
            "VexoAs": {"@odata.type": "#VexoAs.VexoAs", "is_collection": true,
                       "@odata.id": "/r/VexoAs", "supports_nextlink": true,
                       "mappings": {"VexoA": {}}},
            "Box": {"C": {}}})"));
}

TEST(MappedCollection, KnowsItsMembers)
{
    const auto types = collectionAndMember("true");
    ASSERT_EQ(types.size(), 2U);
    const ResourceType& collection = types[1];
    EXPECT_TRUE(collection.isCollection);
    EXPECT_TRUE(collection.hasNextLink);
    EXPECT_TRUE(collection.hasId);
    ASSERT_TRUE(collection.members);
    EXPECT_EQ(collection.members->qualified(), "VexoA.v1_0_0.VexoA");
    EXPECT_THAT(collection.uris, ElementsAre("/r/VexoAs"));
}

TEST(MappedCollection, ThatIsReadLiveHasNoId)
{
    EXPECT_FALSE(collectionAndMember("false")[1].hasId);
}

TEST(MappedTypes, OfOneNameAreOne)
{
    const auto types = host::schema::resourceTypesOf(json(
        R"({"VexoA": {"@odata.type": "#VexoA.v1_0_0.VexoA", "@odata.id": "/r/VexoA",
                      "Selectors": "K=1", "mappings": {"C": {"properties": {"B": {}}}}},
            "VexoB": {"@odata.type": "#VexoA.v1_0_0.VexoA", "@odata.id": "/r/VexoB",
                      "Selectors": "K=2", "Links": {},
                      "mappings": {"C": {"properties": {"B": {}, "D": {}}}}}})"));
    ASSERT_EQ(types.size(), 1U);
    EXPECT_THAT(namesOf(types.front()), ElementsAre("B", "D"));
    EXPECT_THAT(types.front().uris, ElementsAre("/r/VexoA", "/r/VexoB"));
    EXPECT_TRUE(types.front().hasLinks);
}

constexpr const char* kContainers = R"({
    "VexoA": {"@odata.type": "#VexoA.v1_0_0.VexoA", "instances": {"VexoB": {}}},
    "VexoB": {"@odata.type": "#VexoB.v1_0_0.VexoB"},
    "Box": {"Description": "Of a bay.", "instances": {"VexoA": {}, "Plain": {}, "None": {}}},
    "VexoBox": {"instances": {"VexoB": {}}},
    "Box 2": {"instances": {}},
    "Plain": {},
    "NoObject": {"instances": 5}})";

std::string containerTypeOf(const char* name)
{
    const auto type = host::schema::containerTypeOf(json(kContainers), name);
    return type ? type->qualified() : "";
}

TEST(MappedContainer, HasATypeByItsNameWhereThatIsFree)
{
    EXPECT_EQ(containerTypeOf("Box"), "VexoBox.v1_0_0.VexoBox");
    EXPECT_EQ(containerTypeOf("VexoBox"), "VexoBox.v1_0_0.VexoBox");
    EXPECT_EQ(containerTypeOf("VexoA"), ""); // that of a resource
    EXPECT_EQ(containerTypeOf("Box 2"), ""); // no identifier
    EXPECT_EQ(containerTypeOf("Plain"), ""); // no container
    EXPECT_EQ(containerTypeOf("NoObject"), "");
}

TEST(MappedContainer, HasWhatAnyOfItsNameEmbeds)
{
    const auto types = host::schema::resourceTypesOf(json(kContainers));
    ASSERT_EQ(types.size(), 3U);
    const ResourceType& box = types[2];
    EXPECT_TRUE(box.isContainer);
    EXPECT_EQ(box.name.qualified(), "VexoBox.v1_0_0.VexoBox");
    EXPECT_EQ(box.description, "Of a bay.");
    std::vector<std::string> embedded;
    for (const host::schema::Embedded& one : box.embedded) {
        embedded.push_back(one.name + " " + (one.type ? one.type->qualified() : ""));
    }
    EXPECT_THAT(embedded,
                ElementsAre("Plain ", "VexoA VexoA.v1_0_0.VexoA", "VexoB VexoB.v1_0_0.VexoB"));
}

TEST(MappedTypes, OfWhatIsNoMappingAreNone)
{
    EXPECT_THAT(host::schema::resourceTypesOf(json(R"({"a": 1, "b": [], "c": {"mappings": 2}})")),
                IsEmpty());
}

TEST(ResourceTypeNames, AloneAreThoseOfTheTypes)
{
    const Json::Value sample = json(host::check::readFile("data/resourcemapping.json").value());
    for (const Json::Value& file : {sample, json(R"({"a": {"@odata.type": "#VexoX.v1_0_0.B"},
                           "b": {"@odata.type": "#VexoX.v1_0_0.A"},
                           "c": {"@odata.type": "#VexoX.v1_1_0.A"}, "d": {"@odata.type": "X"},
                           "e": {"@odata.type": 3}, "f": 4})")}) {
        std::vector<host::schema::TypeName> names;
        for (const ResourceType& type : host::schema::resourceTypesOf(file)) {
            names.push_back(type.name);
        }
        EXPECT_EQ(host::schema::typeNamesOf(file), names);
    }
}

} // namespace
