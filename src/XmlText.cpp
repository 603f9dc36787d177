#include "XmlText.h"

#include <cstddef>

namespace cimgate {

namespace {

// A form of character by its first byte: how many bytes follow, and the range of the one right
// after it, which keeps out overlong forms, surrogates and what is above U+10FFFF.
struct Form
{
    unsigned char firstMin, firstMax;
    unsigned char following;
    unsigned char secondMin, secondMax;
};

constexpr Form kForms[] = {
    {0x20, 0x7F, 0, 0, 0},       {0xC2, 0xDF, 1, 0x80, 0xBF}, {0xE0, 0xE0, 2, 0xA0, 0xBF},
    {0xE1, 0xEC, 2, 0x80, 0xBF}, {0xED, 0xED, 2, 0x80, 0x9F}, {0xEE, 0xEF, 2, 0x80, 0xBF},
    {0xF0, 0xF0, 3, 0x90, 0xBF}, {0xF1, 0xF3, 3, 0x80, 0xBF}, {0xF4, 0xF4, 3, 0x80, 0x8F},
};

bool isWithin(char byte, unsigned char min, unsigned char max)
{
    const auto value = static_cast<unsigned char>(byte);
    return min <= value && value <= max;
}

bool beginsWith(std::string_view text, const Form& form)
{
    if (!isWithin(text[0], form.firstMin, form.firstMax) || text.size() <= form.following) {
        return false;
    }
    for (size_t i = 1; i <= form.following; ++i) {
        const bool isSecond = i == 1;
        if (!isWithin(text[i], isSecond ? form.secondMin : 0x80,
                      isSecond ? form.secondMax : 0xBF)) {
            return false;
        }
    }
    return true;
}

bool isForbidden(std::string_view character)
{
    return character == "\xEF\xBF\xBE" || character == "\xEF\xBF\xBF"; // U+FFFE, U+FFFF
}

bool isBreak(char byte)
{
    return byte == '\t' || byte == '\n' || byte == '\r';
}

// Bytes of the character that text begins with; 0 where there is none.
size_t characterBytes(std::string_view text)
{
    if (isBreak(text[0])) {
        return 1;
    }
    for (const Form& form : kForms) {
        const size_t bytes = size_t{form.following} + 1;
        if (beginsWith(text, form)) {
            return isForbidden(text.substr(0, bytes)) ? 0 : bytes;
        }
    }
    return 0;
}

} // namespace

bool isXmlText(std::string_view text)
{
    while (!text.empty()) {
        const size_t bytes = characterBytes(text);
        if (bytes == 0) {
            return false;
        }
        text.remove_prefix(bytes);
    }
    return true;
}

} // namespace cimgate
