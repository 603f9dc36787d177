// One Redfish request, answered from a mapping file, the data cache and CIM.
//
// The host makes a ResourceMapper for each request, resolves the URI with ParseUri(), calls one
// operation and sends the result. A read:
//
//   #include <ResourceMapper.h>
//   #include <SfccInterface.h>
//
//   // Once, before the first read. Only where the mapping has a class with "is_cached": without
//   // its data cache the process ends.
//   void start()
//   {
//       LoadDatabase();
//   }
//
//   enum class Source { Mapping, Cache, CacheNotReady, Cim };
//
//   Source sourceOf(ResourceMapper& mapper)
//   {
//       const Json::Value& entry = mapper.mResourceObj;
//       if (!mapper.mIsCollection && !entry.isMember("UniqueSelector")) {
//           return entry.isMember("Selectors") ? Source::Cim : Source::Mapping;
//       }
//       if (!entry["mappings"][mapper.mCimClass]["is_cached"].asBool()) {
//           return Source::Cim;
//       }
//       return mapper.IsCached() ? Source::Cache : Source::CacheNotReady;
//   }
//
//   // Status, headers and body of the answer are the scope's afterwards.
//   void answerGet(odata::Scope& scope, SfccSession& session)
//   {
//       const odata::URI uri = scope.NewURI();
//       ResourceMapper mapper(&session, scope, uri, false);
//       Json::Value body;
//       _ResourceMapperError rc = mapper.ParseUri(RM_METHOD_GET);
//       if (rc == RM_OK) {
//           switch (sourceOf(mapper)) {
//           case Source::Mapping: // a service: what its entry says of it is all there is
//               mapper.IsServiceURI(body, rc);
//               break;
//           case Source::Cache:
//               rc = mapper.mIsCollection ? mapper.GetCollection(body, true)
//                                         : mapper.GetInstance(body, true);
//               break;
//           case Source::CacheNotReady: // the header "Retry-After" is set
//               scope.SetStatus(503);
//               scope.WriteBody("application/json", "{}"); // or an error of the host's own
//               scope.SendResult(1, "");
//               return;
//           case Source::Cim:
//               rc = mapper.mIsCollection ? mapper.GetCollection(body) : mapper.GetInstance(body);
//               break;
//           }
//       }
//       if (rc == RM_OK) {
//           mapper.SendResponse(body);
//       } else {
//           mapper.SendExtendedErrorResponse(rc);
//       }
//   }
//
// The project's docs/host-integration.md has the loop around it, and a POST.
//
// Each read exists twice: live from CIM through the session, and, with a further bool whose value
// does not matter, from the data cache.
//
// Threads: a mapper belongs to one request and one thread. Requests may run on several threads,
// each with its own mapper and, where CIM is read, its own session; the mapping file is loaded
// once, by whichever comes first.
//
// Broken invariants log "Assertion '...' failed" at level 1 and abort the process; each operation
// names its own. No operation throws, whatever the JSON that it is given holds: of an output, of
// mErrorArgs and of mSelectorSet, what cannot be written into is replaced.
#ifndef RESOURCE_MAPPER_H_
#define RESOURCE_MAPPER_H_

#include "CimgateExport.h"
#include "ExtendedErrorInfoHandlingCIM.h"
#include "SQLInterface.h"

#include <CimClientLib/cmci.h>
#include <ExtendedErrorInfoHandling.h>
#include <json/json.h>
#include <odata/odata.h>

#include <mutex>
#include <string>
#include <vector>

class SfccSession;

// Method codes of ParseUri(); bits, so that a URI can allow several.
constexpr int RM_METHOD_POST = 1;
constexpr int RM_METHOD_GET = 2;

class CIMGATE_EXPORT ResourceMapper
{
public:
    // ---- The mapping file, one for the process ----

    // NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): one mapping for the process
    // The file's path, by default "/usr/share/cimgate/resourcemapping.json". A development host or
    // a test may set it before the first request.
    static std::string RmfPath;
    // The parsed file; written once, under RmfLock, and only read afterwards.
    static Json::Value RmfObj;
    static std::mutex RmfLock;
    static bool RmfFileLoaded;
    // NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

    // ---- Construction ----

