#include "ScriptedCim.h"

#include <CimClientLib/native.h>

#include <algorithm>
#include <memory>

namespace support {

namespace {

struct PathToCall : CMPIObjectPath
{
    std::string text; // "<name space>:<class>" and the keys
    std::vector<std::string> keys;
};

// An enumeration's own array: never released by who asks for it.
struct Elements : CMPIArray
{
    CMPICount size = 0;
};

struct Enumeration : CMPIEnumeration
{
    std::vector<CMPIInstance*> instances;
    size_t next = 0;
    Elements elements;
};

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): tests are single-threaded
ScriptedCim script;
int livePaths = 0;
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

constexpr CMPIStatus kSuccess = {CMPI_RC_OK, nullptr};

std::string textOrNull(const char* text)
{
    return text == nullptr ? "NULL" : text;
}

const std::string& textOf(CMPIObjectPath* path)
{
    return static_cast<PathToCall*>(path)->text;
}

// Notes the call; its result.
bool call(const std::string& text, CMPIStatus* rc)
{
    script.calls.push_back(text);
    setStatus(rc, script.operationStatus, script.message);
    return script.operationStatus == CMPI_RC_OK;
}

std::string options(CMPIFlags flags, char** properties)
{
    return " flags " + std::to_string(flags) + (properties == nullptr ? " all" : " some");
}

CMPIEnumerationFT* enumerationTable()
{
    static CMPIEnumerationFT table = [] {
        CMPIEnumerationFT made = {};
        made.release = [](CMPIEnumeration* base) {
            auto* enumeration = static_cast<Enumeration*>(base);
            for (CMPIInstance* instance : enumeration->instances) {
                (void)instance->ft->release(instance);
            }
            delete enumeration;
            script.calls.emplace_back("release enumeration");
            return kSuccess;
        };
        made.hasNext = [](CMPIEnumeration* base, CMPIStatus* rc) -> CMPIBoolean {
            auto* enumeration = static_cast<Enumeration*>(base);
            setStatus(rc, script.hasNextStatus, script.message);
            return enumeration->next < enumeration->instances.size() ? 1 : 0;
        };
        made.getNext = [](CMPIEnumeration* base, CMPIStatus* rc) {
            auto* enumeration = static_cast<Enumeration*>(base);
            setStatus(rc, CMPI_RC_OK);
            CMPIData data = {CMPI_instance, CMPI_goodValue, {}};
            data.value.inst = enumeration->instances.at(enumeration->next++);
            return data;
        };
        made.toArray = [](CMPIEnumeration* base, CMPIStatus* rc) -> CMPIArray* {
            setStatus(rc, script.countFails ? CMPI_RC_ERR_FAILED : CMPI_RC_OK, script.message);
            return script.countFails ? nullptr : &static_cast<Enumeration*>(base)->elements;
        };
        return made;
    }();
    return &table;
}

CMPIArrayFT* elementsTable()
{
    static CMPIArrayFT table = [] {
        CMPIArrayFT made = {};
        made.getSize = [](CMPIArray* array, CMPIStatus* rc) {
            setStatus(rc, CMPI_RC_OK);
            return static_cast<Elements*>(array)->size;
        };
        return made;
    }();
    return &table;
}

CMPIEnumeration* newEnumeration()
{
    auto enumeration = std::make_unique<Enumeration>();
    for (const CimMembers& properties : script.instances) {
        enumeration->instances.push_back(newCimInstance(properties));
    }
    enumeration->ft = enumerationTable();
    enumeration->elements.ft = elementsTable();
    enumeration->elements.size = static_cast<CMPICount>(enumeration->instances.size());
    return enumeration.release();
}

CMPIData invokeMethod(CMCIClient* /*client*/, CMPIObjectPath* path, const char* method,
                      CMPIArgs* in, CMPIArgs* out, CMPIStatus* rc)
{
    if (in != nullptr) {
        script.arguments = addedArguments(in);
    }
    const std::string text = "invokeMethod " + textOf(path) + " " + method +
                             (in == nullptr ? " without" : " with") +
                             (out == nullptr ? " without" : " with");
    if (call(text, rc) && out != nullptr) {
        fillCimArgs(out, script.outputs);
    }
    return script.returnValue;
}

CMCIClientFT* clientTable()
{
    static CMCIClientFT table = [] {
        CMCIClientFT made = {};
        made.release = [](CMCIClient* client) {
            delete client;
            script.calls.emplace_back("release client");
            return kSuccess;
        };
        made.enumInstances = [](CMCIClient*, CMPIObjectPath* path, CMPIFlags flags,
                                char** properties, CMPIStatus* rc) -> CMPIEnumeration* {
            const std::string text = "enumInstances " + textOf(path) + options(flags, properties);
            return call(text, rc) ? newEnumeration() : nullptr;
        };
        made.execQuery = [](CMCIClient*, CMPIObjectPath* path, const char* query, const char* lang,
                            CMPIStatus* rc) -> CMPIEnumeration* {
            const std::string text = "execQuery " + textOf(path) + " " + lang + " " + query;
            const bool isDone = call(text, rc);
            const auto& refused = script.refusedLanguages;
            if (std::find(refused.begin(), refused.end(), lang) != refused.end()) {
                setStatus(rc, CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED, lang);
                return nullptr;
            }
            return isDone ? newEnumeration() : nullptr;
        };
        made.getInstance = [](CMCIClient*, CMPIObjectPath* path, CMPIFlags flags, char** properties,
                              CMPIStatus* rc) -> CMPIInstance* {
            const std::string text = "getInstance " + textOf(path) + options(flags, properties);
            return call(text, rc) ? newCimInstance(script.instances.at(0)) : nullptr;
        };
        made.invokeMethod = &invokeMethod;
        return made;
    }();
    return &table;
}

// A name that is there already is refused, as clients do.
CMPIStatus addKey(CMPIObjectPath* base, const char* name, CMPIValue* value, CMPIType type)
{
    auto* path = static_cast<PathToCall*>(base);
    if (std::find(path->keys.begin(), path->keys.end(), name) != path->keys.end()) {
        CMPIStatus refused = kSuccess;
        setStatus(&refused, CMPI_RC_ERR_ALREADY_EXISTS, "exists");
        return refused;
    }
    const char* text = type == CMPI_chars ? reinterpret_cast<const char*>(value) : "?";
    path->keys.emplace_back(name);
    path->text += std::string(" ") + name + "=" + text;
    return kSuccess;
}

CMPIObjectPathFT* pathTable()
{
    static CMPIObjectPathFT table = [] {
        CMPIObjectPathFT made = {};
        made.release = [](CMPIObjectPath* path) {
            delete static_cast<PathToCall*>(path);
            --livePaths;
            return kSuccess;
        };
        made.addKey = &addKey;
        made.toString = [](CMPIObjectPath* path, CMPIStatus* rc) {
            setStatus(rc, CMPI_RC_OK);
            return newCimString(textOf(path));
        };
        return made;
    }();
    return &table;
}

} // namespace

