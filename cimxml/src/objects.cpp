#include "decoder.h"
#include "encoder.h"
#include "xml_document.h"

#include <cimxml/objects.h>

#include <cstring>

namespace cimxml {
namespace {

template <class Object>
bool decodeObject(std::string_view xml, const ElementRule& rule,
                  bool (*decode)(pugi::xml_node, Object&, Fault&), Object& object,
                  std::string& problem)
{
    XmlDocument document;
    Fault fault;
    if (!document.parse(xml, problem)) {
        return false;
    }
    const pugi::xml_node root = document.root();
    if (std::strcmp(root.name(), rule.name) != 0) {
        problem = std::string("the document is not ") + rule.name;
        return false;
    }
    const bool isSound = checkElement(root, rule, fault) && decode(root, object, fault);
    problem = fault.problem;
    return isSound;
}

} // namespace

std::string encodeInstance(const Instance& instance)
{
    std::string out;
    appendInstance(out, instance);
    return out;
}

std::string encodeClass(const Class& cls)
{
    std::string out;
    appendClass(out, cls);
    return out;
}

bool decodeInstance(std::string_view xml, Instance& instance, std::string& problem)
{
    return decodeObject<Instance>(xml, kInstanceRule, decodeInstance, instance, problem);
}

bool decodeClass(std::string_view xml, Class& cls, std::string& problem)
{
    return decodeObject<Class>(xml, kClassRule, decodeClass, cls, problem);
}

} // namespace cimxml