    // session  CIM session, not owned, connected by the operations that need it; null where only
    //          the data cache is read.
    // scope, uri  the request; both must outlive the mapper.
    // isZMQCall  the request came over the message queue: selectors are taken whole, and the
    //            answer carries no "Id", "Name", "Description" and no headers.
    ResourceMapper(SfccSession* session, odata::Scope& scope, const odata::URI& uri,
                   bool isZMQCall);
    ~ResourceMapper();
    ResourceMapper(const ResourceMapper&) = delete;
    ResourceMapper& operator=(const ResourceMapper&) = delete;

    // ---- Resolution ----

    // Finds the resource that the URI names and checks that it allows the method (RM_METHOD_GET or
    // RM_METHOD_POST). A trailing "/" and the query do not matter. On success the members below
    // describe the resource; GET accepts three shapes of URI: a registered "@odata.id", an instance
    // one segment below one, and (POST) an action's "target".
    // Results: RM_OK; RM_INVALID_URI; RM_METHOD_NOT_ALLOWED; RM_RESOURCE_NOT_IN_RMF;
    // RM_RMF_NOT_PRESENT and RM_MALFORMED_JSON from loading the mapping file. After a failure
    // mErrorArgs holds the message arguments.
    // A POST to an instance's URI is never served: the instance is looked up live, to tell
    // RM_METHOD_NOT_ALLOWED (it exists) from RM_INVALID_URI. That takes a session.
    // Aborts on a URI without segments and where a host had set mOemResourceName before.
    _ResourceMapperError ParseUri(int method);

    // For a host that knows the resource: loads the mapping entry named by mOemResourceName.
    // Results as those of checkResource().
    _ResourceMapperError Load();

    // Makes sure that the mapping file is loaded and looks name up in it. On success
    // mOemResourceName and mResourceObj are set, whatever they held, and, unless skipLoadEntry, the
    // collection flags and mCimClass. Results: RM_OK; RM_RESOURCE_NOT_IN_RMF (mErrorArgs["p1"] is
    // name); RM_RMF_NOT_PRESENT; RM_MALFORMED_JSON (also where the file's top level is no object).
    // A failed load is tried again by the next request.
    _ResourceMapperError checkResource(const std::string& name, bool skipLoadEntry);

    // Decides which resource the URI names: *pEntityName becomes the segment with the resource's
    // name (it belongs to the URI), *pIsResourceURI true where the URI itself is registered.
    // baseURI is the URI's path without its last segment.
    _ResourceMapperError isValidURI(int method, const char** pEntityName, bool* pIsResourceURI,
                                    std::string baseURI);

    // Fills the table of registered URIs from RmfObj; called by the load, under RmfLock.
    void generateURIs();

    // Sets mCimClass, the first class of the entry's "mappings", and returns it. For a collection
    // mResourceObj becomes the entry of its member resource first.
    std::string GetCimClass();

    // Looks up member key of the action that the URI's last segment names and stores it in target
    // (unchanged when absent or empty); sets mCimMethodName. segCount is the URI's segment count.
    // Returns 1.
    int GetTarget(const std::string& key, std::string& target, unsigned int segCount);

    // Reads a string of the mapping entry: of mResourceObj, or for a collection and fromResourceObj
    // false of the collection's own entry. Returns false, with value unchanged, when key is absent.
    bool GetOdataMedata(const std::string& key, std::string& value, bool fromResourceObj) const;

    // out becomes the array of the class's mapped property names, sorted.
    void GetCimClassProperties(Json::Value& out);

    // Splits "name=value,name=value" into mSelectorSet; on the message queue the whole text is the
    // value of the class's one key property. Aborts on an empty text, an item without "=", and, on
    // the message queue, a class without exactly one key property. Returns 0.
    int parseSelectors(std::string selectors);

    // A copy of s with every blank written as "%20".
    std::string ReplaceSpaces(std::string& s);

    // A singleton (no collection, no "UniqueSelector"): fills out from the mapping file alone,
    // stores the result in err and returns true. Otherwise returns false and leaves both. err:
    // RM_OK, RM_QUERY_NOT_SUPPORTED, RM_INTERNAL_ERROR, RM_PROPERTY_UNKNOWN.
    bool IsServiceURI(Json::Value& out, _ResourceMapperError& err);

    const char* GetOemResourceName() const;
    const char* GetCimMethodName() const;

