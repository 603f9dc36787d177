// The operations that follow associations. An association is an instance of a class with the
// Association qualifier; its reference properties name what it joins.
#include "cim_status.h"
#include "operations.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <set>

namespace cimomd {

namespace {

// Where to look from, and which associations count. Empty and null: any.
struct Search
{
    std::string identity;
    const ClassEntry* associationClass = nullptr;
    std::string role;
    const ClassEntry* resultClass = nullptr;
    std::string resultRole;
};

using Visit = std::function<void(const StoredInstance&)>;

// The qualifier is inherited, so the instances of its highest class are all there are.
void forEachAssociation(const NameSpace& nameSpace, const ClassEntry& cls, const Visit& visit)
{
    if (cls.hasFlag("Association")) {
        nameSpace.forEach(cls, visit);
        return;
    }
    for (const ClassEntry* const subclass : cls.subclasses) {
        forEachAssociation(nameSpace, *subclass, visit);
    }
}

void forEachAssociation(const NameSpace& nameSpace, const Search& search, const Visit& visit)
{
    if (search.associationClass != nullptr) {
        forEachAssociation(nameSpace, *search.associationClass, visit);
        return;
    }
    for (const ClassEntry* const root : nameSpace.classes().roots()) {
        forEachAssociation(nameSpace, *root, visit);
    }
}

// What a reference property names; null when it is another property, or null, or has another role.
const cimxml::ObjectPath* targetOf(const cimxml::Property& property, const std::string& role)
{
    const auto* const path =
        std::get_if<std::shared_ptr<const cimxml::ObjectPath>>(&property.value.scalar);
    const bool hasRole = role.empty() || cimxml::equalsIgnoreCase(property.name, role);
    return path == nullptr || !hasRole ? nullptr : path->get();
}

bool isSource(const NameSpace& nameSpace, const Search& search, const cimxml::Property& property)
{
    const cimxml::ObjectPath* const target = targetOf(property, search.role);
    return target != nullptr && nameSpace.identityOf(*target) == search.identity;
}

// The associations that name the object.
void forEachReference(const NameSpace& nameSpace, const Search& search, const Visit& visit)
{
    forEachAssociation(nameSpace, search, [&](const StoredInstance& association) {
        const auto& properties = association.instance.properties;
        if (std::any_of(properties.begin(), properties.end(), [&](const auto& property) {
                return isSource(nameSpace, search, property);
            })) {
            visit(association);
        }
    });
}

// Visits what an association joins to its property source, if it is there and is asked for.
void forEachTarget(const NameSpace& nameSpace, const Search& search,
                   const StoredInstance& association, const cimxml::Property& source,
                   const Visit& visit)
{
    for (const cimxml::Property& property : association.instance.properties) {
        const cimxml::ObjectPath* const target = targetOf(property, search.resultRole);
        if (&property == &source || target == nullptr) {
            continue;
        }
        cimxml::CimError ignored;
        const StoredInstance* const found =
            nameSpace.isHere(*target) ? nameSpace.find(*target, ignored) : nullptr;
        if (found != nullptr &&
            (search.resultClass == nullptr || found->cls->isA(*search.resultClass))) {
            visit(*found);
        }
    }
}

// The instances on the other sides of the object's associations, each once.
void forEachAssociator(const NameSpace& nameSpace, const Search& search, const Visit& visit)
{
    std::set<const StoredInstance*> visited;
    const auto visitOnce = [&](const StoredInstance& found) {
        if (visited.insert(&found).second) {
            visit(found);
        }
    };
    forEachReference(nameSpace, search, [&](const StoredInstance& association) {
        for (const cimxml::Property& property : association.instance.properties) {
            if (isSource(nameSpace, search, property)) {
                forEachTarget(nameSpace, search, association, property, visitOnce);
            }
        }
    });
}

// A class that narrows the search. One that there is not is a parameter that cannot be.
bool findNamedClass(OperationCall& call, const std::string& name, const ClassEntry*& cls)
{
    cls = name.empty() ? nullptr : call.nameSpace.classes().find(name);
    return name.empty() || cls != nullptr ||
           fail(call.error, kInvalidParameter, "there is no class " + name);
}

bool findNamedAssociation(OperationCall& call, const std::string& name, const ClassEntry*& cls)
{
    return findNamedClass(call, name, cls) &&
           (cls == nullptr || cls->hasFlag("Association") ||
            fail(call.error, kInvalidParameter, name + " is no association"));
}

// Resolves what the operation was given, once all of it is read.
bool prepare(OperationCall& call, const cimxml::ObjectPath& object,
             const std::string& associationClass, const std::string& resultClass, Search& search)
{
    const StoredInstance* const source = findInstance(call, object);
    if (source == nullptr) {
        return false;
    }
    search.identity = call.nameSpace.identityOf(source->path);
    return findNamedAssociation(call, associationClass, search.associationClass) &&
           findNamedClass(call, resultClass, search.resultClass);
}

bool followAssociations(OperationCall& call, const Visit& visit)
{
    Arguments& arguments = call.arguments;
    Search search;
    const auto& object = arguments.required<cimxml::ObjectPath>("ObjectName");
    const std::string associationClass = arguments.optional<cimxml::ClassName>("AssocClass").name;
    const std::string resultClass = arguments.optional<cimxml::ClassName>("ResultClass").name;
    search.role = arguments.optional<std::string>("Role");
    search.resultRole = arguments.optional<std::string>("ResultRole");
    if (!prepare(call, object, associationClass, resultClass, search)) {
        return false;
    }
    forEachAssociator(call.nameSpace, search, visit);
    return true;
}

// ResultClass is the class of the association here.
bool followReferences(OperationCall& call, const Visit& visit)
{
    Search search;
    const auto& object = call.arguments.required<cimxml::ObjectPath>("ObjectName");
    const std::string resultClass = call.arguments.optional<cimxml::ClassName>("ResultClass").name;
    search.role = call.arguments.optional<std::string>("Role");
    if (!prepare(call, object, resultClass, {}, search)) {
        return false;
    }
    forEachReference(call.nameSpace, search, visit);
    return true;
}

using Follow = bool (*)(OperationCall& call, const Visit& visit);

bool answerObjects(OperationCall& call, Follow follow)
{
    (void)call.arguments.flag("IncludeQualifiers", false);
    const bool withClassOrigin = call.arguments.flag("IncludeClassOrigin", false);
    const auto names = call.arguments.names("PropertyList");
    const PropertySelection selection{names ? &*names : nullptr, nullptr, withClassOrigin};
    return follow(call, [&](const StoredInstance& found) {
        call.answer.addObjectWithPath(fullPath(call, found.path),
                                      selectProperties(found.instance, selection));
    });
}

bool answerPaths(OperationCall& call, Follow follow)
{
    return follow(call, [&call](const StoredInstance& found) {
        call.answer.addObjectPath(fullPath(call, found.path));
    });
}

} // namespace

bool associators(OperationCall& call)
{
    return answerObjects(call, followAssociations);
}

bool associatorNames(OperationCall& call)
{
    return answerPaths(call, followAssociations);
}

bool references(OperationCall& call)
{
    return answerObjects(call, followReferences);
}

bool referenceNames(OperationCall& call)
{
    return answerPaths(call, followReferences);
}

} // namespace cimomd
