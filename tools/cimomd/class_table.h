// The classes of a namespace, with what they inherit.
#ifndef CIMOMD_CLASS_TABLE_H_
#define CIMOMD_CLASS_TABLE_H_

#include <cimxml/types.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace cimomd {

// A class with everything that it inherits: elements of superclasses come first, those that the
// class itself does not declare are marked as propagated, and all name the class they come from.
struct ClassEntry
{
    bool isKey(const cimxml::Property& property) const; // one of definition.properties

    // Whether it is the other class or derived from it.
    bool isA(const ClassEntry& other) const;

    bool hasFlag(std::string_view qualifier) const; // a boolean qualifier that is true

    cimxml::Class definition;
    const ClassEntry* superclass = nullptr;
    std::vector<const ClassEntry*> subclasses; // direct ones, in the order of their declaration
    std::vector<size_t> keys;                  // of definition.properties
};

// A class and the file that declares it.
struct ClassSource
{
    cimxml::Class cls;
    std::string file;
};

class ClassTable
{
public:
    // Adds declared classes, which may come in any order. Returns false with file and cause in
    // problem.
    bool add(std::vector<ClassSource> declared, std::string& problem);

    // Null when there is none.
    const ClassEntry* find(std::string_view name) const;

    // The classes without a superclass.
    const std::vector<const ClassEntry*>& roots() const { return mRoots; }

private:
    bool build(ClassSource declared, std::string& problem);

    std::map<std::string, std::unique_ptr<ClassEntry>> mClasses;
    std::vector<const ClassEntry*> mRoots;
};

} // namespace cimomd

#endif
