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
    return static_cast<CMPIValue*>(address); // not aligned as the union is, and never read as one
}

// Adds a key to an object path. The only failure is a name that the path has already: it is
// ignored, and the object manager reports the key that is missing.
inline void addTextKey(CMPIObjectPath* path, const std::string& name, const std::string& text)
{
    const CimStatus refused(path->ft->addKey(path, name.c_str(), charsValue(text), CMPI_chars));
}

// Adds an argument. The only failure, ignored as well, is a name that the list has already.
inline void addTextArgument(CMPIArgs* args, const std::string& name, const std::string& text)
{
    const CimStatus refused(args->ft->addArg(args, name.c_str(), charsValue(text), CMPI_chars));
}

} // namespace cimgate

#endif
