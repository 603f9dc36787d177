// A web service around the library, all but its HTTP: requests are lines of standard input, answers
// go to standard output.
//
//   service MAPPING CACHE REGISTRIES [CIM-URL]
//
//   GET URI
//   HEAD URI
//   POST URI BODY
//   EMBED CONTAINER ID
#include <CimClientLib/cimgate_local.h>
#include <ExtendedErrorInfoHandling.h>
#include <ResourceMapper.h>
#include <SfccInterface.h>
#include <dlfcn.h>
#include <vexodlog.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

struct Request
{
    std::string method;
    std::string target; // path and query as they came
    std::string body;
};

struct Response
{
    unsigned int status = 200;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
};

// ---- Answers

Response jsonResponse(unsigned int status, const ExtendedErrorInfoHandling& info)
{
    Response response{status, {{"Content-Type", "application/json"}}, {}};
    info.GetNewExtendedErrMsg(response.body);
    return response;
}

// An error of the service's own, with a message of the base registry.
Response errorResponse(unsigned int status, const char* message, const std::string& argument = {})
{
    ExtendedErrorInfoHandling info;
    info.InsertBaseMessageID(message, "", argument.c_str());
    return jsonResponse(status, info);
}

// An error as the library reports this code.
Response errorOfCode(_ResourceMapperError code, const std::string& argument)
{
    ExtendedErrorInfoHandling info;
    unsigned int status = 0;
    (void)AppendExtendedErrorMessages(code, info, &status, argument.c_str());
    return jsonResponse(status, info);
}

Response comeBackLater()
{
    Response response = errorResponse(503, "ServiceTemporarilyUnavailable", "5");
    response.headers.emplace_back("Retry-After", "5");
    return response;
}

// What the library has written to the request's scope.
Response responseOf(const odata::Scope& scope)
{
    if (!scope.IsCompleted()) { // memory ran out while it was written
        return errorResponse(500, "InternalError");
    }
    Response response{static_cast<unsigned int>(scope.GetStatus()),
                      {{"Content-Type", scope.GetContentType()}},
                      std::string(scope.GetBody())};
    for (size_t i = 0; i < scope.GetHeaderCount(); ++i) {
        response.headers.emplace_back(scope.GetHeaderName(i), scope.GetHeaderValue(i));
    }
    return response;
}

// ---- The CIM session

// One for each thread. A session connects once: to connect anew it is replaced.
class CimSession
{
public:
    CimSession() { mSession.emplace("root"); }

    SfccSession* get() { return &*mSession; }

    // Whether the object manager can be reached now.
    bool renew()
    {
        mSession.emplace("root");
        return mSession->Connect() == CMPI_RC_OK;
    }

private:
    std::optional<SfccSession> mSession; // never empty
};

// ---- GET and HEAD

// What is wrong with a URI, so that the library is not asked.
std::optional<Response> refusalOf(const odata::URI& uri, const std::string& target)
{
    switch (uri.GetFault()) {
    case OL_URI_TOO_LONG:
        return errorResponse(414, "InvalidURI", "the request URI");
    case OL_URI_BAD_ENCODING:
        return errorResponse(400, "InvalidURI", target);
    case OL_URI_REPEATED_OPTION:
        return errorResponse(400, "QueryCombinationInvalid");
    default:
        break;
    }
    if (uri.GetUnknownOption() != nullptr) {
        return errorOfCode(RM_QUERY_NOT_SUPPORTED, uri.GetUnknownOption());
    }
    if (uri.GetSegmentCount() == 0) {
        return errorOfCode(RM_INVALID_URI, target);
    }
    return std::nullopt;
}

enum class Source { DataCache, Cim, MappingFile };

// Where the answer comes from, once ParseUri() has found the resource.
Source sourceOf(const ResourceMapper& mapper)
{
    const Json::Value& entry = mapper.mResourceObj; // const: [] inserts nothing
    if (mapper.mIsCollection || !entry["UniqueSelector"].asString().empty()) {
        const Json::Value& cimClass = entry["mappings"][mapper.mCimClass];
        return cimClass["is_cached"].asBool() ? Source::DataCache : Source::Cim;
    }
    return entry["Selectors"].asString().empty() ? Source::MappingFile : Source::Cim;
}

Response answer(ResourceMapper& mapper, const odata::Scope& scope, _ResourceMapperError rc,
                Json::Value& body)
{
    if (rc == RM_OK) {
        mapper.SendResponse(body);
    } else {
        mapper.SendExtendedErrorResponse(rc);
    }
    Response response = responseOf(scope);
    if (rc == RM_METHOD_NOT_ALLOWED) { // the URI of an action
        response.headers.emplace_back("Allow", "POST");
    }
    return response;
}

Response readCached(ResourceMapper& mapper, const odata::Scope& scope)
{
    if (!mapper.IsCached()) {
        return comeBackLater();
    }
    Json::Value body;
    const _ResourceMapperError rc =
        mapper.mIsCollection ? mapper.GetCollection(body, true) : mapper.GetInstance(body, true);
    return answer(mapper, scope, rc, body);
}

