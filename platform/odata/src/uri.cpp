#include "uri.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace {

struct OptionName
{
    unsigned int bit;
    std::string_view name;
};

constexpr std::array<OptionName, 5> kOptionNames{{{OL_OPTION_FILTER, "$filter"},
                                                  {OL_OPTION_EXPAND, "$expand"},
                                                  {OL_OPTION_SELECT, "$select"},
                                                  {OL_OPTION_TOP, "$top"},
                                                  {OL_OPTION_SKIP, "$skip"}}};

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the C interface fixes the name
struct OL_URI
{
    std::string text;
    std::vector<std::string> segments;
    std::array<std::optional<std::string>, kOptionNames.size()> options; // as in kOptionNames
    std::optional<std::string> unknownOption;
    OL_URIFault fault = OL_URI_OK;
};

namespace {

void noteFault(OL_URI& uri, OL_URIFault fault)
{
    if (uri.fault == OL_URI_OK) {
        uri.fault = fault;
    }
}

int hexValue(char digit)
{
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

constexpr size_t kEscapeSize = 3; // "%2F"

// The byte that text, which begins with "%", encodes; 0 when it encodes none. "%00" is none either:
// its NUL would cut the text short for every reader of a C string.
char escapedByte(std::string_view text)
{
    if (text.size() < kEscapeSize) {
        return '\0';
    }
    const int high = hexValue(text[1]);
    const int low = hexValue(text[2]);
    return high < 0 || low < 0 ? '\0' : static_cast<char>(high * 16 + low);
}

std::string decode(OL_URI& uri, std::string_view text)
{
    std::string decoded;
    decoded.reserve(text.size());
    while (true) {
        const size_t escape = text.find('%');
        decoded += text.substr(0, escape);
        if (escape == std::string_view::npos) {
            return decoded;
        }
        text.remove_prefix(escape);
        const char byte = escapedByte(text);
        if (byte == '\0') {
            noteFault(uri, OL_URI_BAD_ENCODING);
        }
        decoded += byte == '\0' ? '%' : byte;
        text.remove_prefix(byte == '\0' ? 1 : kEscapeSize);
    }
}

template <typename Visit>
void forEachPiece(std::string_view text, char separator, Visit visit)
{
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, text.find(separator));
        if (!piece.empty()) {
            visit(piece);
        }
        text.remove_prefix(std::min(text.size(), piece.size() + 1));
    }
}

void addOption(OL_URI& uri, std::string_view piece)
{
    const size_t equals = std::min(piece.find('='), piece.size());
    std::string name = decode(uri, piece.substr(0, equals));
    std::string value = decode(uri, piece.substr(std::min(equals + 1, piece.size())));

    const auto* known =
        std::find_if(kOptionNames.begin(), kOptionNames.end(),
                     [&name](const OptionName& option) { return option.name == name; });
    if (known != kOptionNames.end()) {
        auto& option = uri.options[static_cast<size_t>(known - kOptionNames.begin())];
        if (option) {
            noteFault(uri, OL_URI_REPEATED_OPTION);
        } else {
            option = std::move(value);
        }
    } else if (name.starts_with('$') && !uri.unknownOption) {
        uri.unknownOption = std::move(name);
    }
}

void parse(OL_URI& uri)
{
    const std::string_view text = uri.text;
    const size_t pathEnd = std::min(text.find('?'), text.size());
    const std::string_view path = text.substr(0, pathEnd);

    size_t segmentCount = 0;
    forEachPiece(path, '/', [&segmentCount](std::string_view) { ++segmentCount; });
    if (text.size() > OL_URI_MAX_BYTES || segmentCount > OL_URI_MAX_SEGMENTS) {
        noteFault(uri, OL_URI_TOO_LONG);
        return;
    }
    uri.segments.reserve(segmentCount);
    forEachPiece(path, '/', [&uri](std::string_view segment) {
        uri.segments.push_back(decode(uri, segment));
    });
    forEachPiece(text.substr(std::min(pathEnd + 1, text.size())), '&',
                 [&uri](std::string_view piece) { addOption(uri, piece); });
}

// The value of an option; null when it is absent.
const std::string* optionValue(const OL_URI& uri, unsigned int option)
{
    for (size_t i = 0; i < kOptionNames.size(); ++i) {
        if (kOptionNames[i].bit == option && uri.options[i]) {
            return &*uri.options[i];
        }
    }
    return nullptr;
}

} // namespace

OL_URI* odata::parseUri(const std::string& text)
{
    auto uri = std::make_unique<OL_URI>();
    uri->text = text;
    parse(*uri);
    return uri.release();
}

void OL_URI_Release(OL_URI* uri)
{
    delete uri;
}

const char* OL_URI_GetText(const OL_URI* uri)
{
    return uri->text.c_str();
}

unsigned int OL_URI_GetSegmentCount(const OL_URI* uri)
{
    return static_cast<unsigned int>(uri->segments.size());
}

const char* OL_URI_GetSegment(const OL_URI* uri, unsigned int index)
{
    return index < uri->segments.size() ? uri->segments[index].c_str() : nullptr;
}

unsigned int OL_URI_OptionMask(const OL_URI* uri)
{
    unsigned int mask = 0;
    for (const OptionName& option : kOptionNames) {
        mask |= optionValue(*uri, option.bit) != nullptr ? option.bit : 0;
    }
    return mask;
}

size_t OL_URI_GetOptionLength(const OL_URI* uri, unsigned int option)
{
    const std::string* value = optionValue(*uri, option);
    return value != nullptr ? value->size() : 0;
}

size_t OL_URI_CopyOption(const OL_URI* uri, unsigned int option, char* buffer, size_t size)
{
    if (size == 0) {
        return 0;
    }
    const std::string* value = optionValue(*uri, option);
    const size_t copied = value != nullptr ? value->copy(buffer, size - 1) : 0;
    buffer[copied] = '\0';
    return copied;
}

uint32_t OL_URI_GetOptionUInt32(const OL_URI* uri, unsigned int option)
{
    const std::string* value = optionValue(*uri, option);
    if (value == nullptr) {
        return 0;
    }
    uint32_t number = 0;
    const char* const end = value->data() + value->size();
    // For an unsigned type from_chars() takes neither sign nor blank.
    const auto [parsed, error] = std::from_chars(value->data(), end, number);
    return error == std::errc() && parsed == end ? number : std::numeric_limits<uint32_t>::max();
}

const char* OL_URI_GetUnknownOption(const OL_URI* uri)
{
    return uri->unknownOption ? uri->unknownOption->c_str() : nullptr;
}

OL_URIFault OL_URI_GetFault(const OL_URI* uri)
{
    return uri->fault;
}