ScriptedCim& scriptedCim()
{
    return script;
}

void resetScriptedCim()
{
    script = ScriptedCim();
}

int livePathsToCall()
{
    return livePaths;
}

} // namespace support

extern "C" CMCIClient* cmciConnect(const char* hn, const char* scheme, const char* port,
                                   const char* user, const char* pwd, CMPIStatus* rc)
{
    support::script.calls.push_back("connect " + support::textOrNull(hn) + " " +
                                    support::textOrNull(scheme) + " " + support::textOrNull(port) +
                                    " " + support::textOrNull(user) + " " +
                                    support::textOrNull(pwd));
    if (support::script.connectStatus != CMPI_RC_OK) {
        static const support::CimValue kMessage = support::CimValue::Text("nobody listens");
        *rc = {support::script.connectStatus, kMessage.Data().value.string};
        return nullptr;
    }
    *rc = support::kSuccess;
    return new CMCIClient{nullptr, support::clientTable()};
}

extern "C" CMPIObjectPath* newCMPIObjectPath(const char* nameSpace, const char* className,
                                             CMPIStatus* rc)
{
    support::setStatus(rc, support::script.pathStatus, support::script.message);
    if (support::script.pathStatus != CMPI_RC_OK && !support::script.failedPathIsGiven) {
        return nullptr;
    }
    auto* path = new support::PathToCall();
    path->ft = support::pathTable();
    path->text = std::string(nameSpace) + ":" + className;
    ++support::livePaths;
    return path;
}

extern "C" CMPIArgs* native_new_CMPIArgs(CMPIStatus* rc)
{
    std::optional<unsigned int>& left = support::script.argumentLists;
    const bool isMade = left.value_or(1) > 0;
    support::setStatus(rc, isMade ? CMPI_RC_OK : CMPI_RC_ERR_FAILED, support::script.message);
    if (!isMade) {
        return nullptr;
    }
    if (left.has_value()) {
        --*left;
    }
    return support::newCimArgs();
}

extern "C" CMPIArray* native_new_CMPIArray(CMPICount size, CMPIType type, CMPIStatus* rc)
{
    const bool fails = support::script.arraysFail;
    support::setStatus(rc, fails ? CMPI_RC_ERR_FAILED : CMPI_RC_OK, support::script.message);
    return fails ? nullptr : support::newCimArray(size, type);
}

extern "C" CMPIString* native_new_CMPIString(const char* text, CMPIStatus* rc)
{
    const bool fails = support::script.stringsFail;
    support::setStatus(rc, fails ? CMPI_RC_ERR_FAILED : CMPI_RC_OK, support::script.message);
    return fails ? nullptr : support::newCimString(text);
}
