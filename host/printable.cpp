#include "printable.h"

namespace host {

std::string printable(std::string_view text)
{
    constexpr std::string_view kHexDigits = "0123456789abcdef";
    std::string shown;
    for (const char c : text) {
        if (c >= ' ' && c <= '~' && c != '"' && c != '\\') {
            shown += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        shown += {'\\', 'x', kHexDigits[byte >> 4U], kHexDigits[byte & 0xfU]};
    }
    return shown;
}

} // namespace host