    // Logs the class's mapped properties and whether each has a value map, at level 3.
    void PrintRMFData();

    // ---- Reads ----

    // Whether the class may be served from the data cache: "is_cached" in the mapping and a row in
    // the readiness table. Where only the row is missing, the response header "Retry-After: 5" is
    // set (not on the message queue).
    bool IsCached();

    // The instance with the keys mSelectorSet (to which mInstanceId is added as "UniqueSelector",
    // except on the message queue), live from CIM. out: as below, except that the key addresses the
    // instance ("@odata.id", "Id", "Links") only where it is a mapped property and not left out by
    // $select. Results: RM_OK; RM_INSTANCE_NOT_FOUND (mErrorArgs["p1"] is mInstanceId); those of
    // ConvertCMPIErrortoRMError(); RM_INTERNAL_ERROR and RM_QUERY_NOT_SUPPORTED from the query
    // options; RM_PROPERTY_UNKNOWN. Aborts without a session and where the resource is a
    // collection.
    _ResourceMapperError GetInstance(Json::Value& out);

    // The instance named by mInstanceId, from the data cache. The bool only chooses this source.
    // out: the mapped properties under their aliases, with OData annotations, "Links" and
    // "Actions", narrowed by $select. Results: RM_OK; RM_INVALID_URI (no key, or no readable row);
    // RM_INTERNAL_ERROR (no mapped properties, statement cannot be prepared, $select empty or above
    // 255 bytes); RM_QUERY_NOT_SUPPORTED ($expand or $filter without $select); RM_PROPERTY_UNKNOWN.
    // After a failure out may hold partial data. Aborts where the resource is a collection.
    _ResourceMapperError GetInstance(Json::Value& out, bool fromCache);

    // A collection, live from CIM: one enumeration of the class, whatever its size. out: as below,
    // except that there is a next link only where there is a next member that the request asks for,
    // and that members have no "@odata.context". Options other than $top and $skip are not looked
    // at. Results: RM_OK; RM_QUERY_PARAM_OUT_OF_RANGE; those of ConvertCMPIErrortoRMError(). Aborts
    // without a session and where the resource is no collection.
    _ResourceMapperError GetCollection(Json::Value& out);

    // A collection from the data cache: "Members", "Members@odata.count" and, where the mapping
    // allows it, "Members@odata.nextLink" after every 50 members. The bool only chooses the source.
    // Results: RM_OK; RM_INTERNAL_ERROR (table missing, no mapped properties, statement cannot be
    // prepared); RM_QUERY_PARAM_OUT_OF_RANGE ($top, $skip); RM_QUERY_NOT_SUPPORTED;
    // RM_PROPERTY_UNKNOWN. Aborts where the resource is no collection.
    _ResourceMapperError GetCollection(Json::Value& out, bool fromCache);

    // The first instance that query (a CQL SELECT; all instances when empty) gives, live from CIM;
    // message queue only. Failures are logged and leave out as it was. Aborts without a session and
    // for a request that did not come over the message queue.
    void QueryInstances(Json::Value& out, const std::string& query);

    // The first instance that matches clause (" where ...", with its leading blank), from the data
    // cache; message queue only (aborts otherwise). Failures are logged and leave out without data.
    void QueryInstances(Json::Value& out, const std::string& clause, bool fromCache);

    // ---- Embedded data ----

    // Adds to out, an object, what a container embeds, for the message queue: of each
    // resource in the "instances" of its entry one instance, under the resource's name. Only the
    // data cache is read.
    // container  the name of an entry, NUL-terminated.
    // id         NUL-terminated, below 128 bytes. The "KeyRegex" and "QueryClause" of each resource
    //            turn it into the key or the SQL condition of the instance. It is pasted into SQL
    //            as it is: a caller lets no quotes and no comment marks from outside through.
    // Results: RM_OK; RM_DATA_NOT_CACHED where a resource's class is not ready in the cache: what
    // comes before it is in out. A resource that the mapping lacks, whose expression is wrong or
    // does not match, or that has no such instance, is logged and left out. A collection that is
    // found by a condition has its annotations only, and those after it no "Links". Aborts on a
    // container that the mapping lacks, a mapping that cannot be loaded and, where an instance is
    // found by its key, on an empty key, on a collection, and on a class with other than one key
    // property.
    _ResourceMapperError GetMappedResources(const char* container, const char* id,
                                            Json::Value& out);

