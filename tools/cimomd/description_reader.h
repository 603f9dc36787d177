// Reads method descriptions, JSON files; see docs/cimomd.md.
#ifndef CIMOMD_DESCRIPTION_READER_H_
#define CIMOMD_DESCRIPTION_READER_H_

#include "method_description.h"

#include <string>

namespace cimomd {

// Reads the text of one file. Whether classes, methods and properties are there is not looked at.
// Returns false with the place and what is wrong in problem.
bool readDescriptions(const std::string& text, DescriptionFile& file, std::string& problem);

} // namespace cimomd

#endif
