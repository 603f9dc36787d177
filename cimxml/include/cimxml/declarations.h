// CIM-XML declaration documents (DSP0201): classes and instances in files.
//
//   <CIM CIMVERSION="2.0" DTDVERSION="2.0"><DECLARATION><DECLGROUP>
//     <LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="xcim"/></LOCALNAMESPACEPATH>
//     <VALUE.OBJECT><CLASS NAME="XCIM_Thing">...</CLASS></VALUE.OBJECT>
//     <VALUE.OBJECT><INSTANCE CLASSNAME="XCIM_Thing">...</INSTANCE></VALUE.OBJECT>
//   </DECLGROUP></DECLARATION></CIM>
//
// DECLGROUP.WITHNAME (VALUE.NAMEDOBJECT) and DECLGROUP.WITHPATH (VALUE.OBJECTWITHPATH,
// VALUE.OBJECTWITHLOCALPATH) are read too. QUALIFIER.DECLARATION is skipped.
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
    ObjectPath path; // without keys where only the instance was given
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
