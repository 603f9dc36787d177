#include "tables.h"
#include "values.h"

#include <algorithm>

namespace cmpisfcc {

namespace {

InstanceObject& self(CMPIInstance* instance)
{
    return *static_cast<InstanceObject*>(instance);
}

bool isFilteredOut(const InstanceObject& instance, const char* name)
{
    if (instance.filter == nullptr) {
        return false;
    }
    for (const char* const* allowed = instance.filter; *allowed != nullptr; ++allowed) {
        if (sameName(*allowed, name)) {
            return false;
        }
    }
    return true;
}

CMPIStatus setProperty(CMPIInstance* instance, const char* name, CMPIValue* value, CMPIType type)
{
    InstanceObject& target = self(instance);
    if (name == nullptr) {
        return failure(CMPI_RC_ERR_INVALID_PARAMETER, "A property needs a name");
    }
    if (isFilteredOut(target, name)) {
        return kSuccess;
    }
    CMPIData data = {};
    if (!takeValue(*target.arena, value, type, CharsAt::Address, data)) {
        return failure(CMPI_RC_ERR_INVALID_PARAMETER, "A property cannot be of this type");
    }
    if (NamedValue* found = target.properties.find(name); found != nullptr) {
        const int keyBit = found->data.state & CMPI_keyValue;
        data.state = static_cast<CMPIValueState>(data.state | keyBit);
        found->data = data;
    } else {
        target.properties.append(*target.arena, target.arena->copy(name), data);
    }
    return kSuccess;
}

CMPIObjectPath* getObjectPath(CMPIInstance* instance, CMPIStatus* rc)
{
    const InstanceObject& source = self(instance);
    Owned<PathObject> path = makeOwned<PathObject>();
    static_cast<Place&>(*path) = source.place->copyInto(*path->arena);
    for (unsigned int i = 0; i < source.properties.count; ++i) {
        const NamedValue& property = source.properties.items[i];
        CMPIData data = {};
        if ((property.data.state & CMPI_keyValue) != 0 &&
            copyData(*path->arena, property.data, data)) {
            path->keys.append(*path->arena, path->arena->copy(property.name), data);
        }
    }
    succeed(rc);
    return path.release();
}

std::size_t lengthOf(char** list)
{
    std::size_t length = 0;
    while (list != nullptr && list[length] != nullptr) {
        ++length;
    }
    return length;
}

CMPIStatus setPropertyFilter(CMPIInstance* instance, char** propertyList, char** keys)
{
    InstanceObject& target = self(instance);
    if (propertyList == nullptr) {
        target.filter = nullptr;
        return kSuccess;
    }
    const std::size_t properties = lengthOf(propertyList);
    const std::size_t keyCount = lengthOf(keys);
    auto* names = target.arena->createArray<const char*>(properties + keyCount + 1);
    const auto copyName = [&target](const char* name) {
        return target.arena->copy(name);
    };
    std::transform(propertyList, propertyList + properties, names, copyName);
    std::transform(keys, keys + keyCount, names + properties, copyName);
    target.filter = names;
    return kSuccess;
}

CMPIInstance* makeInstance(CMPIObjectPath* path, CMPIStatus* rc)
{
    if (path == nullptr) {
        fail(rc, CMPI_RC_ERR_INVALID_PARAMETER, "An instance needs an object path");
        return nullptr;
    }
    const auto& source = *static_cast<const PathObject*>(path);
    Owned<InstanceObject> instance = makeOwned<InstanceObject>();
    instance->place = instance->arena->create(source.Place::copyInto(*instance->arena));
    instance->properties = source.keys.copyInto(*instance->arena);
    succeed(rc);
    return instance.release();
}

using Properties = Reading<InstanceObject, &InstanceObject::properties>;
using InstanceQualifiers = ReadingQualifiers<InstanceObject>;

} // namespace

InstanceObject* copyInstance(const CMPIInstance* instance, Arena* arena)
{
    const auto& source = *static_cast<const InstanceObject*>(instance);
    Owned<InstanceObject> copy = makeOwned<InstanceObject>(arena);
    copy->place = copy->arena->create(source.place->copyInto(*copy->arena));
    copy->properties = source.properties.copyInto(*copy->arena);
    copy->qualifiers = copyQualifiers(source.qualifiers, *copy->arena);
    return copy.release();
}

constexpr CMPIInstanceFT InstanceObject::kTable = {
    NATIVE_FT_VERSION,
    releaseObject<InstanceObject>,
    Guarded<cloned<CMPIInstance, copyInstance>>::call,
    Guarded<Properties::get>::call,
    Guarded<Properties::getAt>::call,
    Guarded<Properties::count>::call,
    Guarded<setProperty>::call,
    Guarded<getObjectPath>::call,
    Guarded<setPropertyFilter>::call,
    Guarded<InstanceQualifiers::get>::call,
    Guarded<InstanceQualifiers::getAt>::call,
    Guarded<InstanceQualifiers::count>::call,
    Guarded<InstanceQualifiers::getOfProperty>::call,
    Guarded<InstanceQualifiers::getOfPropertyAt>::call,
    Guarded<InstanceQualifiers::countOfProperty>::call,
};

} // namespace cmpisfcc

extern "C" CMPIInstance* native_new_CMPIInstance(CMPIObjectPath* op, CMPIStatus* rc)
{
    return cmpisfcc::Guarded<cmpisfcc::makeInstance>::call(op, rc);
}
