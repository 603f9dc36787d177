// The service's own resources: what there is, and how it travels.
#include "native/service_uuid.h"
#include "native/tree.h"

#include <JsonText.h>
#include <TempDirectory.h>
#include <gmock/gmock.h>

#include <fstream>

namespace {

using host::native::Documents;
using support::json;
using testing::Contains;
using testing::Key;
using testing::Not;

const char* const kType = R"("@odata.type": "#VexoA.v1_0_0.VexoA")";

// All of them, schemas as well.
Documents documentsOf(const std::string& mapping)
{
    Documents documents = host::native::documentsOf(
        json(mapping),
        {"",
         {{"Base.1.18", "Base messages", "Base.1.18", "en",
           "#MessageRegistry.v1_6_2.MessageRegistry", "{\"RegistryPrefix\": \"Base\"}\n"}}});
    documents.merge(host::native::schemasOf(json(mapping)));
    return documents;
}

Json::Value bodyOf(const Documents& documents, const std::string& uri)
{
    const auto found = documents.find(uri);
    return found == documents.end() ? Json::Value()
                                    : json(host::native::plainTextOf(found->second));
}

TEST(NativeTree, HasRootRegistriesAndSchemas)
{
    const Documents documents = documentsOf(std::string(R"({"VexoA": {)") + kType + "}}");
    EXPECT_EQ(bodyOf(documents, "/redfish")["v1"].asString(), "/redfish/v1/");
    EXPECT_EQ(bodyOf(documents, "/redfish/v1")["@odata.id"].asString(), "/redfish/v1/");
    EXPECT_EQ(
        bodyOf(documents, "/redfish/v1/Registries/Base.1.18")["Location"][0]["Uri"].asString(),
        "/redfish/v1/Registries/Base.1.18.json");
    EXPECT_EQ(host::native::plainTextOf(documents.at("/redfish/v1/Registries/Base.1.18.json")),
              "{\"RegistryPrefix\": \"Base\"}\n");
    EXPECT_EQ(bodyOf(documents, "/redfish/v1/JsonSchemas/VexoA")["Location"][0]["Uri"].asString(),
              "/redfish/v1/JsonSchemas/VexoA.json");
    EXPECT_THAT(documents, Contains(Key("/redfish/v1/JsonSchemas/VexoA.json")));
    EXPECT_THAT(documents, Contains(Key("/redfish/v1/JsonSchemas/VexoA.v1_0_0.json")));
    EXPECT_THAT(documents, Contains(Key("/redfish/v1/Schemas/VexoA_v1.xml")));
    EXPECT_THAT(documents, Contains(Key("/redfish/v1/$metadata")));
    EXPECT_EQ(documents.at("/redfish/v1").describedBy,
              "http://redfish.dmtf.org/schemas/v1/ServiceRoot.v1_5_0.json");
}

TEST(NativeTree, OnlySchemasAreAtTheirUris)
{
    for (const auto& [uri, document] :
         host::native::schemasOf(json(std::string(R"({"VexoA": {)") + kType + "}}"))) {
        EXPECT_TRUE(host::native::isSchemaUri(uri)) << uri;
    }
    for (const char* uri : {"/redfish/v1", "/redfish/v1/$metadata", "/redfish/v1/Systems"}) {
        EXPECT_FALSE(host::native::isSchemaUri(uri)) << uri;
    }
}

TEST(NativeTree, HasAllTypesThatAVersionOfANameSpaceHas)
{
    const Documents documents = documentsOf(R"({"VexoA": {"@odata.type": "#VexoX.v1_0_0.A"},
                        "VexoB": {"@odata.type": "#VexoX.v1_0_0.B"}})");
    for (const char* uri :
         {"/redfish/v1/JsonSchemas/VexoX.v1_0_0.json", "/redfish/v1/JsonSchemas/VexoX.json"}) {
        const Json::Value definitions = bodyOf(documents, uri)["definitions"];
        EXPECT_TRUE(definitions.isMember("A") && definitions.isMember("B")) << uri;
    }
}

