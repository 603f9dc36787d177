#include "cell.h"

#include "CimHandles.h"
#include "LocalTime.h"
#include "XmlText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>
#include <system_error>
#include <utility>

namespace filler {

namespace {

using cimgate::charsOf;
using cimgate::CimStatus;
using cimgate::mapping::NumberType;

// Blobs, as readers take them apart: a header of type and count, and the elements between
// separators, of which each byte separates.
constexpr std::string_view kElementSeparator = "#\xE2\x96\x91#";
constexpr int32_t kTexts = 1;
constexpr int32_t kNumbers = 2;
constexpr CMPICount kMaxShownNumbers = 1023;

constexpr const char* kOtherType = "the mapping's \"cim_type\" does not fit: shown as a text";
constexpr const char* kTooLarge = "2^63 and more is shown as a text";
constexpr const char* kReal = "a real is shown as a text";
constexpr const char* kNoTime = "a date-time that cannot be read is shown as null";
constexpr const char* kNotStored =
    "char16, references and embedded objects are not stored: shown as null";
constexpr const char* kRealArray = "an array of reals is not stored: shown as null";
constexpr const char* kManyNumbers = "more than 1023 numbers are not stored: shown as null";
constexpr const char* kNoElement =
    "an array with an element that is empty or null is not stored: shown as null";
constexpr const char* kSeparatorInside =
    "an array with \"#\", or another byte that separates elements, is not stored: shown as null";
constexpr const char* kNoKey = "without a value for its key";
constexpr const char* kUnusableKey = "a key of a type or text that cannot be asked for";
constexpr const char* kNoIntegerKey = "a key that is no integer of 64 bits in a column of integers";

StoredValue nothing(const char* loss = nullptr)
{
    return {.cell = {}, .loss = loss};
}

StoredValue textCell(std::string text, const char* loss = nullptr)
{
    return {.cell = {.kind = Cell::Kind::Text, .bytes = std::move(text)}, .loss = loss};
}

StoredValue integerCell(int64_t integer)
{
    return {.cell = {.kind = Cell::Kind::Integer, .integer = integer}};
}

// A value that the cache has a number for.
struct Number
{
    enum class Kind { Unsigned, Signed, Boolean, DateTime };

    Kind kind;
    uint64_t bits; // two's complement where it is negative; of date-times microseconds since 1970