Response readLive(ResourceMapper& mapper, const odata::Scope& scope, CimSession& cim)
{
    Json::Value body;
    const _ResourceMapperError rc =
        mapper.mIsCollection ? mapper.GetCollection(body) : mapper.GetInstance(body);
    if (rc == RM_INTERNAL_ERROR && !cim.renew()) {
        return comeBackLater(); // the object manager is away; 500 means that it is there and fails
    }
    return answer(mapper, scope, rc, body);
}

Response read(const std::string& target, CimSession& cim)
{
    odata::Scope scope = odata::Scope::ForRequest(target);
    const odata::URI uri = scope.NewURI();
    if (const std::optional<Response> refusal = refusalOf(uri, target)) {
        return *refusal;
    }
    ResourceMapper mapper(cim.get(), scope, uri, false);
    Json::Value body;
    _ResourceMapperError rc = mapper.ParseUri(RM_METHOD_GET);
    if (rc != RM_OK) {
        return answer(mapper, scope, rc, body);
    }
    switch (sourceOf(mapper)) {
    case Source::DataCache:
        return readCached(mapper, scope);
    case Source::Cim:
        return readLive(mapper, scope, cim);
    case Source::MappingFile:
        break;
    }
    (void)mapper.IsServiceURI(body, rc);
    return answer(mapper, scope, rc, body);
}

// ---- POST

bool parseObject(const std::string& text, Json::Value& object)
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    try {
        return reader->parse(text.data(), text.data() + text.size(), &object, nullptr) &&
               object.isObject();
    } catch (const Json::Exception&) { // nested too deeply
        return false;
    }
}

// Whether the method has started a job that can be looked up.
bool hasLocation(const odata::Scope& scope)
{
    for (size_t i = 0; i < scope.GetHeaderCount(); ++i) {
        if (std::string_view(scope.GetHeaderName(i)) == "Location") {
            return *scope.GetHeaderValue(i) != '\0';
        }
    }
    return false;
}

std::string messageIdOf(const Json::Value& outputs, const char* general)
{
    const Json::Value& id = outputs["MessageID"];
    return id.isString() && !id.asString().empty() ? id.asString() : general;
}

// The method has been called and has returned: what that says to the client.
void sendOutcome(ResourceMapper& mapper, const odata::Scope& scope, unsigned long returnValue,
                 Json::Value& outputs)
{
    constexpr unsigned long kJobStarted = 4096;
    constexpr unsigned char kCompleted = 0; // 200
    constexpr unsigned char kStarted = 1;   // 202
    const bool isStarted = returnValue == kJobStarted || hasLocation(scope);
    if (returnValue != 0 && !isStarted) {
        Json::Value arguments = outputs["MessageArguments"];
        mapper.SendExtendedErrorMessagesForPost(messageIdOf(outputs, "SYS500").c_str(), arguments);
        return;
    }
    const std::string messageId = messageIdOf(outputs, "SYS413");
    outputs.removeMember("MessageArguments@odata.count"); // the arguments go by themselves
    mapper.SendExtendedMessageForPost(messageId.c_str(), outputs,
                                      isStarted ? kStarted : kCompleted);
}

// The method has not been called, or the object manager has answered with an error.
void sendRefusal(ResourceMapper& mapper, unsigned int code, Json::Value& errorArgs)
{
    if (code >= RM_PROPERTY_UNKNOWN && code <= RM_PROPERTY_MISSING) { // the body, see errorArgs
        mapper.SendExtendedErrorMessagesForPost(mapper.ReturnQERMErrCode(code), errorArgs);
        return;
    }
    if (code == RM_METHOD_NOT_ALLOWED) { // the object manager has no such method
        mapper.mScope.SetHeader("Allow", "");
    }
    mapper.SendExtendedErrorResponse(static_cast<_ResourceMapperError>(code));
}

Response act(const std::string& target, const std::string& body, CimSession& cim)
{
    odata::Scope scope = odata::Scope::ForRequest(target);
    const odata::URI uri = scope.NewURI();
    if (const std::optional<Response> refusal = refusalOf(uri, target)) {
        return *refusal;
    }
    ResourceMapper mapper(cim.get(), scope, uri, false);
    if (const _ResourceMapperError rc = mapper.ParseUri(RM_METHOD_POST); rc != RM_OK) {
        mapper.SendExtendedErrorResponse(rc);
        Response response = responseOf(scope);
        if (rc == RM_METHOD_NOT_ALLOWED) { // a resource that is read
            response.headers.emplace_back("Allow", "GET, HEAD");
        }
        return response;
    }
    Json::Value payload;
    if (!parseObject(body, payload)) {
        mapper.SendExtendedErrorResponse(RM_MALFORMED_JSON);
        return responseOf(scope);
    }
    if (!cim.renew()) { // without a connection InvokeAction() would answer success
        return comeBackLater();
    }
    Json::Value outputs(Json::objectValue);
    Json::Value errorArgs(Json::arrayValue);
    Json::Value inputs;
    unsigned long returnValue = 0;
    const unsigned int code =
        mapper.InvokeAction(outputs, payload, &returnValue, errorArgs, inputs);
    if (code == RM_OK) {
        sendOutcome(mapper, scope, returnValue, outputs);
    } else {
        sendRefusal(mapper, code, errorArgs);
    }
    return responseOf(scope);
}

