// Texts of header fields (RFC 9110, section 5).
#ifndef HTTPD_FIELD_TEXT_H_
#define HTTPD_FIELD_TEXT_H_

#include <string_view>

namespace httpd {

// Field names and most words in values are compared without case.
bool isSameWord(std::string_view left, std::string_view right);

// Without the blanks around it.
std::string_view trimmed(std::string_view text);

} // namespace httpd

#endif
