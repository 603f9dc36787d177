#include "xml_characters.h"

#include <algorithm>
#include <charconv>
#include <cstring>

namespace cimxml {
namespace {

constexpr std::uint64_t kOnes = 0x0101010101010101U;
constexpr std::uint64_t kHighBits = kOnes * 0x80U;

bool isContinuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

// Char of XML 1.0, section 2.2
bool isXmlCharacter(std::uint32_t code)
{
    return code == '\t' || code == '\n' || code == '\r' || (code >= 0x20 && code <= 0xD7FF) ||
           (code >= 0xE000 && code <= 0xFFFD) || (code >= 0x10000 && code <= 0x10FFFF);
}

struct Lead
{
    std::size_t bytes;
    std::uint32_t bits;
    std::uint32_t smallest; // what is below has a shorter form, and only that is UTF-8
};

Lead leadOf(unsigned char byte)
{
    if (byte < 0x80U) {
        return {1, byte, 0};
    }
    if ((byte & 0xE0U) == 0xC0U) {
        return {2, byte & 0x1FU, 0x80};
    }
    if ((byte & 0xF0U) == 0xE0U) {
        return {3, byte & 0x0FU, 0x800};
    }
    if ((byte & 0xF8U) == 0xF0U) {
        return {4, byte & 0x07U, 0x10000};
    }
    return {0, 0, 0};
}

// Whether each of eight bytes is ASCII from the blank on: nearly all of a message is, and eight at
// a time cost next to nothing.
bool isPlain(const char* bytes)
{
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    const std::uint64_t below = (word - kOnes * 0x20U) & ~word & kHighBits;
    return ((word & kHighBits) | below) == 0;
}

bool isReference(std::string_view name)
{
    if (!name.starts_with('#')) {
        return name == "amp" || name == "lt" || name == "gt" || name == "quot" || name == "apos";
    }
    const bool isHex = name.starts_with("#x");
    const std::string_view digits = name.substr(isHex ? 2 : 1);
    std::uint32_t code = 0;
    const char* end = digits.data() + digits.size();
    const auto [last, error] = std::from_chars(digits.data(), end, code, isHex ? 16 : 10);
    return error == std::errc() && last == end && isXmlCharacter(code);
}

} // namespace

bool isXmlSpace(char c)
{
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

bool isXmlSpaceOnly(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), isXmlSpace);
}

std::size_t characterBytes(std::string_view text)
{
    const Lead lead = leadOf(static_cast<unsigned char>(text.front()));
    if (lead.bytes == 0 || text.size() < lead.bytes) {
        return 0;
    }
    std::uint32_t code = lead.bits;
    for (const char c : text.substr(1, lead.bytes - 1)) {
        if (!isContinuation(c)) {
            return 0;
        }
        code = code << 6U | (static_cast<unsigned char>(c) & 0x3FU);
    }
    return code >= lead.smallest && isXmlCharacter(code) ? lead.bytes : 0;
}

std::size_t findForbidden(std::string_view text)
{
    std::size_t i = 0;
    while (i < text.size()) {
        if (text.size() - i >= sizeof(std::uint64_t) && isPlain(text.data() + i)) {
            i += sizeof(std::uint64_t);
            continue;
        }
        const std::size_t bytes = characterBytes(text.substr(i));
        if (bytes == 0) {
            return i;
        }
        i += bytes;
    }
    return std::string_view::npos;
}

std::size_t findBadReference(std::string_view text)
{
    // The longest that means anything is "&#x10FFFF;"; leading zeros are the writer's own fault.
    constexpr std::size_t kLongestName = 16;
    for (std::size_t at = text.find('&'); at != std::string_view::npos;
         at = text.find('&', at + 1)) {
        const std::string_view rest = text.substr(at + 1, kLongestName + 1);
        const std::size_t end = rest.find(';');
        if (end == std::string_view::npos || !isReference(rest.substr(0, end))) {
            return at;
        }
    }
    return std::string_view::npos;
}

} // namespace cimxml
