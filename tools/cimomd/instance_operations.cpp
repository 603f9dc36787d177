// The operations on instances, and queries.
#include "cim_status.h"
#include "operations.h"
#include "query.h"
#include "query_filter.h"

#include <algorithm>
#include <utility>

namespace cimomd {

namespace {

bool isNamed(const std::string& property, const std::vector<std::string>& names)
{
    return std::any_of(names.begin(), names.end(), [&property](const std::string& name) {
        return cimxml::equalsIgnoreCase(name, property);
    });
}

// What GetInstance and EnumerateInstances know of instances but have no use for: instances have no
// qualifiers, and LocalOnly is deprecated, since no two object managers agreed on what it means.
void ignoreDeprecated(Arguments& arguments)
{
    (void)arguments.flag("LocalOnly", true);
    (void)arguments.flag("IncludeQualifiers", false);
}

const std::vector<std::string>* pointerTo(const std::optional<std::vector<std::string>>& names)
{
    return names ? &*names : nullptr;
}

bool languageOf(const std::string& name, QueryLanguage& language)
{
    if (cimxml::equalsIgnoreCase(name, "WQL")) {
        language = QueryLanguage::Wql;
        return true;
    }
    language = QueryLanguage::Cql;
    return cimxml::equalsIgnoreCase(name, "CQL") || cimxml::equalsIgnoreCase(name, "DMTF:CQL");
}

void answerMatches(OperationCall& call, const Query& query, const QueryFilter& filter,
                   const ClassEntry& cls)
{
    const PropertySelection selection{query.properties.empty() ? nullptr : &query.properties};
    call.nameSpace.forEach(cls, [&](const StoredInstance& stored) {
        if (filter.matches(stored.instance)) {
            call.answer.addObjectWithPath(fullPath(call, stored.path),
                                          selectProperties(stored.instance, selection));
        }
    });
}

} // namespace

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
    const std::string className = call.arguments.requiredClassName("ClassName");
    const bool isDeep = call.arguments.flag("DeepInheritance", true);
    ignoreDeprecated(call.arguments);
    const bool withClassOrigin = call.arguments.flag("IncludeClassOrigin", false);
    const auto names = call.arguments.names("PropertyList");
    if (!call.arguments.finish(call.error)) {
        return false;
    }
    const ClassEntry* const cls = call.nameSpace.findClass(className, call.error);
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
    const std::string className = call.arguments.requiredClassName("ClassName");
    if (!call.arguments.finish(call.error)) {
        return false;
    }
    const ClassEntry* const cls = call.nameSpace.findClass(className, call.error);
    if (cls == nullptr) {
        return false;
    }
    call.nameSpace.forEach(
        *cls, [&call](const StoredInstance& stored) { call.answer.addInstanceName(stored.path); });
    return true;
}

bool getInstance(OperationCall& call)
{
    const cimxml::ObjectPath path = call.arguments.requiredInstanceName("InstanceName");
    ignoreDeprecated(call.arguments);
    const bool withClassOrigin = call.arguments.flag("IncludeClassOrigin", false);
    const auto names = call.arguments.names("PropertyList");
    if (!call.arguments.finish(call.error)) {
        return false;
    }
    const StoredInstance* const stored = call.nameSpace.find(path, call.error);
    if (stored == nullptr) {
        return false;
    }
    call.answer.addInstance(
        selectProperties(stored->instance, {pointerTo(names), nullptr, withClassOrigin}));
    return true;
}

bool createInstance(OperationCall& call)
{
    const cimxml::Instance& instance = call.arguments.requiredInstance("NewInstance");
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
    const cimxml::NamedInstance& modified =
        call.arguments.requiredNamedInstance("ModifiedInstance");
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
    const cimxml::ObjectPath path = call.arguments.requiredInstanceName("InstanceName");
    return call.arguments.finish(call.error) && call.nameSpace.remove(path, call.error);
}

bool getProperty(OperationCall& call)
{
    const cimxml::ObjectPath path = call.arguments.requiredInstanceName("InstanceName");
    const std::string name = call.arguments.requiredText("PropertyName");
    if (!call.arguments.finish(call.error)) {
        return false;
    }
    const StoredInstance* const stored = call.nameSpace.find(path, call.error);
    if (stored == nullptr) {
        return false;
    }
    const cimxml::Property* const property = stored->instance.find(name);
    if (property == nullptr) {
        return fail(call.error, kNoSuchProperty,
                    stored->cls->definition.name + " has no property " + name);
    }
    call.answer.addValue(property->value);
    return true;
}

bool setProperty(OperationCall& call)
{
    const cimxml::ObjectPath path = call.arguments.requiredInstanceName("InstanceName");
    cimxml::Property property;
    property.name = call.arguments.requiredText("PropertyName");
    property.value = call.arguments.value("NewValue");
    cimxml::Instance changes;
    changes.properties.push_back(std::move(property));
    return call.arguments.finish(call.error) &&
           call.nameSpace.modify(path, changes, nullptr, call.error);
}

bool execQuery(OperationCall& call)
{
    const std::string languageName = call.arguments.requiredText("QueryLanguage");
    const std::string text = call.arguments.requiredText("Query");
    if (!call.arguments.finish(call.error)) {
        return false;
    }
    QueryLanguage language = QueryLanguage::Cql;
    if (!languageOf(languageName, language)) {
        return fail(call.error, kQueryLanguageNotSupported,
                    "the query languages are CQL and WQL, not " + languageName);
    }
    Query query;
    std::string problem;
    if (!readQuery(text, language, query, problem)) {
        return fail(call.error, kInvalidQuery, problem);
    }
    const ClassEntry* const cls = call.nameSpace.findClass(query.className, call.error);
    if (cls == nullptr) {
        return false;
    }
    QueryFilter filter;
    if (!filter.bind(query, *cls, problem)) {
        return fail(call.error, kInvalidQuery, problem);
    }
    answerMatches(call, query, filter, *cls);
    return true;
}

} // namespace cimomd
