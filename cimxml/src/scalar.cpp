// Texts of values, both ways.
#include "xml_characters.h"

#include <cimxml/types.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace cimxml {
namespace {

constexpr std::size_t kDateTimeBytes = 25;

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && isXmlSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isXmlSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

unsigned int bitsOf(Type type)
{
    switch (type) {
    case Type::Uint8:
    case Type::Sint8:
        return 8;
    case Type::Uint16:
    case Type::Sint16:
        return 16;
    case Type::Uint32:
    case Type::Sint32:
        return 32;
    default:
        return 64;
    }
}

// Takes the sign off; true for a minus.
bool takeSign(std::string_view& text)
{
    const bool isMinus = text.starts_with('-');
    if (isMinus || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    return isMinus;
}

// Digits without a sign: "12", "0x1F", "101b".
std::optional<std::uint64_t> parseMagnitude(std::string_view text)
{
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        base = 16;
        text.remove_prefix(2);
    } else if (text.ends_with('b') || text.ends_with('B')) {
        base = 2;
        text.remove_suffix(1);
    }
    std::uint64_t magnitude = 0;
    const char* end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, magnitude, base);
    if (error != std::errc() || last != end) {
        return std::nullopt;
    }
    return magnitude;
}

std::optional<Scalar> parseInteger(Type type, std::string_view text)
{
    const bool isMinus = takeSign(text);
    const std::optional<std::uint64_t> magnitude = parseMagnitude(text);
    if (!magnitude) {
        return std::nullopt;
    }
    const std::uint64_t allOnes = std::numeric_limits<std::uint64_t>::max() >> (64 - bitsOf(type));
    if (isUnsigned(type)) {
        const std::uint64_t largest = isMinus ? 0 : allOnes;
        return *magnitude <= largest ? std::optional<Scalar>(*magnitude) : std::nullopt;
    }
    const std::uint64_t largest = (allOnes >> 1U) + (isMinus ? 1U : 0U);
    if (*magnitude > largest) {
        return std::nullopt;
    }
    // Negated without a sign, since the smallest number has no positive counterpart.
    return static_cast<std::int64_t>(isMinus ? ~*magnitude + 1U : *magnitude);
}

template <class Real>
std::optional<Scalar> parseDecimalReal(std::string_view text, bool isMinus)
{
    // from_chars takes names of its own, such as "nan(1)".
    if (text.empty() || (text.front() != '.' && (text.front() < '0' || text.front() > '9'))) {
        return std::nullopt;
    }
    Real real = 0;
    const char* end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, real);
    if (error != std::errc() || last != end) {
        return std::nullopt;
    }
    return static_cast<double>(isMinus ? -real : real);
}

std::optional<Scalar> parseReal(Type type, std::string_view text)
{
    if (equalsIgnoreCase(text, "NaN")) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const bool isMinus = takeSign(text);
    if (equalsIgnoreCase(text, "INF")) {
        const double infinity = std::numeric_limits<double>::infinity();
        return isMinus ? -infinity : infinity;
    }
    return type == Type::Real32 ? parseDecimalReal<float>(text, isMinus)
                                : parseDecimalReal<double>(text, isMinus);
}

std::optional<Scalar> parseBoolean(std::string_view text)
{
    if (equalsIgnoreCase(text, "TRUE")) {
        return true;
    }
    return equalsIgnoreCase(text, "FALSE") ? std::optional<Scalar>(false) : std::nullopt;
}

std::optional<Scalar> textIf(bool isOne, std::string_view text)
{
    return isOne ? std::optional<Scalar>(std::string(text)) : std::nullopt;
}

// Beyond the Basic Multilingual Plane a character takes four bytes.
bool isChar16(std::string_view text)
{
    return !text.empty() && text.size() <= 3 && characterBytes(text) == text.size();
}

template <class Real>
std::string decimalText(Real real)
{
    std::array<char, 64> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), real);
    std::string text(buffer.data(), result.ptr);
    // DSP0201 wants digits behind a point.
    if (text.find('.') == std::string::npos) {
        text.insert(std::min(text.find('e'), text.size()), ".0");
    }
    return text;
}

