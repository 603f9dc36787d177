#include "decoder.h"
#include "xml_document.h"

#include <cimxml/declarations.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace cimxml {
namespace {

// Reads the objects of one document.
class Reader
{
public:
    explicit Reader(Declarations& declarations) : mDeclarations(declarations) {}

    bool readGroup(pugi::xml_node group)
    {
        const std::string nameSpace = joinedNameSpace(group.child("LOCALNAMESPACEPATH"));
        for (const pugi::xml_node value : group.children()) {
            if (std::strcmp(value.name(), "VALUE.OBJECT") == 0 && !readObject(value, nameSpace)) {
                return false;
            }
        }
        return true;
    }
    Fault& fault() { return mFault; }

private:
    bool readObject(pugi::xml_node value, const std::string& nameSpace)
    {
        if (const pugi::xml_node cls = value.child("CLASS")) {
            DeclaredClass& declared = mDeclarations.classes.emplace_back();
            declared.nameSpace = nameSpace;
            return decodeClass(cls, declared.cls, mFault);
        }
        DeclaredInstance& declared = mDeclarations.instances.emplace_back();
        declared.nameSpace = nameSpace;
        return decodeInstance(value.child("INSTANCE"), declared.instance, mFault);
    }

    Declarations& mDeclarations;
    Fault mFault;
};

bool readTree(pugi::xml_node cim, Reader& reader)
{
    Fault& fault = reader.fault();
    if (std::strcmp(cim.name(), "CIM") != 0) {
        return fault.set(cim, "the document is not CIM");
    }
    if (!checkElement(cim, kCimRule, fault)) {
        return false;
    }
    const pugi::xml_node declaration = cim.child("DECLARATION");
    if (!declaration) {
        return fault.set(cim, "CIM holds no DECLARATION");
    }
    for (const pugi::xml_node group : declaration.children()) {
        if (!reader.readGroup(group)) {
            return false;
        }
    }
    return true;
}

std::string atLine(std::string_view document, std::size_t offset, const std::string& problem)
{
    const std::string_view before = document.substr(0, offset);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    return "line " + std::to_string(line) + ": " + problem;
}

} // namespace

bool readDeclarations(std::string_view document, Declarations& declarations, std::string& problem)
{
    XmlDocument xml;
    if (!xml.parse(document, problem)) {
        problem = atLine(document, xml.offset(), problem);
        return false;
    }
    Reader reader(declarations);
    if (!readTree(xml.root(), reader)) {
        const auto offset = static_cast<std::size_t>(reader.fault().place.offset_debug());
        problem = atLine(document, offset, reader.fault().problem);
        return false;
    }
    return true;
}

} // namespace cimxml
