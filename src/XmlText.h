// What CIM can carry as text, which goes as XML.
#ifndef XML_TEXT_H_
#define XML_TEXT_H_

#include <string_view>

namespace cimgate {

// Whether text is well-formed UTF-8 (RFC 3629) of characters that XML 1.0 has: no control
// characters but tab, line feed and carriage return, no U+FFFE and U+FFFF.
bool isXmlText(std::string_view text);

} // namespace cimgate

#endif
