// Any bytes as the mapping file: its load, and the resolution of what it registers.
#include "CacheFile.h"
#include "MappingFile.h"
#include "ResourceMapper.h"
#include "ResourceMapper/mapping/UriTable.h"
#include "SfccInterface.h"
#include "checks.h"
#include "fuzz_logger.h"

#include <ExtendedErrorInfoHandling.h>
#include <odata/odata.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

// Enough for every entry of a mapping that a fuzzer makes; bounds the time of one run.
constexpr size_t kMaxNames = 12;

struct Surroundings
{
    Surroundings()
    {
        ExtendedErrorInfoHandling::SetRegistryDirectory("data/registries");
        // The mapping file is part of the product: one in which a registered URI names no resource,
        // or a selector no value, ends the process.
        fuzz::throwOnAssertions({"pEntityName != NULL", "eq_pos != std::string::npos"});
        // Links are read until SQLite is done, so their table must exist.
        cache.Run("create table Tbl_CMPIReady (ClassName text);"
                  "insert into Tbl_CMPIReady values ('XCIM_Thing');"
                  "create table Tbl_xcim_enclosureemmdependency (__LeftClass text,"
                  " __LeftClassKey text, __RightClass text, __RightClassKey text);"
                  "insert into Tbl_xcim_enclosureemmdependency values"
                  " ('XCIM_Thing', 'a', 'XCIM_Other', 'b')");
        fuzz::require(cache.Open() == 0, "the cache opens");
    }

    support::CacheFile cache;
    support::MappingFile mapping;
};

// A read's answer from the mapping alone. The cache is not asked for rows: names in the mapping are
// pasted into its queries, and arbitrary SQL may run for ever.
void answer(ResourceMapper& mapper, odata::Scope& scope)
{
    mapper.PrintRMFData();
    (void)mapper.IsCached();
    (void)mapper.GetSelectQuery(mapper.mCimClass, 50, 0, "", "");
    Json::Value body;
    _ResourceMapperError rc = RM_OK;
    if (!mapper.IsServiceURI(body, rc)) {
        body["Members"].append(Json::Value(Json::objectValue));
        body["Id"] = "PSU.Slot.1";
        body["Name"] = Json::Value(Json::arrayValue);
        Json::Value selected;
        rc = mapper.isQueryOptionPresent(OL_OPTION_SELECT, selected);
        rc = rc == RM_OK ? mapper.ApplyFilterToGetInstance(body, selected, false) : rc;
    }
    if (rc == RM_OK) {
        mapper.SendResponse(body);
    } else {
        mapper.SendExtendedErrorResponse(rc);
    }
    fuzz::requireJsonObject(scope.GetBody());
}

void resolve(const std::string& url, int method)
{
    odata::Scope scope = odata::Scope::ForRequest(url);
    const odata::URI uri = scope.NewURI();
    if (uri.GetSegmentCount() == 0) {
        return; // the host refuses it
    }
    try {
        SfccSession cim("");
        ResourceMapper mapper(&cim, scope, uri, false);
        const _ResourceMapperError rc = mapper.ParseUri(method);
        if (rc != RM_OK) {
            mapper.SendExtendedErrorResponse(rc);
            fuzz::requireJsonObject(scope.GetBody());
        } else if (method == RM_METHOD_GET) {
            answer(mapper, scope);
        }
    } catch (const fuzz::BrokenInvariant&) {
        return; // a contract of the mapping
    }
}

void loadByName(const std::string& name)
{
    odata::Scope scope = odata::Scope::ForRequest("/redfish/v1/x?$select=Links,Name,Id");
    const odata::URI uri = scope.NewURI();
    SfccSession cim("");
    ResourceMapper mapper(&cim, scope, uri, false);
    mapper.mOemResourceName = name;
    fuzz::require(mapper.Load() == RM_OK, "every entry of a mapping loads by its name");
    answer(mapper, scope);
}

std::vector<std::string> firstNames(const Json::Value& object)
{
    std::vector<std::string> names =
        object.isObject() ? object.getMemberNames() : std::vector<std::string>();
    names.resize(std::min(names.size(), kMaxNames));
    return names;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const Surroundings kSurroundings;
    kSurroundings.mapping.Write(std::string(data, data + size));
    support::MappingFile::ForgetLoaded();

    resolve("/redfish/v1/VexoThing", RM_METHOD_GET); // loads the file
    for (const std::string& url : firstNames(URIObj)) {
        resolve(url, RM_METHOD_GET);
        resolve(url + "/Some.Instance", RM_METHOD_GET);
        resolve(url + "?$select=Links/x,Actions/%23x,*", RM_METHOD_GET);
        resolve(url, RM_METHOD_POST);
        resolve(url + "/Some.Instance", RM_METHOD_POST);
    }
    for (const std::string& name : firstNames(ResourceMapper::RmfObj)) {
        loadByName(name);
    }
    return 0;
}
