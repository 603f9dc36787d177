#include "tables.h"
#include "values.h"

namespace cmpisfcc {

namespace {

PathObject& self(CMPIObjectPath* path)
{
    return *static_cast<PathObject*>(path);
}

// A name of the path as a string of the caller's, without a text where it is not set.
CMPIString* nameOf(const char* name, CMPIStatus* rc)
{
    succeed(rc);
    return newString(name);
}

CMPIStatus setNameSpace(CMPIObjectPath* path, const char* nameSpace)
{
    self(path).nameSpace = self(path).arena->copy(nameSpace);
    return kSuccess;
}

CMPIString* getNameSpace(CMPIObjectPath* path, CMPIStatus* rc)
{
    return nameOf(self(path).nameSpace, rc);
}

CMPIStatus setHostname(CMPIObjectPath* path, const char* hostName)
{
    self(path).host = self(path).arena->copy(hostName);
    return kSuccess;
}

CMPIString* getHostname(CMPIObjectPath* path, CMPIStatus* rc)
{
    succeed(rc);
    return self(path).host == nullptr ? nullptr : newString(self(path).host);
}

CMPIStatus setClassName(CMPIObjectPath* path, const char* className)
{
    self(path).className = self(path).arena->copy(className);
    return kSuccess;
}

CMPIString* getClassName(CMPIObjectPath* path, CMPIStatus* rc)
{
    return nameOf(self(path).className, rc);
}

CMPIStatus addKey(CMPIObjectPath* path, const char* name, CMPIValue* value, CMPIType type)
{
    NamedValues& keys = self(path).keys;
    const CMPIStatus status = keys.add(*self(path).arena, name, value, type, "A key");
    if (status.rc == CMPI_RC_OK) {
        CMPIData& added = keys.items[keys.count - 1].data;
        added.state = static_cast<CMPIValueState>(added.state | CMPI_keyValue);
    }
    return status;
}

CMPIStatus setNameSpaceFromObjectPath(CMPIObjectPath* path, CMPIObjectPath* source)
{
    return setNameSpace(path, self(source).nameSpace);
}

CMPIStatus setHostAndNameSpaceFromObjectPath(CMPIObjectPath* path, CMPIObjectPath* source)
{
    (void)setHostname(path, self(source).host);
    return setNameSpace(path, self(source).nameSpace);
}

// Texts in quotation marks, so that no character of a value can be taken for the path's own.
std::string keyText(const CMPIData& data)
{
    if ((data.state & CMPI_nullValue) != 0) {
        return "";
    }
    std::string text = textOf(data.type, data.value);
    if (data.type != CMPI_string && data.type != CMPI_dateTime && data.type != CMPI_ref) {
        return text;
    }
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
        }
        quoted += c;
    }
    return quoted + '"';
}

CMPIString* toString(CMPIObjectPath* path, CMPIStatus* rc)
{
    const PathObject& source = self(path);
    std::string text;
    if (source.nameSpace != nullptr) {
        text = std::string(source.nameSpace) + ":";
    }
    text += source.className == nullptr ? "" : source.className;
    for (unsigned int i = 0; i < source.keys.count; ++i) {
        text += i == 0 ? "." : ",";
        text += std::string(source.keys.items[i].name) + "=" + keyText(source.keys.items[i].data);
    }
    succeed(rc);
    return newString(text);
}

CMPIObjectPath* makePath(const char* nameSpace, const char* className, CMPIStatus* rc)
{
    Owned<PathObject> path = makeOwned<PathObject>();
    path->nameSpace = path->arena->copy(nameSpace);
    path->className = path->arena->copy(className);
    succeed(rc);
    return path.release();
}

// A path knows nothing of its class but the name.
CMPIData noQualifier(CMPIStatus* rc)
{
    fail(rc, CMPI_RC_ERR_NOT_SUPPORTED);
    return noData(CMPI_nullValue | CMPI_notFound);
}

CMPIData getClassQualifier(CMPIObjectPath* /*path*/, const char* /*name*/, CMPIStatus* rc)
{
    return noQualifier(rc);
}

CMPIData getMemberQualifier(CMPIObjectPath* /*path*/, const char* /*member*/, const char* /*name*/,
                            CMPIStatus* rc)
{
    return noQualifier(rc);
}

CMPIData getParameterQualifier(CMPIObjectPath* /*path*/, const char* /*method*/,
                               const char* /*parameter*/, const char* /*name*/, CMPIStatus* rc)
{
    return noQualifier(rc);
}

using Keys = Reading<PathObject, &PathObject::keys>;

} // namespace

PathObject* copyPath(const CMPIObjectPath* path, Arena* arena)
{
    const auto& source = *static_cast<const PathObject*>(path);
    Owned<PathObject> copy = makeOwned<PathObject>(arena);
    static_cast<Place&>(*copy) = source.Place::copyInto(*copy->arena);
    copy->keys = source.keys.copyInto(*copy->arena);
    return copy.release();
}

constexpr CMPIObjectPathFT PathObject::kTable = {
    NATIVE_FT_VERSION,
    releaseObject<PathObject>,
    Guarded<cloned<CMPIObjectPath, copyPath>>::call,
    Guarded<setNameSpace>::call,
    Guarded<getNameSpace>::call,
    Guarded<setHostname>::call,
    Guarded<getHostname>::call,
    Guarded<setClassName>::call,
    Guarded<getClassName>::call,
    Guarded<addKey>::call,
    Guarded<Keys::get>::call,
    Guarded<Keys::getAt>::call,
    Guarded<Keys::count>::call,
    Guarded<setNameSpaceFromObjectPath>::call,
    Guarded<setHostAndNameSpaceFromObjectPath>::call,
    Guarded<getClassQualifier>::call,
    Guarded<getMemberQualifier>::call,
    Guarded<getMemberQualifier>::call,
    Guarded<getParameterQualifier>::call,
    Guarded<toString>::call,
};

} // namespace cmpisfcc

extern "C" CMPIObjectPath* newCMPIObjectPath(const char* nameSpace, const char* className,
                                             CMPIStatus* rc)
{
    return cmpisfcc::Guarded<cmpisfcc::makePath>::call(nameSpace, className, rc);
}

// The header makes the second name another spelling of the first; programs built with other
// headers refer to it.
#undef native_new_CMPIObjectPath
extern "C" CMPIObjectPath* native_new_CMPIObjectPath(const char* nameSpace, const char* className,
                                                     CMPIStatus* rc)
{
    return newCMPIObjectPath(nameSpace, className, rc);
}
