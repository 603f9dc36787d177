// Fixture for tests of embedded data: a container, "Rack", that embeds what the test says, and what
// comes of asking it.
#ifndef TESTS_SUPPORT_MAPPED_RESOURCES_TEST_H_
#define TESTS_SUPPORT_MAPPED_RESOURCES_TEST_H_

#include "LibraryTest.h"

#include <string>

namespace support {

class MappedResourcesTest : public LibraryTest
{
protected:
    struct Answer
    {
        _ResourceMapperError result;
        Json::Value out;
    };

    // The mapping has "Fan", "Lid" and "Pump"; the cache has two of each, in slots 1 and 2.
    MappedResourcesTest()
    {
        for (const char* name : {"Fan", "Lid", "Pump"}) {
            addResource(name);
        }
    }

    void SetUp() override
    {
        openCache("create table Tbl_CMPIReady (ClassName); insert into Tbl_CMPIReady values "
                  "('XCIM_Fan'), ('XCIM_Lid'), ('XCIM_Pump');" +
                  table("Fan", "('1', 1100), ('2', 1200)") +
                  table("Lid", "('1', 2100), ('2', 2200)") +
                  table("Pump", "('1', 3100), ('2', 3200)"));
    }

    // SQL that makes a resource's table.
    static std::string table(const std::string& name, const std::string& rows)
    {
        const std::string table = "Tbl_XCIM_" + name;
        return "create table " + table + " (Slot, Speed); insert into " + table + " values " +
               rows + ";";
    }

    // The read of a resource, as it is prepared.
    static std::string selectOf(const std::string& name, const std::string& tail)
    {
        return "select Speed,Slot from Tbl_XCIM_" + name + tail;
    }

    // The read of a fan by a condition.
    static std::string byCondition(const std::string& condition)
    {
        return selectOf("Fan", " where " + condition + " COLLATE NOCASE");
    }

    // What IsCached() runs for a resource.
    static std::string readinessOf(const std::string& name)
    {
        return "select count(*) from Tbl_CMPIReady where ClassName = \"XCIM_" + name +
               "\" COLLATE NOCASE";
    }

    // A resource with a property, "Speed", whose instances are found by "Slot".
    void addResource(const std::string& name)
    {
        Json::Value& entry = mResources[name];
        entry["@odata.id"] = "/r/" + name;
        entry["@odata.type"] = "#" + name;
        entry["@odata.context"] = "/ctx";
        entry["UniqueSelector"] = "Slot";
        classOf(name) = json(R"({"is_cached": true, "key_properties": ["Slot"],
                                 "properties": {"Speed": {"cim_type": "uint32"}}})");
    }

    // A resource's class in the mapping.
    Json::Value& classOf(const std::string& name)
    {
        return mResources[name]["mappings"]["XCIM_" + name];
    }

    // Writes the mapping, with these "instances" of the container.
    void embed(const std::string& instances)
    {
        mResources["Rack"]["instances"] = json(instances);
        MappingFile::ForgetLoaded();
        mMapping.Write(compact(mResources));
    }

    static Answer mapped(Request& request, const char* id)
    {
        Answer answer{RM_OK, Json::Value()};
        answer.result = request.mapper.GetMappedResources("Rack", id, answer.out);
        EXPECT_EQ(request.scope.GetHeaderCount(), 0U);
        return answer;
    }

    static Answer mapped(const char* id)
    {
        Request request("/", true);
        return mapped(request, id);
    }

    Json::Value mResources{Json::objectValue};
};

} // namespace support

#endif