    // ---- Query options and select ----

    // A numeric option (OL_OPTION_TOP, OL_OPTION_SKIP): stores its value, or 0 when absent, and
    // returns whether it is present.
    bool isQueryOptionPresent(int option, unsigned long& value) const;

    // A list option (OL_OPTION_SELECT): appends its items to list. When it is absent, $expand and
    // $filter are refused. Results: RM_OK, RM_QUERY_NOT_SUPPORTED, RM_INTERNAL_ERROR (empty or
    // above 255 bytes).
    _ResourceMapperError isQueryOptionPresent(int option, Json::Value& list);

    // text without its leading and trailing "+".
    std::string TrimWhiteSpace(std::string text);

    // Appends to matched each of candidates that selectList names (under its alias); "*" sets
    // selectAll. Results: RM_OK; RM_PROPERTY_UNKNOWN with mErrorArgs["p1"] = the item.
    _ResourceMapperError MatchQueryParamAndPropList(Json::Value candidates, Json::Value selectList,
                                                    Json::Value& matched, bool& selectAll);

    // The SELECT for a class's table; empty when there is no column (no mapped property and no
    // "UniqueSelector"). A limit or an offset (0: none) excludes key, and key (bound by the caller)
    // excludes extraClause, which is appended as it is.
    std::string GetSelectQuery(std::string cimClass, unsigned long limit, unsigned long offset,
                               std::string key, std::string extraClause) const;

    // Turns data, as read from the cache, into the answer: narrows it by selectList, applies
    // aliases and adds the annotations. forActions: only the "Actions" of a singleton. After a
    // failure data is unchanged. Results: RM_OK, RM_PROPERTY_UNKNOWN.
    _ResourceMapperError ApplyFilterToGetInstance(Json::Value& data, Json::Value selectList,
                                                  bool forActions);

    // ---- From CIM instances to JSON ----

    // Converts the mapped properties of an instance that selectList leaves (null: all) and adds
    // them to out under their aliases, with the OData annotations. Values with a "value_mapping"
    // are shown as it says; those that it lacks are left out. The instance stays the caller's.
    // Results: RM_OK, RM_PROPERTY_UNKNOWN. Aborts on a null instance.
    _ResourceMapperError ConvertCMPIInstanceToJson(CMPIInstance* instance, Json::Value& out,
                                                   Json::Value& selectList);

    // Adds one property to out, under its own name: see CmpiJson::CmpiDataToJson(), or mapped where
    // it has a "value_mapping". A mapped array has no "@odata.count"; when it is null it becomes
    // [], its elements that cannot be mapped become null. Aborts on a null name.
    void DoCMPIDataToJson(char* name, CMPIData& data, Json::Value& out) const;

    // Adds the text that the property's "value_mapping" has for a single value, if it has one.
    // Integers and strings can be mapped, in any state; other types are logged. Aborts on a string
    // without text, as that of a null property.
    void DoPropertyValueMap(char* name, CMPIData& data, Json::Value& out) const;

    // Looks key up in the property's "value_mapping"; false, with value unchanged, when it lacks
    // it, which is logged. Aborts on null arguments.
    bool GetPropertyKeyValue(char* name, char* key, std::string& value) const;

    // An integer of any width as 64 bits, sign-extended. Returns CMPI_RC_OK, also for an unknown
    // integer type, or CMPI_RC_ERR_NOT_SUPPORTED for a type that is no integer; both leave result
    // unchanged.
    CMPIrc GetCimIntValue(CMPIValue& value, unsigned short type, unsigned long long& result);

    // ---- Annotations ----

    // Adds the OData annotations and the headers to a live collection itself. Returns RM_OK. Aborts
    // where the resource is no collection.
    _ResourceMapperError AddOdataMetaData(Json::Value& collection);

    // Adds the OData annotations to a live instance or member of a collection, obj being what was
    // converted of it, under the properties' own names. The instance is not read. Results: RM_OK;
    // RM_PROPERTY_UNKNOWN from a $select on actions.
    _ResourceMapperError AddOdataMetaData(CMPIInstance* instance, Json::Value& obj,
                                          Json::Value& selectList);