TEST(NativeTree, HasTheTypesOfANameSpaceWithAndWithoutAVersion)
{
    const Documents documents = documentsOf(R"({"VexoA": {"@odata.type": "#VexoX.v1_0_0.VexoX"},
                        "VexoB": {"@odata.type": "#VexoX.VexoX"}})");
    const Json::Value all = bodyOf(documents, "/redfish/v1/JsonSchemas/VexoX.json");
    const Json::Value& choices = all["definitions"]["VexoX"]["anyOf"];
    ASSERT_EQ(choices.size(), 3U);
    EXPECT_EQ(choices[1]["properties"]["@odata.type"]["const"].asString(), "#VexoX.VexoX");
    EXPECT_EQ(choices[2]["$ref"].asString(),
              "/redfish/v1/JsonSchemas/VexoX.v1_0_0.json#/definitions/VexoX");
    EXPECT_THAT(documents, Contains(Key("/redfish/v1/JsonSchemas/VexoX.v1_0_0.json")));
}

TEST(NativeTree, AnnouncesTheQueryOptionsOfItsResources)
{
    const Json::Value features =
        bodyOf(documentsOf("{}"), "/redfish/v1")["ProtocolFeaturesSupported"];
    EXPECT_THAT(features, support::IsJson(R"({"ExcerptQuery": false, "ExpandQuery":
        {"ExpandAll": true, "Levels": true, "Links": true, "MaxLevels": 3, "NoLinks": true},
        "FilterQuery": false, "OnlyMemberQuery": true, "SelectQuery": true})"));
}

TEST(NativeTree, SendsToTheStandardForItsOwnTypes)
{
    const Documents documents = documentsOf(R"({"Jobs": {"@odata.type": "#Job.v1_0_0.Job"}})");
    EXPECT_EQ(bodyOf(documents, "/redfish/v1/JsonSchemas/Job")["Location"][0]["PublicationUri"]
                  .asString(),
              "http://redfish.dmtf.org/schemas/v1/Job.json");
    EXPECT_THAT(documents, Not(Contains(Key("/redfish/v1/JsonSchemas/Job.json"))));
    EXPECT_THAT(documents, Not(Contains(Key("/redfish/v1/Schemas/Job_v1.xml"))));
}

TEST(NativeTree, LeavesTheUrisOfTheMappingToIt)
{
    const Documents documents = documentsOf(R"({
        "VexoRoot": {"@odata.id": "/redfish/v1"},
        "VexoRegistries": {"@odata.id": "/redfish/v1/Registries"},
        "Registries": {"UniqueSelector": "Id"},
        "VexoSchemas": {"@odata.id": "/redfish/v1/JsonSchemas"}})");
    EXPECT_THAT(documents, Not(Contains(Key("/redfish/v1"))));
    EXPECT_THAT(documents, Not(Contains(Key("/redfish/v1/Registries"))));
    EXPECT_THAT(documents, Not(Contains(Key("/redfish/v1/Registries/Base.1.18")))); // an instance
    EXPECT_THAT(documents, Not(Contains(Key("/redfish/v1/JsonSchemas"))));
    EXPECT_THAT(documents,
                Contains(Key("/redfish/v1/JsonSchemas/ServiceRoot"))); // has no instances
    EXPECT_THAT(documents, Contains(Key("/redfish/v1/odata")));
}

TEST(NativeTree, HasTheConstantResourcesOfTheServiceFile)
{
    const Json::Value mapping =
        json(R"({"VexoFan": {"@odata.id": "/r/VexoFan", "UniqueSelector": "Id"}})");
    const auto file =
        host::service_file::readServiceFile(json(R"({"/redfish/v1": {"Name": "N", "Id": "own"},
                 "/redfish/v1/Chassis": {"@odata.type": "#ChassisCollection.ChassisCollection", "Name": "C"},
                 "/redfish/v1/Chassis/A": {"@odata.type": "#Chassis.v1_14_0.Chassis", "Name": "A",
                                           "B": {"from": "/r/VexoFan/1", "property": "Id"}}})"),
                                            mapping);
    const Documents documents = host::native::documentsOf(mapping, {"", {}}, file);
    const Json::Value root = bodyOf(documents, "/redfish/v1");
    EXPECT_EQ(root["Name"].asString(), "N");
    EXPECT_EQ(root["Id"].asString(), "RootService");
    EXPECT_EQ(root["Chassis"]["@odata.id"].asString(), "/redfish/v1/Chassis");
    EXPECT_EQ(bodyOf(documents, "/redfish/v1/Chassis")["Members"][0]["@odata.id"].asString(),
              "/redfish/v1/Chassis/A");
    EXPECT_TRUE(documents.at("/redfish/v1/Chassis").isResource);
    EXPECT_FALSE(documents.at("/redfish/v1/$metadata").isResource);
    EXPECT_THAT(documents, Not(Contains(Key("/redfish/v1/Chassis/A")))); // a worker's
    EXPECT_THAT(documents, Contains(Key("/redfish/v1/JsonSchemas/Chassis")));
}

