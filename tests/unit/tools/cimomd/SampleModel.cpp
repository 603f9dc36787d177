#include "SampleModel.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

namespace sample {

cimxml::Qualifier flag(const std::string& name)
{
    cimxml::Qualifier qualifier;
    qualifier.name = name;
    qualifier.value = cimxml::Value::of(cimxml::Type::Boolean, true);
    return qualifier;
}

cimxml::Property property(const std::string& name, cimxml::Type type, cimxml::Scalar value)
{
    cimxml::Property property;
    property.name = name;
    property.value = cimxml::Value::of(type, std::move(value));
    return property;
}

cimxml::Property key(const std::string& name, cimxml::Type type)
{
    cimxml::Property made = property(name, type);
    made.qualifiers.push_back(flag("Key"));
    return made;
}

cimxml::Class cls(const std::string& name, const std::string& superClass,
                  std::vector<cimxml::Property> properties,
                  std::vector<cimxml::Qualifier> qualifiers)
{
    cimxml::Class made;
    made.name = name;
    made.superClass = superClass;
    made.properties = std::move(properties);
    made.qualifiers = std::move(qualifiers);
    return made;
}

cimxml::Instance instance(const std::string& className, const Texts& values)
{
    cimxml::Instance made;
    made.className = className;
    for (const auto& [name, text] : values) {
        made.properties.push_back(property(name, cimxml::Type::String, text));
    }
    return made;
}

cimxml::ObjectPath path(const std::string& className, const Texts& keys)
{
    cimxml::ObjectPath made;
    made.className = className;
    for (const auto& [name, text] : keys) {
        made.keys.push_back({name, cimxml::Type::String, text});
    }
    return made;
}

cimxml::Scalar reference(const cimxml::ObjectPath& path)
{
    return std::make_shared<const cimxml::ObjectPath>(path);
}

void declare(cimomd::NameSpace& nameSpace, std::vector<cimxml::Class> classes)
{
    std::vector<cimomd::ClassSource> sources;
    sources.reserve(classes.size());
    for (cimxml::Class& one : classes) {
        sources.push_back({std::move(one), "sample.xml"});
    }
    std::string problem;
    ASSERT_TRUE(nameSpace.classes().add(std::move(sources), problem)) << problem;
}

const cimomd::StoredInstance& create(cimomd::NameSpace& nameSpace, const cimxml::Instance& instance)
{
    cimxml::CimError error;
    const cimomd::StoredInstance* const stored = nameSpace.create(instance, error);
    if (stored == nullptr) {
        throw std::runtime_error(error.description);
    }
    return *stored;
}

std::string textOf(const cimxml::Instance& instance, const std::string& property)
{
    const cimxml::Property* const found = instance.find(property);
    if (found == nullptr) {
        return "no such property";
    }
    return found->value.isNull ? "null"
                               : cimxml::scalarText(found->value.type, found->value.scalar);
}

} // namespace sample