    // Adds the OData annotations to a cached object. isTarget: obj is what the request names, an
    // instance or the collection itself, not a member of a collection. isRequested is not read.
    // Results: RM_OK; RM_PROPERTY_UNKNOWN from a $select on actions.
    _ResourceMapperError AddOdataMetaData(Json::Value& obj, bool isRequested,
                                          Json::Value selectList, bool isTarget);

    // Adds "Links" for the instance with this key, narrowed to mSelectedLinks, when the mapping
    // entry has "Links". The value may be null when no link was resolved.
    void SetLinks(Json::Value& obj, std::string key);

    // Adds the class's "Actions" as they stand in the mapping.
    void AddActions(Json::Value& obj) const;

    // Escapes "#" in a URI as "%23".
    void EncodeSpecialChars(std::string& uri) const;

    // Narrows resource["Actions"] to the items of selectList that name "Actions/<action>" or
    // "Actions/<action>/<member>". Returns RM_OK or RM_PROPERTY_UNKNOWN.
    unsigned int applyFilterOnAction(Json::Value& resource, Json::Value& selectList);

    // ---- Actions ----

    // Carries out a POST to an action, once ParseUri(RM_METHOD_POST) has found it: validates the
    // body by the method's "inputs", calls the CIM method with it and converts what comes back.
    // response     the outputs by name, those with a "value_mapping" mapped; null or an object, not
    //              cleared first. A job that the method has started becomes the header "Location".
    // payload      the body, an object. Not changed.
    // returnValue  the method's return value, its low 32 bits; only set by a completed call.
    // errorArgs    the arguments of a refusal's message, an array of up to two texts.
    // inputs       a copy of the method's "inputs".
    // Results: RM_OK; RM_PROPERTY_UNKNOWN, RM_PROPERTY_VALUE_NOT_IN_LIST,
    // RM_PROPERTY_VALUE_TYPE_ERROR, RM_PROPERTY_MISSING (see ValidatePayload() and AddRefToArgs():
    // nothing was sent); RM_INTERNAL_ERROR; those of ConvertCMPIErrortoRMError(), which aborts on a
    // CIM status without a translation. Without a connection to the object manager the result is
    // RM_OK too and nothing has happened: a host connects the session first. Aborts without a
    // session, and where argument lists cannot be made.
    unsigned int InvokeAction(Json::Value& response, Json::Value& payload,
                              unsigned long* returnValue, Json::Value& errorArgs,
                              Json::Value& inputs);

    // Checks a body by a method's "inputs", in this order; errorArgs[0] and [1] tell the first
    // failure. Results: RM_OK; RM_PROPERTY_UNKNOWN (name); RM_PROPERTY_VALUE_TYPE_ERROR (value,
    // name; also parameters without "redfish_type", and texts anywhere in the value that CIM
    // cannot carry: control characters but tabs and line breaks, bytes that are not UTF-8);
    // RM_PROPERTY_VALUE_NOT_IN_LIST (value or array element, name); RM_PROPERTY_MISSING (name).
    unsigned int ValidatePayload(Json::Value& payload, Json::Value& inputs, Json::Value& errorArgs);

    // Whether value fits the Edm type: integers from 0 "Edm.Int64", booleans "Edm.Boolean", strings
    // "Edm.String", any "...Collection..." and, with a full offset, "Edm.DateTimeOffset". Null,
    // objects and numbers with a fraction fit none. Of an array the last element decides; an empty
    // one fits none. Results: RM_OK, RM_PROPERTY_VALUE_TYPE_ERROR. Aborts on a null type.
    int ValidateValueType(Json::Value& value, const char* type);

    // Whether value is one of the texts that valueMapping maps to. Results: RM_OK,
    // RM_PROPERTY_VALUE_NOT_IN_LIST.
    unsigned int ValidateEnumTypeInPayload(Json::Value valueMapping, std::string value);

    // Appends the names of the inputs with "isrequired" to the array mandatory. Returns 0.
    unsigned int GetMandatoryArgList(Json::Value& inputs, Json::Value& mandatory);

    // Makes the path of the instance with the keys mSelectorSet, all as strings; the caller
    // releases *path, also after a failure, unless it is null. Results: RM_OK, RM_INTERNAL_ERROR.
    unsigned int AddSelectorSet(CMPIObjectPath** path) const;

