// Whether bytes are text.
#ifndef UTF8_H_
#define UTF8_H_

#include <string_view>

// Whether text is well-formed UTF-8 (RFC 3629).
bool isUtf8(std::string_view text);

#endif