    [[nodiscard]] int64_t asSigned() const { return static_cast<int64_t>(bits); }
    [[nodiscard]] bool isInteger() const { return kind == Kind::Unsigned || kind == Kind::Signed; }
    [[nodiscard]] bool isNegative() const { return kind == Kind::Signed && asSigned() < 0; }
    // Whether it is an int64_t.
    [[nodiscard]] bool fitsCell() const { return kind != Kind::Unsigned || asSigned() >= 0; }
};

Number unsignedNumber(uint64_t number)
{
    return {Number::Kind::Unsigned, number};
}

Number signedNumber(int64_t number)
{
    return {Number::Kind::Signed, static_cast<uint64_t>(number)};
}

// The microseconds of a date-time, as the client counts them: before 1970 two's complement.
std::optional<Number> dateTimeOf(CMPIDateTime* dateTime)
{
    if (dateTime == nullptr) {
        return std::nullopt;
    }
    CimStatus status;
    const uint64_t us = dateTime->ft->getBinaryFormat(dateTime, status.out());
    return status.failed() ? std::nullopt : std::optional(Number{Number::Kind::DateTime, us});
}

// Of 32-bit values only the low 32 bits count: the client's types are as wide as a long.
std::optional<Number> numberOf(const CMPIData& data)
{
    switch (data.type) {
    case CMPI_boolean:
        return Number{Number::Kind::Boolean, data.value.boolean == 0 ? 0U : 1U};
    case CMPI_uint8:
        return unsignedNumber(data.value.uint8);
    case CMPI_uint16:
        return unsignedNumber(data.value.uint16);
    case CMPI_uint32:
        return unsignedNumber(static_cast<uint32_t>(data.value.uint32));
    case CMPI_uint64:
        return unsignedNumber(data.value.uint64);
    case CMPI_sint8:
        return signedNumber(data.value.sint8); // NOLINT(bugprone-signed-char-misuse): a number
    case CMPI_sint16:
        return signedNumber(data.value.sint16);
    case CMPI_sint32:
        return signedNumber(static_cast<int32_t>(data.value.sint32));
    case CMPI_sint64:
        return signedNumber(data.value.sint64);
    case CMPI_dateTime:
        return dateTimeOf(data.value.dateTime);
    default:
        return std::nullopt;
    }
}

std::string decimalOf(const Number& number)
{
    return number.kind == Number::Kind::Unsigned ? std::to_string(number.bits)
                                                 : std::to_string(number.asSigned());
}

// What a live read shows of it, as text.
std::string textOf(const Number& number)
{
    switch (number.kind) {
    case Number::Kind::Boolean:
        return number.bits == 0 ? "false" : "true";
    case Number::Kind::DateTime:
        return cimgate::localTimeText(
            static_cast<time_t>(number.asSigned() / int64_t{cimgate::kUsPerSecond}));
    default:
        return decimalOf(number);
    }
}

// Whether a reader that takes its digits for this type shows that number again.
bool isShownAs(NumberType type, const Number& number)
{
    switch (type) {
    case NumberType::Boolean:
        return number.kind == Number::Kind::Boolean;
    case NumberType::DateTime:
        return number.kind == Number::Kind::DateTime;
    case NumberType::Uint64:
        return number.isInteger() && !number.isNegative();
    case NumberType::Sint64:
        return number.isInteger() && number.fitsCell();
    case NumberType::Uint:
        return number.isInteger() && !number.isNegative() &&
               number.bits <= std::numeric_limits<uint32_t>::max();
    case NumberType::Sint:
        return number.isInteger() && number.fitsCell() &&
               number.asSigned() >= std::numeric_limits<int32_t>::min() &&
               number.asSigned() <= std::numeric_limits<int32_t>::max();
    }
    return false;
}

bool isShownByAll(const ColumnReading& reading, const Number& number)
{
    return std::all_of(reading.plain.begin(), reading.plain.end(), [&number](const auto& type) {
        return type.has_value() && isShownAs(*type, number);
    });
}

StoredValue storedNumber(const Number& number, const ColumnReading& reading)
{
    if (!isShownByAll(reading, number)) {
        return textCell(textOf(number), kOtherType);
    }
    if (!number.fitsCell()) {
        return textCell(textOf(number), reading.plain.empty() ? nullptr : kTooLarge);
    }
    return integerCell(number.asSigned());
}

// The shortest text that reads back the same; nothing for what is no number, or infinite.
template <typename Real>
std::optional<std::string> realText(Real real)
{
    if (!std::isfinite(real)) {
        return std::nullopt;
    }
    std::array<char, 32> digits{};
    char* const begin = digits.data();
    return std::string(begin, std::to_chars(begin, begin + digits.size(), real).ptr);
}

std::optional<std::string> realTextOf(const CMPIData& data)
{
    return data.type == CMPI_real32 ? realText(data.value.real32) : realText(data.value.real64);
}

bool isReal(const CMPIData& data)
{
    return data.type == CMPI_real32 || data.type == CMPI_real64;
}

// The text of one of the types that live reads show as a text; "NULL" where it has none, as there.
std::optional<std::string> stringOf(const CMPIData& data)
{
    const char* text = nullptr;
    switch (data.type) {
    case CMPI_string:
    case CMPI_booleanString:
    case CMPI_numericString:
    case CMPI_dateTimeString:
        text = charsOf(data.value.string);
        break;
    case CMPI_chars:
        text = data.value.chars;
        break;
    default:
        return std::nullopt;
    }
    return text == nullptr ? "NULL" : text;
}

// Without a value, whatever its type; a key's state has another bit besides.
bool isNull(const CMPIData& data)
{
    return (data.state & (CMPI_nullValue | CMPI_notFound | CMPI_badValue)) != 0;
}

StoredValue storedScalar(const CMPIData& data, const ColumnReading& reading)
{
    if (const auto number = numberOf(data)) {
        return storedNumber(*number, reading);
    }
    if (data.type == CMPI_dateTime) {
        return nothing(kNoTime);
    }
    if (auto text = stringOf(data)) {
        return textCell(std::move(*text));
    }
    if (isReal(data)) {
        auto text = realTextOf(data);
        return text ? textCell(std::move(*text), kReal) : nothing();
    }
    return nothing(kNotStored);
}

// An array cell: the header as the reader's machine has its integers, and the elements.
StoredValue arrayCell(int32_t type, const std::vector<std::string>& elements,
                      const char* loss = nullptr)
{
    const auto count = static_cast<int32_t>(elements.size());
    std::string bytes(sizeof type + sizeof count, '\0');
    std::memcpy(bytes.data(), &type, sizeof type);
    std::memcpy(bytes.data() + sizeof type, &count, sizeof count);
    std::string_view separator;
    for (const std::string& element : elements) {
        if (element.empty()) {
            return nothing(kNoElement);
        }
        if (element.find_first_of(kElementSeparator) != std::string::npos) {
            return nothing(kSeparatorInside);
        }
        bytes.append(separator).append(element);
        separator = kElementSeparator;
    }
    return {.cell = {.kind = Cell::Kind::Blob, .bytes = std::move(bytes)}, .loss = loss};
}

// The elements; nothing where one of them is null or cannot be read.
std::optional<std::vector<CMPIData>> elementsOf(CMPIArray* array)
{
    const CMPICount count = cimgate::sizeOf(array);
    std::vector<CMPIData> elements;
    elements.reserve(count);
    for (CMPICount i = 0; i < count; ++i) {
        CimStatus status;
        elements.push_back(array->ft->getElementAt(array, i, status.out()));
        if (status.failed() || isNull(elements.back())) {
            return std::nullopt;
        }
    }
    return elements;
}

// What each element is; nothing where one is something else.
template <typename Kind>
std::optional<std::vector<Kind>> allOf(const std::vector<CMPIData>& elements,
                                       std::optional<Kind> (*kindOf)(const CMPIData&))
{
    std::vector<Kind> all;
    all.reserve(elements.size());
    for (const CMPIData& element : elements) {
        auto one = kindOf(element);
        if (!one) {
            return std::nullopt;
        }
        all.push_back(std::move(*one));
    }
    return all;
}

std::vector<std::string> textsOf(const std::vector<Number>& numbers,
                                 std::string (*textOfOne)(const Number&))
{
    std::vector<std::string> texts(numbers.size());
    std::transform(numbers.begin(), numbers.end(), texts.begin(), textOfOne);
    return texts;
}

StoredValue storedNumbers(const std::vector<Number>& numbers, const ColumnReading& reading)
{
    const bool areShown = std::all_of(numbers.begin(), numbers.end(), [&](const Number& number) {
        return isShownByAll(reading, number);
    });
    if (!areShown) {
        return arrayCell(kTexts, textsOf(numbers, textOf), kOtherType);
    }
    if (!reading.plain.empty() && numbers.size() > kMaxShownNumbers) {
        return nothing(kManyNumbers);
    }
    return arrayCell(kNumbers, textsOf(numbers, decimalOf));
}

StoredValue storedArray(CMPIArray* array, const ColumnReading& reading)
{
    const auto elements = elementsOf(array);
    if (!elements) {
        return nothing(kNoElement);
    }
    if (const auto numbers = allOf(*elements, numberOf)) {
        return storedNumbers(*numbers, reading);
    }
    if (const auto texts = allOf(*elements, stringOf)) {
        return arrayCell(kTexts, *texts);
    }
    if (std::any_of(elements->begin(), elements->end(), isReal)) {
        return nothing(kRealArray);
    }
    return nothing(elements->front().type == CMPI_dateTime ? kNoTime : kNotStored);
}

// A text that is a number of 64 bits as SQLite would write it, so that it is found as either.
std::optional<int64_t> integerOf(const std::string& text)
{
    int64_t integer = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, integer);
    const bool isWhole = error == std::errc() && stop == end && std::to_string(integer) == text;
    return isWhole ? std::optional(integer) : std::nullopt;
}

} // namespace

StoredValue storedValueOf(const CMPIData& value, const ColumnReading& reading)
{
    const bool isArray = (value.type & CMPI_ARRAY) != 0;
    if (isNull(value)) {
        // A live read translates an array that is null to one without elements.
        return isArray && reading.isMapped && reading.plain.empty() ? arrayCell(kTexts, {})
                                                                    : nothing();
    }
    if (value.type == CMPI_null) {
        return arrayCell(kTexts, {}); // how clients hand over an array without elements
    }
    return isArray ? storedArray(value.value.array, reading) : storedScalar(value, reading);
}

StoredValue storedKeyOf(const CMPIData& value, bool isInteger)
{
    if (isNull(value)) {
        return nothing(kNoKey);
    }
    const auto number = numberOf(value);
    std::string text = number ? textOf(*number) : stringOf(value).value_or("");
    if (text.empty()) {
        return nothing(stringOf(value) ? kNoKey : kUnusableKey);
    }
    if (isInteger) {
        const auto integer = integerOf(text);
        return integer ? integerCell(*integer) : nothing(kNoIntegerKey);
    }
    return cimgate::isXmlText(text) ? textCell(std::move(text)) : nothing(kUnusableKey);
}

} // namespace filler
