#include "name_space.h"

#include "cim_status.h"
#include "values.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

namespace cimomd {

namespace {

// Puts the value of a property that came from outside into its place.
bool assign(const cimxml::Property& given, cimxml::Property& property, cimxml::CimError& error)
{
    cimxml::Value value = given.value;
    if (!convertTo(property.value.type, property.value.isArray, value)) {
        return fail(error, kTypeMismatch,
                    "the value of " + property.name + " is not of type " +
                        typeText(property.value.type, property.value.isArray));
    }
    property.value = std::move(value);
    if (given.embedded != cimxml::Embedded::None) {
        property.embedded = given.embedded;
    }
    return true;
}

// An instance with the defaults of its class.
cimxml::Instance blankInstance(const ClassEntry& cls)
{
    cimxml::Instance blank;
    blank.className = cls.definition.name;
    blank.properties = cls.definition.properties;
    for (cimxml::Property& property : blank.properties) {
        property.qualifiers.clear();
        property.propagated = false;
    }
    return blank;
}

bool makePath(const ClassEntry& cls, const cimxml::Instance& instance, cimxml::ObjectPath& path,
              cimxml::CimError& error)
{
    path.className = cls.definition.name;
    for (const size_t index : cls.keys) {
        const cimxml::Property& key = instance.properties[index];
        if (key.value.isNull || key.value.isArray) {
            return fail(error, kInvalidParameter, "the key " + key.name + " has no value");
        }
        path.keys.push_back({key.name, key.value.type, key.value.scalar});
    }
    return true;
}

// The key of a path that belongs to a property; a single key may come without a name.
const cimxml::KeyBinding* bindingOf(const cimxml::ObjectPath& path, const std::string& name)
{
    const bool isUnnamed = path.keys.size() == 1 && path.keys.front().name.empty();
    return isUnnamed ? &path.keys.front() : path.findKey(name);
}

} // namespace

// Puts values that came from outside into their places: those that are named, or all of them.
bool NameSpace::fillIn(const cimxml::Instance& given, const std::vector<std::string>* names,
                       cimxml::Instance& instance, cimxml::CimError& error) const
{
    for (const cimxml::Property& property : given.properties) {
        cimxml::Property* const own = instance.find(property.name);
        if (own == nullptr) {
            return fail(error, kInvalidParameter,
                        instance.className + " has no property " + property.name);
        }
        if (names != nullptr && !isNamed(own->name, *names)) {
            continue;
        }
        if (!assign(property, *own, error)) {
            return false;
        }
        settleReference(own->value.scalar);
    }
    return true;
}

// Gives a reference the spelling and the key types of its class, as far as that is known here.
void NameSpace::settleReference(cimxml::Scalar& scalar) const
{
    auto* const reference = std::get_if<std::shared_ptr<const cimxml::ObjectPath>>(&scalar);
    const ClassEntry* const cls = reference == nullptr || !isHere(**reference)
                                      ? nullptr
                                      : mClasses.find((*reference)->className);
    if (cls == nullptr) {
        return;
    }
    auto path = std::make_shared<cimxml::ObjectPath>(**reference);
    path->className = cls->definition.name;
    for (cimxml::KeyBinding& key : path->keys) {
        const cimxml::Property* const property = cls->definition.findProperty(key.name);
        cimxml::KeyBinding typed = key;
        if (property != nullptr && convertKey(property->value.type, typed)) {
            settleReference(typed.value);
            typed.name = property->name;
            key = std::move(typed);
        }
    }
    *reference = std::move(path);
}

bool NameSpace::isHere(const cimxml::ObjectPath& path) const
{
    return path.nameSpace.empty() || cimxml::equalsIgnoreCase(path.nameSpace, mName);
}

const ClassEntry* NameSpace::findClass(std::string_view name, cimxml::CimError& error) const
{
    const ClassEntry* const cls = mClasses.find(name);
    if (cls == nullptr) {
        fail(error, kInvalidClass, "there is no class " + std::string(name) + " in " + mName);
    }
    return cls;
}

void NameSpace::appendScalar(cimxml::Type type, const cimxml::Scalar& scalar,
                             std::string& text) const
{
    const auto* const reference = std::get_if<std::shared_ptr<const cimxml::ObjectPath>>(&scalar);
    const std::string value =
        reference == nullptr ? cimxml::scalarText(type, scalar) : identityOf(**reference);
    text += '=' + std::to_string(value.size()) + ':' + value;
}

bool NameSpace::makeIdentity(const cimxml::ObjectPath& path, std::string& identity,
                             cimxml::CimError& error) const
{
    const ClassEntry* const cls = findClass(path.className, error);
    if (cls == nullptr) {
        return false;
    }
    identity = lowered(path.className);
    for (const size_t index : cls->keys) {
        const cimxml::Property& property = cls->definition.properties[index];
        const cimxml::KeyBinding* const given = bindingOf(path, property.name);
        if (given == nullptr) {
            return fail(error, kInvalidParameter, "the key " + property.name + " is missing");
        }
        cimxml::KeyBinding key = *given;
        if (!convertKey(property.value.type, key)) {
            return fail(error, kInvalidParameter,
                        "the key " + property.name + " is not of type " +
                            typeText(property.value.type, false));
        }
        appendScalar(key.type, key.value, identity);
    }
    if (path.keys.size() != cls->keys.size()) {
        return fail(error, kInvalidParameter,
                    "there are more keys than those of " + cls->definition.name);
    }
    return true;
}

std::string NameSpace::identityOf(const cimxml::ObjectPath& path) const
{
    std::string identity;
    cimxml::CimError ignored;
    return isHere(path) && makeIdentity(path, identity, ignored)
               ? identity
               : lowered(path.nameSpace) + ':' + cimxml::pathText(path);
}

bool NameSpace::locate(const cimxml::ObjectPath& path, std::string& identity,
                       Instances::iterator& found, cimxml::CimError& error) const
{
    if (!makeIdentity(path, identity, error)) {
        return false;
    }
    const auto entry = mByIdentity.find(identity);
    if (entry == mByIdentity.end()) {
        return fail(error, kNotFound, "there is no instance " + cimxml::pathText(path));
    }
    found = entry->second;
    return true;
}

const StoredInstance* NameSpace::find(const cimxml::ObjectPath& path, cimxml::CimError& error) const
{
    std::string identity;
    Instances::iterator found;
    return locate(path, identity, found, error) ? &*found : nullptr;
}

const StoredInstance* NameSpace::create(const cimxml::Instance& instance, cimxml::CimError& error)
{
    StoredInstance stored;
    stored.cls = findClass(instance.className, error);
    if (stored.cls == nullptr) {
        return nullptr;
    }
    if (stored.cls->hasFlag("Abstract")) {
        fail(error, kNotSupported, stored.cls->definition.name + " is abstract");
        return nullptr;
    }
    stored.instance = blankInstance(*stored.cls);
    std::string identity;
    if (!fillIn(instance, nullptr, stored.instance, error) ||
        !makePath(*stored.cls, stored.instance, stored.path, error) ||
        !makeIdentity(stored.path, identity, error)) {
        return nullptr;
    }
    if (mByIdentity.contains(identity)) {
        fail(error, kAlreadyExists, cimxml::pathText(stored.path) + " is there already");
        return nullptr;
    }
    Instances& instances = mInstances[stored.cls];
    instances.push_back(std::move(stored));
    mByIdentity.emplace(std::move(identity), std::prev(instances.end()));
    return &instances.back();
}

bool NameSpace::modify(const cimxml::ObjectPath& path, const cimxml::Instance& changes,
                       const std::vector<std::string>* names, cimxml::CimError& error)
{
    std::string identity;
    Instances::iterator stored;
    if (!locate(path, identity, stored, error)) {
        return false;
    }
    cimxml::Instance changed = stored->instance;
    cimxml::ObjectPath changedPath;
    if (!fillIn(changes, names, changed, error) ||
        !makePath(*stored->cls, changed, changedPath, error)) {
        return false;
    }
    if (identityOf(changedPath) != identity) {
        return fail(error, kInvalidParameter, "the keys of an instance cannot be changed");
    }
    stored->instance = std::move(changed);
    return true;
}

bool NameSpace::remove(const cimxml::ObjectPath& path, cimxml::CimError& error)
{
    std::string identity;
    Instances::iterator stored;
    if (!locate(path, identity, stored, error)) {
        return false;
    }
    mByIdentity.erase(identity);
    mInstances[stored->cls].erase(stored);
    return true;
}

void NameSpace::forEach(const ClassEntry& cls,
                        const std::function<void(const StoredInstance&)>& visit) const
{
    const auto own = mInstances.find(&cls);
    if (own != mInstances.end()) {
        std::for_each(own->second.begin(), own->second.end(), visit);
    }
    for (const ClassEntry* const subclass : cls.subclasses) {
        forEach(*subclass, visit);
    }
}

} // namespace cimomd
