// A namespace: its classes and its instances.
#ifndef CIMOMD_NAME_SPACE_H_
#define CIMOMD_NAME_SPACE_H_

#include "class_table.h"

#include <cimxml/types.h>

#include <functional>
#include <list>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace cimomd {

struct StoredInstance
{
    const ClassEntry* cls = nullptr;
    cimxml::ObjectPath path; // class and keys, as the class spells and types them
    // Every property of the class, in the class's order, with its type and class origin.
    cimxml::Instance instance;
};

// Where an operation fails, it changes nothing and error tells why; see cim_status.h.
class NameSpace
{
public:
    explicit NameSpace(std::string name) : mName(std::move(name)) {}

    const std::string& name() const { return mName; }
    ClassTable& classes() { return mClasses; }
    const ClassTable& classes() const { return mClasses; }

    // Null with kInvalidClass when there is none.
    const ClassEntry* findClass(std::string_view name, cimxml::CimError& error) const;

    // Null with kInvalidClass, kInvalidParameter (its keys are not those of the class) or
    // kNotFound. An instance belongs to the class that it was created of, not to its superclasses.
    const StoredInstance* find(const cimxml::ObjectPath& path, cimxml::CimError& error) const;

    // Adds an instance, and completes it by the defaults of its class. Null when it has no class,
    // an unknown property, a value of another type, no key, or is there already.
    const StoredInstance* create(const cimxml::Instance& instance, cimxml::CimError& error);

    // Sets the properties of changes that are named, or all of them; keys can only stay as they
    // are.
    bool modify(const cimxml::ObjectPath& path, const cimxml::Instance& changes,
                const std::vector<std::string>* names, cimxml::CimError& error);

    bool remove(const cimxml::ObjectPath& path, cimxml::CimError& error);

    // The instances of a class and then of its subclasses, each in the order of their creation.
    void forEach(const ClassEntry& cls,
                 const std::function<void(const StoredInstance&)>& visit) const;

    // A text that is the same for two paths exactly when they mean the same object: names without
    // case, keys in any order and converted to their types, texts exactly. Of classes that are not
    // known here, and in other namespaces, only paths that look the same have the same.
    std::string identityOf(const cimxml::ObjectPath& path) const;

    // Whether the path has no other namespace.
    bool isHere(const cimxml::ObjectPath& path) const;

private:
    using Instances = std::list<StoredInstance>;

    bool fillIn(const cimxml::Instance& given, const std::vector<std::string>* names,
                cimxml::Instance& instance, cimxml::CimError& error) const;
    void settleReference(cimxml::Scalar& scalar) const;
    bool makeIdentity(const cimxml::ObjectPath& path, std::string& identity,
                      cimxml::CimError& error) const;
    void appendScalar(cimxml::Type type, const cimxml::Scalar& scalar, std::string& text) const;
    bool locate(const cimxml::ObjectPath& path, std::string& identity, Instances::iterator& found,
                cimxml::CimError& error) const;

    std::string mName;
    ClassTable mClasses;
    std::map<const ClassEntry*, Instances> mInstances;
    std::unordered_map<std::string, Instances::iterator> mByIdentity;
};

} // namespace cimomd

#endif