    // A value as the text of an argument or a message: "" for null, [], {} and objects, "true" and
    // "false", reals with six significant digits, elements of an array joined by ",". A date-time
    // becomes CIM's "20240501102030.000000:000" where type (may be null) is "Edm.DateTimeOffset".
    std::string JsonValtoString(Json::Value& value, const char* type);

    // Adds the argument argName: the CIM value that inputs[name] maps to text, as text. Adds none
    // where there is no such value. Returns 0.
    unsigned int PopulateMappedValues(CMPIArgs* args, std::string name, char* argName,
                                      std::string text, Json::Value inputs);

    // Adds an array as the argument argName, by the declaration inputs[argName]: with a value map
    // the CIM values, as strings where "cim_type" is "string", else as uint16; without one the
    // texts of the elements. Elements without a CIM value or without a text are null.
    void addArrayValsToArg(Json::Value& value, std::string argName, CMPIArgs* args,
                           Json::Value inputs);

    // Adds the argument argName: a reference to the instance that the URI of a resource names by
    // its two last segments. Results: RM_OK; RM_PROPERTY_VALUE_NOT_IN_LIST with errorArgs uri and
    // name where the mapping has no such resource, or the URI is above 1024 bytes, more than some
    // CIM clients have room for. Aborts on an item without "=" in its "Selectors".
    unsigned int AddRefToArgs(CMPIArgs* args, char* argName, char* name, std::string uri,
                              Json::Value& errorArgs);

    // Replaces the integers and arrays in response (null or an object) that the method's "outputs"
    // give a "value_mapping" by what it says; null where it lacks a value. An array that follows a
    // longer one keeps the rest of it. returnValue is not read.
    void AddValueMapToOutparam(Json::Value& response, CMPIData& returnValue);

    // ---- Responses ----

    // Sends body as the successful response (the status stays at the scope's default, 200).
    void SendResponse(Json::Value& body);

    // Sets the headers "Link" (empty when the mapping has no "Link_Header") and "Allow" (only when
    // the mapping has "allowed_operations").
    void SetLinkHeader();
    void SetAllowedHeader();

    // Sends the Redfish error for a result code, with the arguments "p1" to "p3" of mErrorArgs;
    // more than three abort.
    void SendExtendedErrorResponse(_ResourceMapperError code);

    // Sends the outcome of an action: kind 0 a success (200), 1 a started job (202).
    void SendExtendedMessageForPost(const char* messageId, Json::Value body, unsigned char kind);

    // Sends an error named by its product message id, args being an array of up to three strings.
    void SendExtendedErrorMessagesForPost(const char* messageId, Json::Value& args);

    // Sends several, args[i] being the argument of messageIds[i].
    void SendMultipleExtendedErrorMessagesForPost(Json::Value& messageIds, Json::Value& args);

    // Translates a failed CIM status. Aborts on codes without a translation, CMPI_RC_OK included.
    _ResourceMapperError ConvertCMPIErrortoRMError(CMPIrc rc);

    // The product message id that reports code; null when it has none.
    const char* ReturnQERMErrCode(unsigned int code);

    // ---- State of the request ----

    std::string mOemResourceName; // resource name: the entry's key in the mapping file
    std::string mCimClass;        // CIM class behind the resource
    std::string mCimMethodName;   // CIM method of the action
    Json::Value mResourceObj;     // the mapping entry; of a collection: its member's
    SfccSession* mpSfccHandle;    // not owned
    SQLInterface mSqlInterface;   // the data cache
    bool mIsCollection;           // the entry's "is_collection"
    bool mIsZMQCall;              // constructor argument
    bool mSupportsNextLink;       // the collection's "supports_nextlink"
    bool mSupportsTopSkip;        // the collection's "supports_top_skip"
    odata::Scope& mScope;         // the request and its response
    const odata::URI& mURI;       // the request URI
    Json::Value mSelectorSet;     // key property to value
    ExtendedErrorInfoHandling mExtendedErrorInfo;
    Json::Value mErrorArgs;     // pending message arguments "p1", "p2", "p3"
    std::string mInstanceId;    // last segment of an instance's URI
    Json::Value mSelectedLinks; // links picked by $select; null for all
    bool mShowLinks;            // whether "Links" is emitted
};

#endif
