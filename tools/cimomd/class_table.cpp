#include "class_table.h"

#include "values.h"

#include <algorithm>
#include <utility>

namespace cimomd {

namespace {

template <typename Element>
Element* findNamed(std::vector<Element>& elements, std::string_view name)
{
    const auto found =
        std::find_if(elements.begin(), elements.end(), [name](const Element& element) {
            return cimxml::equalsIgnoreCase(element.name, name);
        });
    return found == elements.end() ? nullptr : &*found;
}

// Qualifiers that describe the very class they stand at (DSP0004: flavor "restricted"); files often
// leave out that flavor.
bool isRestricted(const cimxml::Qualifier& qualifier)
{
    return !qualifier.toSubclass || cimxml::equalsIgnoreCase(qualifier.name, "Abstract") ||
           cimxml::equalsIgnoreCase(qualifier.name, "Terminal") ||
           cimxml::equalsIgnoreCase(qualifier.name, "Version");
}

void inheritQualifiers(const std::vector<cimxml::Qualifier>& inherited,
                       std::vector<cimxml::Qualifier>& qualifiers)
{
    for (const cimxml::Qualifier& qualifier : inherited) {
        if (!isRestricted(qualifier) &&
            cimxml::findQualifier(qualifiers, qualifier.name) == nullptr) {
            qualifiers.push_back(qualifier);
            qualifiers.back().propagated = true;
        }
    }
}

bool isSameType(const cimxml::Property& a, const cimxml::Property& b)
{
    return a.value.type == b.value.type && a.value.isArray == b.value.isArray;
}

bool isSameType(const cimxml::Method& a, const cimxml::Method& b)
{
    return a.returnType == b.returnType;
}

// Puts what a class declares beside what it inherits. Returns the name of an element that is
// declared twice or overrides one of another type; empty when all is well.
template <typename Element>
std::string inheritElements(const std::vector<Element>& inherited, const std::string& className,
                            std::vector<Element>& elements)
{
    std::vector<Element> all = inherited;
    for (Element& element : all) {
        element.propagated = true;
    }
    for (Element& element : elements) {
        Element* const overridden = findNamed(all, element.name);
        element.propagated = false;
        element.classOrigin = className;
        if (overridden == nullptr) {
            all.push_back(std::move(element));
        } else if (overridden->propagated && isSameType(*overridden, element)) {
            element.classOrigin = overridden->classOrigin;
            inheritQualifiers(overridden->qualifiers, element.qualifiers);
            *overridden = std::move(element);
        } else {
            return element.name;
        }
    }
    elements = std::move(all);
    return {};
}

// Gives a class what it inherits; returns what is wrong as inheritElements() does.
std::string inherit(const cimxml::Class& inherited, cimxml::Class& cls)
{
    inheritQualifiers(inherited.qualifiers, cls.qualifiers);
    std::string wrong = inheritElements(inherited.properties, cls.name, cls.properties);
    return wrong.empty() ? inheritElements(inherited.methods, cls.name, cls.methods) : wrong;
}

std::string wrongClass(const ClassSource& source, const std::string& what)
{
    return source.file + ": class " + source.cls.name + " " + what;
}

// Whether the boolean qualifier is there and true.
bool isFlagged(const std::vector<cimxml::Qualifier>& qualifiers, std::string_view name)
{
    const cimxml::Qualifier* const qualifier = cimxml::findQualifier(qualifiers, name);
    const bool* const flag =
        qualifier == nullptr ? nullptr : std::get_if<bool>(&qualifier->value.scalar);
    return flag != nullptr && *flag;
}

void findKeys(ClassEntry& entry)
{
    const std::vector<cimxml::Property>& properties = entry.definition.properties;
    for (size_t i = 0; i < properties.size(); ++i) {
        if (isFlagged(properties[i].qualifiers, "Key")) {
            entry.keys.push_back(i);
        }
    }
}

} // namespace

bool ClassEntry::isKey(const cimxml::Property& property) const
{
    return std::any_of(keys.begin(), keys.end(),
                       [&](size_t index) { return &definition.properties[index] == &property; });
}

bool ClassEntry::isA(const ClassEntry& other) const
{
    const ClassEntry* ancestor = this;
    while (ancestor != nullptr && ancestor != &other) {
        ancestor = ancestor->superclass;
    }
    return ancestor != nullptr;
}

bool ClassEntry::hasFlag(std::string_view qualifier) const
{
    return isFlagged(definition.qualifiers, qualifier);
}

// A superclass comes before its subclasses, whatever the order of declaration.
bool ClassTable::add(std::vector<ClassSource> declared, std::string& problem)
{
    while (!declared.empty()) {
        std::vector<ClassSource> waiting;
        for (ClassSource& one : declared) {
            if (!one.cls.superClass.empty() && find(one.cls.superClass) == nullptr) {
                waiting.push_back(std::move(one));
            } else if (!build(std::move(one), problem)) {
                return false;
            }
        }
        if (waiting.size() == declared.size()) {
            problem =
                wrongClass(waiting.front(), "is derived from " + waiting.front().cls.superClass +
                                                ", which is not declared, or is derived from it");
            return false;
        }
        declared = std::move(waiting);
    }
    return true;
}

bool ClassTable::build(ClassSource declared, std::string& problem)
{
    const auto parent = mClasses.find(lowered(declared.cls.superClass));
    ClassEntry* const superclass = parent == mClasses.end() ? nullptr : parent->second.get();
    const std::string wrong =
        inherit(superclass == nullptr ? cimxml::Class{} : superclass->definition, declared.cls);
    if (!wrong.empty()) {
        problem =
            wrongClass(declared, "declares " + wrong + " twice, or overrides one of another type");
        return false;
    }
    const auto [place, isNew] = mClasses.try_emplace(lowered(declared.cls.name));
    if (!isNew) {
        problem = wrongClass(declared, "is declared twice");
        return false;
    }
    place->second = std::make_unique<ClassEntry>();
    ClassEntry& entry = *place->second;
    entry.definition = std::move(declared.cls);
    entry.superclass = superclass;
    findKeys(entry);
    (superclass == nullptr ? mRoots : superclass->subclasses).push_back(&entry);
    return true;
}

const ClassEntry* ClassTable::find(std::string_view name) const
{
    const auto found = mClasses.find(lowered(name));
    return found == mClasses.end() ? nullptr : found->second.get();
}

} // namespace cimomd
