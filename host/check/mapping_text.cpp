#include "check/mapping_text.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <fstream>
#include <iterator>

namespace host::check {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// The bytes of a character by the first of them; 0 for one that begins none.
size_t utf8Length(char first)
{
    const auto byte = static_cast<unsigned char>(first);
    if (byte < 0x80U) {
        return 1;
    }
    if (byte < 0xC2U || byte > 0xF4U) {
        return 0;
    }
    return byte < 0xE0U ? 2 : byte < 0xF0U ? 3 : 4;
}

// As part of a sentence.
std::string withoutFullStop(std::string text)
{
    if (text.ends_with('.')) {
        text.pop_back();
    }
    return text;
}

} // namespace

MappingText::MappingText(std::string text) : mText(std::move(text)), mLineBegins{0}
{
    for (size_t end = mText.find('\n'); end != std::string::npos; end = mText.find('\n', end + 1)) {
        mLineBegins.push_back(end + 1);
    }
}

std::optional<TextProblem> MappingText::parse(Json::Value& root) const
{
    if (mText.starts_with(kByteOrderMark)) {
        return TextProblem{{1, 1}, "a byte order mark, which JSON does not have"};
    }
    Json::Reader reader;
    try {
        if (!reader.parse(mText, root, false)) {
            const std::vector<Json::Reader::StructuredError> errors = reader.getStructuredErrors();
            const Json::Reader::StructuredError& first = errors.front();
            return TextProblem{positionAt(static_cast<size_t>(first.offset_start)),
                               withoutFullStop(first.message)};
        }
    } catch (const std::exception&) { // nesting beyond the reader's limit
        return TextProblem{{}, "it is nested too deeply"};
    }
    if (!root.isObject()) {
        return TextProblem{positionAt(static_cast<size_t>(root.getOffsetStart())),
                           "its top level is no object"};
    }
    return std::nullopt;
}

Position MappingText::positionAt(size_t offset) const
{
    const auto next = std::upper_bound(mLineBegins.begin(), mLineBegins.end(), offset);
    const size_t begin = *std::prev(next);
    const std::string_view before =
        std::string_view(mText).substr(begin, std::min(offset, mText.size()) - begin);
    const auto continued = std::count_if(before.begin(), before.end(), isContinuation);
    return {static_cast<size_t>(next - mLineBegins.begin()),
            before.size() - static_cast<size_t>(continued) + 1};
}

size_t MappingText::lineOf(const Json::Value& value) const
{
    const auto offset = static_cast<size_t>(value.getOffsetStart());
    // A name may stand on an earlier line than its value.
    size_t at = mText.find_last_not_of(kBlanks, offset == 0 ? 0 : offset - 1);
    if (at != std::string::npos && mText[at] == ':') {
        at = mText.find_last_not_of(kBlanks, at == 0 ? 0 : at - 1);
        return positionAt(at).line;
    }
    return positionAt(offset).line;
}

std::string jsonProblemOf(const std::string& path)
{
    const std::optional<std::string> text = readFile(path);
    Json::Value root;
    const auto problem = text ? MappingText(*text).parse(root) : std::nullopt;
    if (!problem) {
        return {};
    }
    const Position& at = problem->position;
    return (at.line == 0 ? std::string()
                         : "line " + std::to_string(at.line) + ", column " +
                               std::to_string(at.column) + ": ") +
           problem->text;
}

std::optional<std::string> readFile(const std::string& path)
{
    try {
        std::ifstream file(path, std::ios::binary);
        if (file.is_open()) {
            return std::string(std::istreambuf_iterator<char>(file), {});
        }
    } catch (const std::exception&) { // the library's readers of files say so of a directory
        errno = EISDIR;
    }
    return std::nullopt;
}

std::optional<size_t> firstNotUtf8(std::string_view text)
{
    for (size_t at = 0; at < text.size();) {
        const size_t length = utf8Length(text[at]);
        const std::string_view rest = text.substr(at + 1, length == 0 ? 0 : length - 1);
        if (length == 0 || rest.size() + 1 < length ||
            !std::all_of(rest.begin(), rest.end(), isContinuation)) {
            return at;
        }
        at += length;
    }
    return std::nullopt;
}

std::optional<size_t> firstBehind(std::string_view text, size_t offset)
{
    size_t at = text.find_first_not_of(kBlanks, offset);
    while (at != std::string_view::npos && text[at] == '/' && at + 1 < text.size()) {
        const std::string_view end = text[at + 1] == '/' ? "\n" : "*/";
        const size_t close = text.find(end, at + 2);
        at = close == std::string_view::npos ? close
                                             : text.find_first_not_of(kBlanks, close + end.size());
    }
    return at == std::string_view::npos ? std::nullopt : std::optional(at);
}

} // namespace host::check