// ---- Embedded data, for a message queue

// The id becomes part of SQL conditions of the mapping: nothing may end a text there, or begin a
// comment.
bool isContainerId(const std::string& id)
{
    constexpr std::string_view kAllowed =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._:#-";
    return !id.empty() && id.size() < 128 && id.find("--") == std::string::npos &&
           id.find_first_not_of(kAllowed) == std::string::npos;
}

Response embeddedData(const std::string& container, const std::string& id)
{
    if (!isContainerId(id)) {
        return errorOfCode(RM_PROPERTY_VALUE_ERROR, id);
    }
    if (!ResourceMapper::RmfObj.isMember(container)) { // GetMappedResources() would abort
        return errorOfCode(RM_RESOURCE_NOT_IN_RMF, container);
    }
    odata::Scope scope = odata::Scope::New();
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(nullptr, scope, uri, true); // true: for the message queue
    Json::Value data(Json::objectValue);
    if (mapper.GetMappedResources(container.c_str(), id.c_str(), data) == RM_DATA_NOT_CACHED) {
        return comeBackLater(); // data has what was read before; it is not whole
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return {200, {{"Content-Type", "application/json"}}, Json::writeString(builder, data)};
}

// ---- The service

Response handle(const Request& request, CimSession& cim)
{
    if (request.method == "GET" || request.method == "HEAD") {
        return read(request.target, cim);
    }
    if (request.method == "POST") {
        return act(request.target, request.body, cim);
    }
    if (request.method == "EMBED") {
        return embeddedData(request.target, request.body);
    }
    Response response = errorResponse(405, "OperationNotAllowed");
    response.headers.emplace_back("Allow", "GET, HEAD, POST");
    return response;
}

bool start(const std::vector<std::string>& arguments, std::string& problem)
{
    vexoSetThreshold(VEXO_ERROR);        // the library's levels 0 and 1, to standard error
    (void)std::signal(SIGPIPE, SIG_IGN); // the CIM client may write to a socket that was closed
    ResourceMapper::RmfPath = arguments[0];
    SQLInterface::DataCachePath = arguments[1];
    ExtendedErrorInfoHandling::SetRegistryDirectory(arguments[2]);
    if (!ExtendedErrorInfoHandling::LoadRegistries(problem)) {
        return false;
    }
    odata::Scope scope = odata::Scope::New();
    const odata::URI uri = scope.NewURI();
    ResourceMapper mapper(nullptr, scope, uri, false);
    // Loads the mapping file now: no entry has an empty name.
    if (mapper.checkResource("", true) != RM_RESOURCE_NOT_IN_RMF) {
        problem = "cannot read the mapping file " + ResourceMapper::RmfPath;
        return false;
    }
    (void)LoadDatabase(); // ends the process with status 1 where the cache cannot be opened
    return true;
}

// Another object manager than the local one, where the CIM client library in use can do that.
bool directCimTo(const std::string& url)
{
    auto* const direct = reinterpret_cast<cimgate_cmpisfcc_set_local_url_fn*>(
        dlsym(RTLD_DEFAULT, "cimgate_cmpisfcc_set_local_url"));
    return direct != nullptr && direct(url.c_str()) == 0;
}

Request parseRequest(const std::string& line)
{
    Request request;
    std::istringstream words(line);
    words >> request.method >> request.target >> std::ws;
    std::getline(words, request.body);
    return request;
}

void write(const Request& request, const Response& response)
{
    std::cout << response.status << '\n';
    for (const auto& [name, value] : response.headers) {
        std::cout << name << ": " << value << '\n';
    }
    std::cout << "Content-Length: " << response.body.size() << "\n\n";
    if (request.method != "HEAD") {
        std::cout << response.body;
    }
    std::cout.flush();
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    std::string problem = "usage: service MAPPING CACHE REGISTRIES [CIM-URL]";
    if (arguments.size() < 3 || (arguments.size() > 3 && !directCimTo(arguments[3])) ||
        !start(arguments, problem)) {
        (void)std::fprintf(stderr, "service: %s\n", problem.c_str());
        return EXIT_FAILURE;
    }
    CimSession cim;
    for (std::string line; std::getline(std::cin, line);) {
        const Request request = parseRequest(line);
        write(request, handle(request, cim));
    }
    return EXIT_SUCCESS;
}