std::string realText(Type type, double real)
{
    if (std::isnan(real)) {
        return "NaN";
    }
    // What is beyond a real32 is infinite as one; the conversion alone would be undefined.
    const bool isHuge = type == Type::Real32 &&
                        std::abs(real) > static_cast<double>(std::numeric_limits<float>::max());
    if (std::isinf(real) || isHuge) {
        return real < 0 ? "-INF" : "INF";
    }
    return type == Type::Real32 ? decimalText(static_cast<float>(real)) : decimalText(real);
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isNumberUpTo(std::string_view text, int largest)
{
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number <= largest;
}

// Digits, and from some field on asterisks up to the sign; a fraction may turn to asterisks within.
bool isDigitsThenAsterisks(std::string_view fields)
{
    constexpr std::size_t kPoint = 14;
    bool isUnknown = false;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (i == kPoint) {
            continue;
        }
        isUnknown = isUnknown || fields[i] == '*';
        if (isUnknown ? fields[i] != '*' : !isDigit(fields[i])) {
            return false;
        }
    }
    return true;
}

bool isWithin(std::string_view field, int smallest, int largest)
{
    return field.front() == '*' ||
           (isNumberUpTo(field, largest) && !isNumberUpTo(field, smallest - 1));
}

// Whether a field is either known or unknown as a whole.
bool isWhole(std::string_view field)
{
    return (field.front() == '*') == (field.back() == '*');
}

bool areFieldsInRange(std::string_view text, bool isInterval)
{
    const std::string_view hour = text.substr(8, 2);
    const std::string_view minute = text.substr(10, 2);
    const std::string_view second = text.substr(12, 2);
    const bool isTime = isWhole(hour) && isWhole(minute) && isWhole(second) &&
                        isWithin(hour, 0, 23) && isWithin(minute, 0, 59) && isWithin(second, 0, 59);
    if (isInterval) {
        return isTime && isWhole(text.substr(0, 8));
    }
    const std::string_view month = text.substr(4, 2);
    const std::string_view day = text.substr(6, 2);
    return isTime && isWhole(text.substr(0, 4)) && isWhole(month) && isWhole(day) &&
           isWithin(month, 1, 12) && isWithin(day, 1, 31);
}

} // namespace

bool isDateTime(std::string_view text)
{
    constexpr std::size_t kSign = 21;
    if (text.size() != kDateTimeBytes || text[14] != '.' ||
        !isDigitsThenAsterisks(text.substr(0, kSign))) {
        return false;
    }
    const std::string_view offset = text.substr(kSign + 1);
    const bool isInterval = text[kSign] == ':';
    if (isInterval ? offset != "000"
                   : (text[kSign] != '+' && text[kSign] != '-') ||
                         !std::all_of(offset.begin(), offset.end(), isDigit)) {
        return false;
    }
    return areFieldsInRange(text, isInterval);
}

std::string scalarText(Type type, const Scalar& scalar)
{
    if (const auto* flag = std::get_if<bool>(&scalar)) {
        return *flag ? "TRUE" : "FALSE";
    }
    if (const auto* number = std::get_if<std::uint64_t>(&scalar)) {
        return std::to_string(*number);
    }
    if (const auto* number = std::get_if<std::int64_t>(&scalar)) {
        return std::to_string(*number);
    }
    if (const auto* real = std::get_if<double>(&scalar)) {
        return realText(type, *real);
    }
    const auto* text = std::get_if<std::string>(&scalar);
    return text != nullptr ? *text : std::string();
}

std::optional<Scalar> parseScalar(Type type, std::string_view text)
{
    switch (type) {
    case Type::Boolean:
        return parseBoolean(trimmed(text));
    case Type::Char16:
        return textIf(isChar16(text), text);
    case Type::Real32:
    case Type::Real64:
        return parseReal(type, trimmed(text));
    case Type::String:
        return Scalar(std::string(text));
    case Type::DateTime:
        return textIf(isDateTime(text), text);
    case Type::Reference:
        return std::nullopt;
    default:
        return parseInteger(type, trimmed(text));
    }
}

} // namespace cimxml
