#include "content_hash.h"

// The whole of it is in the header: nothing to be linked.
#define XXH_INLINE_ALL // NOLINT(cppcoreguidelines-macro-usage): the header's own switch
#include <xxhash.h>

namespace host {

std::string contentHashOf(std::string_view text)
{
    XXH128_canonical_t hash;
    XXH128_canonicalFromHash(&hash, XXH3_128bits(text.data(), text.size()));
    std::string digits;
    for (const unsigned char byte : hash.digest) {
        digits += "0123456789abcdef"[byte >> 4U];
        digits += "0123456789abcdef"[byte & 0xfU];
    }
    return digits;
}

std::string entityTagOf(const std::string& contentHash, bool isGzip)
{
    return '"' + contentHash + (isGzip ? "-gzip\"" : "\"");
}

} // namespace host
