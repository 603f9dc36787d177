// Text as the CIM client takes it for keys and arguments: CMPI_chars goes as the text's address
// itself, in the place of that of a value.
#ifndef CIM_TEXT_H_
#define CIM_TEXT_H_

#include "CimHandles.h"

#include <string>

namespace cimgate {

inline CMPIValue* charsValue(const std::string& text)
{
    void* address = const_cast<char*>(text.c_str());
    return static_cast<CMPIValue*>(address); // never read as the union, which wants an alignment
}

// Adds a key to an object path. A path refuses no more than a name that it has; without the key,
// the object manager says what is wrong.
inline void addTextKey(CMPIObjectPath* path, const std::string& name, const std::string& text)
{
    const CimStatus refused(path->ft->addKey(path, name.c_str(), charsValue(text), CMPI_chars));
}

// Adds an argument; a list refuses no more than a name that it has.
inline void addTextArgument(CMPIArgs* args, const std::string& name, const std::string& text)
{
    const CimStatus refused(args->ft->addArg(args, name.c_str(), charsValue(text), CMPI_chars));
}

} // namespace cimgate

#endif
