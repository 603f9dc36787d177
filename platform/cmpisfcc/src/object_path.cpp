#include "objects.h"
#include "values.h"

namespace cmpisfcc {

namespace {

PathObject& self(CMPIObjectPath* path)
{
    return *static_cast<PathObject*>(path);
}

CMPIObjectPath* clonePath(CMPIObjectPath* path, CMPIStatus* rc)
{
    succeed(rc);
    return copyPath(path, nullptr);
}

// A part of the path as a text of the caller's; NULL where it is not set.
CMPIString* partOf(const char* part, CMPIStatus* rc)
{
    succeed(rc);
    return part == nullptr ? nullptr : newString(part);
}

CMPIStatus setNameSpace(CMPIObjectPath* path, const char* nameSpace)
{
    self(path).nameSpace = self(path).arena->copy(nameSpace);
    return kSuccess;
}

CMPIString* getNameSpace(CMPIObjectPath* path, CMPIStatus* rc)
{
    return partOf(self(path).nameSpace, rc);
}

CMPIStatus setHostname(CMPIObjectPath* path, const char* hostName)
{
    self(path).host = self(path).arena->copy(hostName);
    return kSuccess;
}

CMPIString* getHostname(CMPIObjectPath* path, CMPIStatus* rc)
{
    return partOf(self(path).host, rc);
}

CMPIStatus setClassName(CMPIObjectPath* path, const char* className)
{
    self(path).className = self(path).arena->copy(className);
    return kSuccess;
}

CMPIString* getClassName(CMPIObjectPath* path, CMPIStatus* rc)
{
    return partOf(self(path).className, rc);
}

CMPIStatus addKey(CMPIObjectPath* path, const char* name, CMPIValue* value, CMPIType type)
{
    PathObject& target = self(path);
    if (name == nullptr) {
        return failure(CMPI_RC_ERR_INVALID_PARAMETER, "A key needs a name");
    }
    if (target.keys.find(name) != nullptr) {
        return failure(CMPI_RC_ERR_ALREADY_EXISTS);
    }
    CMPIData data = {};
    if (!takeValue(*target.arena, value, type, CharsAt::Address, data)) {
        return failure(CMPI_RC_ERR_INVALID_PARAMETER, "A key cannot be of this type");
    }
    data.state = static_cast<CMPIValueState>(data.state | CMPI_keyValue);
    target.keys.append(*target.arena, target.arena->copy(name), data);
    return kSuccess;
}

CMPIData getKey(CMPIObjectPath* path, const char* name, CMPIStatus* rc)
{
    return self(path).keys.get(name, rc);
}

CMPIData getKeyAt(CMPIObjectPath* path, unsigned int index, CMPIString** name, CMPIStatus* rc)
{
    return self(path).keys.getAt(index, name, rc);
}

unsigned int getKeyCount(CMPIObjectPath* path, CMPIStatus* rc)
{
    succeed(rc);
    return self(path).keys.count;
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

CMPIData noQualifier(CMPIObjectPath* /*path*/, const char* /*qualifier*/, CMPIStatus* rc)
{
    fail(rc, CMPI_RC_ERR_NOT_SUPPORTED);
    return noData(CMPI_nullValue | CMPI_notFound);
}

CMPIData noMemberQualifier(CMPIObjectPath* path, const char* /*member*/, const char* qualifier,
                           CMPIStatus* rc)
{
    return noQualifier(path, qualifier, rc);
}

CMPIData noParameterQualifier(CMPIObjectPath* path, const char* /*method*/,
                              const char* /*parameter*/, const char* qualifier, CMPIStatus* rc)
{
    return noQualifier(path, qualifier, rc);
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
    if (source.host != nullptr) {
        text = std::string("//") + source.host + "/";
    }
    if (source.nameSpace != nullptr) {
        text += std::string(source.nameSpace) + ":";
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

} // namespace

PathObject* copyPath(const CMPIObjectPath* path, Arena* arena)
{
    const auto& source = *static_cast<const PathObject*>(path);
    Owned<PathObject> copy = makeOwned<PathObject>(arena);
    copy->host = copy->arena->copy(source.host);
    copy->nameSpace = copy->arena->copy(source.nameSpace);
    copy->className = copy->arena->copy(source.className);
    copy->keys = source.keys.copyInto(*copy->arena);
    return copy.release();
}

constexpr CMPIObjectPathFT PathObject::kTable = {
    NATIVE_FT_VERSION,
    releaseObject<PathObject>,
    Guarded<clonePath>::call,
    Guarded<setNameSpace>::call,
    Guarded<getNameSpace>::call,
    Guarded<setHostname>::call,
    Guarded<getHostname>::call,
    Guarded<setClassName>::call,
    Guarded<getClassName>::call,
    Guarded<addKey>::call,
    Guarded<getKey>::call,
    Guarded<getKeyAt>::call,
    Guarded<getKeyCount>::call,
    Guarded<setNameSpaceFromObjectPath>::call,
    Guarded<setHostAndNameSpaceFromObjectPath>::call,
    Guarded<noQualifier>::call,
    Guarded<noMemberQualifier>::call,
    Guarded<noMemberQualifier>::call,
    Guarded<noParameterQualifier>::call,
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
