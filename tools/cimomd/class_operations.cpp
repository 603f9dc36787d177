// The operations on classes.
#include "operations.h"
#include "values.h"

#include <functional>

namespace cimomd {

namespace {

// What of a class is asked for.
struct ClassSelection
{
    explicit ClassSelection(Arguments& arguments)
        : isLocalOnly(arguments.flag("LocalOnly", true)),
          withQualifiers(arguments.flag("IncludeQualifiers", true)),
          withClassOrigin(arguments.flag("IncludeClassOrigin", false))
    {}

    bool isLocalOnly;
    bool withQualifiers;
    bool withClassOrigin;
};

void selectQualifiers(std::vector<cimxml::Qualifier>& qualifiers, const ClassSelection& selection)
{
    if (!selection.withQualifiers) {
        qualifiers.clear();
    } else if (selection.isLocalOnly) {
        std::erase_if(qualifiers, [](const auto& qualifier) { return qualifier.propagated; });
    }
}

template <typename Element>
void selectElements(std::vector<Element>& elements, const ClassSelection& selection)
{
    if (selection.isLocalOnly) {
        std::erase_if(elements, [](const Element& element) { return element.propagated; });
    }
    for (Element& element : elements) {
        selectQualifiers(element.qualifiers, selection);
        if (!selection.withClassOrigin) {
            element.classOrigin.clear();
        }
    }
}

cimxml::Class selectElementsOf(const ClassEntry& cls, const ClassSelection& selection)
{
    cimxml::Class selected = cls.definition;
    selectQualifiers(selected.qualifiers, selection);
    selectElements(selected.properties, selection);
    selectElements(selected.methods, selection);
    for (cimxml::Method& method : selected.methods) {
        for (cimxml::Parameter& parameter : method.parameters) {
            selectQualifiers(parameter.qualifiers, selection);
        }
    }
    return selected;
}

void forEachClass(const std::vector<const ClassEntry*>& classes, bool isDeep,
                  const std::function<void(const ClassEntry&)>& visit)
{
    for (const ClassEntry* const cls : classes) {
        visit(*cls);
        if (isDeep) {
            forEachClass(cls->subclasses, true, visit);
        }
    }
}

// Visits the subclasses of the class that is named, or the root classes and theirs.
bool enumerate(OperationCall& call, const std::string& className, bool isDeep,
               const std::function<void(const ClassEntry&)>& visit)
{
    if (className.empty()) {
        forEachClass(call.nameSpace.classes().roots(), isDeep, visit);
        return call.arguments.finish(call.error);
    }
    const ClassEntry* const parent = findClass(call, className);
    if (parent != nullptr) {
        forEachClass(parent->subclasses, isDeep, visit);
    }
    return parent != nullptr;
}

} // namespace

bool getClass(OperationCall& call)
{
    const std::string name = call.arguments.required<cimxml::ClassName>("ClassName").name;
    const ClassSelection selection(call.arguments);
    const auto names = call.arguments.names("PropertyList");
    const ClassEntry* const cls = findClass(call, name);
    if (cls == nullptr) {
        return false;
    }
    cimxml::Class selected = selectElementsOf(*cls, selection);
    if (names) {
        std::erase_if(selected.properties, [&names](const cimxml::Property& property) {
            return !isNamed(property.name, *names);
        });
    }
    call.answer.addClass(selected);
    return true;
}

bool enumerateClasses(OperationCall& call)
{
    const std::string className = call.arguments.optional<cimxml::ClassName>("ClassName").name;
    const bool isDeep = call.arguments.flag("DeepInheritance", false);
    const ClassSelection selection(call.arguments);
    return enumerate(call, className, isDeep, [&](const ClassEntry& cls) {
        call.answer.addClass(selectElementsOf(cls, selection));
    });
}

bool enumerateClassNames(OperationCall& call)
{
    const std::string className = call.arguments.optional<cimxml::ClassName>("ClassName").name;
    const bool isDeep = call.arguments.flag("DeepInheritance", false);
    return enumerate(call, className, isDeep, [&call](const ClassEntry& cls) {
        call.answer.addClassName(cls.definition.name);
    });
}

} // namespace cimomd