TEST(NativeDocuments, TravelAsTheyAre)
{
    const Documents documents = documentsOf(std::string(R"({"VexoA": {)") + kType + "}}");
    Documents got;
    ASSERT_TRUE(host::native::decodeDocuments(host::native::encodeDocuments(documents), got));
    ASSERT_EQ(got.size(), documents.size());
    for (const auto& [uri, document] : documents) {
        EXPECT_EQ(got.at(uri).body, document.body) << uri;
        EXPECT_EQ(got.at(uri).hash, document.hash) << uri;
        EXPECT_EQ(got.at(uri).type, document.type) << uri;
        EXPECT_EQ(got.at(uri).describedBy, document.describedBy) << uri;
        EXPECT_EQ(got.at(uri).isResource, document.isResource) << uri;
        EXPECT_EQ(host::native::plainTextOf(got.at(uri)), host::native::plainTextOf(document));
    }
}

TEST(NativeDocuments, ThatAreDamagedAreRefused)
{
    const std::string text = host::native::encodeDocuments(documentsOf("{}"));
    Documents got;
    EXPECT_FALSE(host::native::decodeDocuments(text.substr(0, text.size() - 1), got));
}

TEST(NativeDocuments, AreCompressedWhereThatIsWorthIt)
{
    const auto make = [](const std::string& text) {
        return host::native::makeDocument(host::native::MediaType::Json, text);
    };
    EXPECT_FALSE(isWorthCompressing(make(std::string(100, 'a'))));
    host::native::Document large = make(std::string(5000, 'a'));
    ASSERT_TRUE(isWorthCompressing(large));
    host::Compressor compressor;
    compress(large, compressor);
    ASSERT_TRUE(large.isCompressed);
    EXPECT_LT(large.body.size(), 100U);
    EXPECT_EQ(host::native::plainTextOf(large), std::string(5000, 'a'));
    large.body.resize(10);
    EXPECT_EQ(host::native::plainTextOf(large), "");
}

TEST(RegistryFiles, AreTheRegistriesOfADirectory)
{
    const support::TempDirectory directory;
    const auto write = [&](const char* name, const char* text) {
        std::ofstream(directory.File(name)) << text;
    };
    write("Base.1.18.json", R"({"RegistryPrefix": "Base", "RegistryVersion": "1.18.2",
                                "Name": "N", "Language": "en", "@odata.type": "#T.T"})");
    write("Acme.json", R"({"RegistryPrefix": "Acme", "RegistryVersion": "2.0"})");
    write("other.json", "{}");
    write("broken.json", "{");
    write("notes.txt", R"({"RegistryPrefix": "A", "RegistryVersion": "1.0"})");
    write("A b.json", R"({"RegistryPrefix": "A", "RegistryVersion": "1.0"})");
    const auto files = host::native::readRegistryFiles(directory.File(""));
    ASSERT_EQ(files.size(), 2U);
    EXPECT_EQ(files[0].id, "Acme");
    EXPECT_EQ(files[0].registry, "Acme.2.0");
    EXPECT_EQ(files[1].id, "Base.1.18");
    EXPECT_EQ(files[1].registry, "Base.1.18");
    EXPECT_EQ(files[1].language, "en");
    EXPECT_TRUE(host::native::readRegistryFiles(directory.File("nowhere")).empty());
}

TEST(ServiceUuid, IsMadeOfTheMachinesIdAndNothingElse)
{
    const std::string uuid = host::native::uuidOfMachine("0123456789abcdef0123456789abcdef\n");
    EXPECT_THAT(uuid, testing::MatchesRegex(
                          "[0-9a-f]{8}-[0-9a-f]{4}-5[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
    EXPECT_EQ(uuid, host::native::uuidOfMachine("0123456789abcdef0123456789abcdef"));
    EXPECT_NE(uuid, host::native::uuidOfMachine("1123456789abcdef0123456789abcdef"));
    EXPECT_EQ(host::native::uuidOfMachine("uninitialized\n"), "");
    EXPECT_EQ(host::native::uuidOfMachine(""), "");
}

} // namespace
