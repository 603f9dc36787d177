// What tells contents apart: an entity tag is made of it (RFC 9110, 8.8.3).
#ifndef HOST_CONTENT_HASH_H_
#define HOST_CONTENT_HASH_H_

#include <string>
#include <string_view>

namespace host {

// 128 bits in hexadecimal digits.
std::string contentHashOf(std::string_view text);

// The tag of a representation, strong: the codings of a content have tags of their own (RFC 9110,
// 8.8.3.3).
std::string entityTagOf(const std::string& contentHash, bool isGzip);

} // namespace host

#endif
