// The text of a mapping file: what it says, and on which lines.
#ifndef HOST_CHECK_MAPPING_TEXT_H_
#define HOST_CHECK_MAPPING_TEXT_H_

#include "check/fault.h"

#include <json/json.h>

#include <optional>
#include <string>
#include <vector>

namespace host::check {

// Why a text cannot be used as a mapping.
struct TextProblem
{
    Position position;
    std::string text; // as jsoncpp says it
};

class MappingText
{
public:
    explicit MappingText(std::string text);

    // Reads the text as the library does. Where that works, root is an object.
    std::optional<TextProblem> parse(Json::Value& root) const;

    Position positionAt(size_t offset) const;
    // Where the name of a member that was parsed from this text stands, or an element of an array.
    size_t lineOf(const Json::Value& value) const;

    const std::string& text() const { return mText; }

private:
    std::string mText;
    std::vector<size_t> mLineBegins;
};

// What is wrong with the file at path as a JSON text: "line 3, column 7: ..."; "" where it can be
// used, and where it cannot be read at all.
std::string jsonProblemOf(const std::string& path);

// The whole file; nothing where it cannot be read, and errno says why.
std::optional<std::string> readFile(const std::string& path);

// Where the first byte stands that is not UTF-8.
std::optional<size_t> firstNotUtf8(std::string_view text);

// Where something stands behind the offset that is neither blank nor comment.
std::optional<size_t> firstBehind(std::string_view text, size_t offset);

} // namespace host::check

#endif
