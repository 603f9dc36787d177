// The operations on instances, and queries.
#include "cim_status.h"
#include "operations.h"
#include "query.h"
#include "values.h"

#include <algorithm>
#include <utility>

namespace cimomd {

namespace {

// What GetInstance and EnumerateInstances know of instances but have no use for: instances have no
// qualifiers, and LocalOnly is deprecated, since no two object managers agreed on what it means.
void ignoreDeprecated(Arguments& arguments)
{
    (void)arguments.flag("LocalOnly", true);
    (void)arguments.flag("IncludeQualifiers", false);
}

// The property that GetProperty and SetProperty name; for these alone an unknown one is an error of
// its own.
const cimxml::Property* findProperty(OperationCall& call, const StoredInstance& stored,
                                     const std::string& name)
{
    const cimxml::Property* const property = stored.instance.find(name);
    if (property == nullptr) {
        fail(call.error, kNoSuchProperty, stored.cls->definition.name + " has no property " + name);
    }
    return property;
}

const std::vector<std::string>* pointerTo(const std::optional<std::vector<std::string>>& names)
{
    return names ? &*names : nullptr;
}

} // namespace

const ClassEntry* findClass(OperationCall& call, const std::string& name)
{
    return call.arguments.finish(call.error) ? call.nameSpace.findClass(name, call.error) : nullptr;
}

const StoredInstance* findInstance(OperationCall& call, const cimxml::ObjectPath& path)
{
    return call.arguments.finish(call.error) ? call.nameSpace.find(path, call.error) : nullptr;
}

// The properties of a superclass come first, so those of the class asked for are the first ones.
cimxml::Instance selectProperties(const cimxml::Instance& instance,
                                  const PropertySelection& selection)
{
    cimxml::Instance selected;
    selected.className = instance.className;
    const size_t count = selection.within == nullptr
                             ? instance.properties.size()
                             : selection.within->definition.properties.size();
    selected.properties.reserve(selection.names == nullptr ? count : selection.names->size());
    for (size_t i = 0; i < count; ++i) {
        const cimxml::Property& property = instance.properties[i];
        if (selection.names == nullptr || isNamed(property.name, *selection.names)) {
            selected.properties.push_back(property);
            if (!selection.withClassOrigin) {
                selected.properties.back().classOrigin.clear();
            }
        }
    }
    return selected;
}

cimxml::ObjectPath fullPath(const OperationCall& call, const cimxml::ObjectPath& path)
{
    cimxml::ObjectPath full = path;
    full.host = call.host;
    full.nameSpace = call.nameSpace.name();
    return full;
}

bool enumerateInstances(OperationCall& call)
{
    const std::string className = call.arguments.required<cimxml::ClassName>("ClassName").name;
    const bool isDeep = call.arguments.flag("DeepInheritance", true);
    ignoreDeprecated(call.arguments);
    const bool withClassOrigin = call.arguments.flag("IncludeClassOrigin", false);
    const auto names = call.arguments.names("PropertyList");
    const ClassEntry* const cls = findClass(call, className);
    if (cls == nullptr) {
        return false;
    }
    const PropertySelection selection{pointerTo(names), isDeep ? nullptr : cls, withClassOrigin};
    call.nameSpace.forEach(*cls, [&](const StoredInstance& stored) {
        call.answer.addNamedInstance(stored.path, selectProperties(stored.instance, selection));
    });
    return true;
}

bool enumerateInstanceNames(OperationCall& call)
{
    const std::string className = call.arguments.required<cimxml::ClassName>("ClassName").name;
    const ClassEntry* const cls = findClass(call, className);
    if (cls == nullptr) {
        return false;
    }
    call.nameSpace.forEach(
        *cls, [&call](const StoredInstance& stored) { call.answer.addInstanceName(stored.path); });
    return true;
}

bool getInstance(OperationCall& call)
{
    const auto& path = call.arguments.required<cimxml::ObjectPath>("InstanceName");
    ignoreDeprecated(call.arguments);
    const bool withClassOrigin = call.arguments.flag("IncludeClassOrigin", false);
    const auto names = call.arguments.names("PropertyList");
    const StoredInstance* const stored = findInstance(call, path);
    if (stored == nullptr) {
        return false;
    }
    call.answer.addInstance(
        selectProperties(stored->instance, {pointerTo(names), nullptr, withClassOrigin}));
    return true;
}

bool createInstance(OperationCall& call)
{
    const cimxml::Instance& instance = call.arguments.required<cimxml::Instance>("NewInstance");
    if (!call.arguments.finish(call.error)) {
        return false;
    }
    const StoredInstance* const stored = call.nameSpace.create(instance, call.error);
    if (stored == nullptr) {
        return false;
    }
    call.answer.addInstanceName(stored->path);
    return true;
}

bool modifyInstance(OperationCall& call)
{
    const auto& modified = call.arguments.required<cimxml::NamedInstance>("ModifiedInstance");
    (void)call.arguments.flag("IncludeQualifiers", true);
    const auto names = call.arguments.names("PropertyList");
    if (!call.arguments.finish(call.error)) {
        return false;
    }
    if (!cimxml::equalsIgnoreCase(modified.path.className, modified.instance.className)) {
        return fail(call.error, kInvalidParameter, "the instance and its path differ in class");
    }
    return call.nameSpace.modify(modified.path, modified.instance, pointerTo(names), call.error);
}

bool deleteInstance(OperationCall& call)
{
    const auto& path = call.arguments.required<cimxml::ObjectPath>("InstanceName");
    return call.arguments.finish(call.error) && call.nameSpace.remove(path, call.error);
}

bool getProperty(OperationCall& call)
{
    const auto& path = call.arguments.required<cimxml::ObjectPath>("InstanceName");
    const std::string name = call.arguments.required<std::string>("PropertyName");
    const StoredInstance* const stored = findInstance(call, path);
    if (stored == nullptr) {
        return false;
    }
    const cimxml::Property* const property = findProperty(call, *stored, name);
    if (property == nullptr) {
        return false;
    }
    call.answer.addValue(property->value);
    return true;
}

bool setProperty(OperationCall& call)
{
    const auto& path = call.arguments.required<cimxml::ObjectPath>("InstanceName");
    cimxml::Property property;
    property.name = call.arguments.required<std::string>("PropertyName");
    property.value = call.arguments.value("NewValue");
    const StoredInstance* const stored = findInstance(call, path);
    if (stored == nullptr || findProperty(call, *stored, property.name) == nullptr) {
        return false;
    }
    cimxml::Instance changes;
    changes.properties.push_back(std::move(property));
    return call.nameSpace.modify(path, changes, nullptr, call.error);
}

bool execQuery(OperationCall& call)
{
    const auto& language = call.arguments.required<std::string>("QueryLanguage");
    const auto& text = call.arguments.required<std::string>("Query");
    if (!call.arguments.finish(call.error)) {
        return false;
    }
    if (!cimxml::equalsIgnoreCase(language, "CQL") &&
        !cimxml::equalsIgnoreCase(language, "DMTF:CQL")) {
        return fail(call.error, kQueryLanguageNotSupported,
                    "the query language is CQL (or DMTF:CQL), not " + language);
    }
    Query query;
    if (!readQuery(text, call.nameSpace, query, call.error)) {
        return false;
    }
    const PropertySelection selection{query.properties.empty() ? nullptr : &query.properties};
    call.nameSpace.forEach(*query.cls, [&](const StoredInstance& stored) {
        if (query.selects(stored.instance)) {
            call.answer.addObjectWithPath(fullPath(call, stored.path),
                                          selectProperties(stored.instance, selection));
        }
    });
    return true;
}

} // namespace cimomd
