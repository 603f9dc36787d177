// CIM-XML declaration documents (DSP0201): classes and instances in files.
//
//   <CIM CIMVERSION="2.0" DTDVERSION="2.0"><DECLARATION><DECLGROUP>
//     <LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="xcim"/></LOCALNAMESPACEPATH>
//     <VALUE.OBJECT><CLASS NAME="XCIM_Thing">...</CLASS></VALUE.OBJECT>
//     <VALUE.OBJECT><INSTANCE CLASSNAME="XCIM_Thing">...</INSTANCE></VALUE.OBJECT>
//   </DECLGROUP></DECLARATION></CIM>
//
// QUALIFIER.DECLARATION is skipped. The other groups of DSP0201 (DECLGROUP.WITHNAME and
// DECLGROUP.WITHPATH) are refused.
#ifndef CIMXML_DECLARATIONS_H_
#define CIMXML_DECLARATIONS_H_

#include <cimxml/types.h>

#include <string>
#include <string_view>
#include <vector>

namespace cimxml {

struct DeclaredClass
{
    std::string nameSpace; // empty where the group names none
    Class cls;
};

struct DeclaredInstance
{
    std::string nameSpace;
    Instance instance;
};

struct Declarations
{
    std::vector<DeclaredClass> classes;
    std::vector<DeclaredInstance> instances;
};

// Appends what a document declares, in its order. False, with the line and what is wrong in problem
// ("line 12: ..."), when it is not such a document or a value is not of its type.
bool readDeclarations(std::string_view document, Declarations& declarations, std::string& problem);

} // namespace cimxml

#endif
