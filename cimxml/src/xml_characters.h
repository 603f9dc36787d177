// Characters and references that XML 1.0 allows in a document.
#ifndef CIMXML_XML_CHARACTERS_H_
#define CIMXML_XML_CHARACTERS_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace cimxml {

bool isXmlSpace(char c);
bool isXmlSpaceOnly(std::string_view text);

// Bytes of the character that text begins with; 0 where that is no UTF-8 or not allowed. Text must
// not be empty.
std::size_t characterBytes(std::string_view text);

// The first byte that is not part of an allowed character; npos where there is none.
std::size_t findForbidden(std::string_view text);

// The first "&" that begins no reference to a character that is allowed, nor to one of the five
// entities that XML itself has; npos where there is none.
std::size_t findBadReference(std::string_view text);

} // namespace cimxml

#endif
