#include "check/duplicate_names.h"

#include <json/json.h>

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace host::check {

namespace {

// A text of the document without its quotation marks.
std::string decoded(std::string_view text)
{
    if (text.find('\\') == std::string_view::npos) {
        return std::string(text);
    }
    const std::string document = "\"" + std::string(text) + "\"";
    Json::Value value;
    return Json::Reader().parse(document, value, false) ? value.asString() : std::string(text);
}

// Goes through a document from token to token.
class NameScanner
{
public:
    explicit NameScanner(std::string_view document) : mRest(document), mSize(document.size()) {}

    std::vector<DuplicateName> run();

private:
    struct Level
    {
        bool isObject;
        bool expectsName;
        std::string name = {}; // the member whose value is being read
        std::unordered_map<std::string, size_t> offsets = {};
    };

    size_t offset() const { return mSize - mRest.size(); }
    void skip(size_t characters) { mRest.remove_prefix(std::min(characters, mRest.size())); }
    void skipComment();
    void takeText();
    void takeName(std::string name, size_t at);
    void takeSign(char sign);

    std::string_view mRest;
    size_t mSize;
    std::vector<Level> mLevels;
    std::vector<DuplicateName> mFound;
};

std::vector<DuplicateName> NameScanner::run()
{
    while (!mRest.empty()) {
        switch (mRest.front()) {
        case '"':
            takeText();
            break;
        case '/':
            skipComment();
            break;
        default:
            takeSign(mRest.front());
            skip(1);
        }
    }
    return std::move(mFound);
}

void NameScanner::skipComment()
{
    const bool isLine = mRest.starts_with("//");
    const std::string_view end = isLine ? "\n" : "*/";
    const size_t at = mRest.find(end, 2);
    skip(at == std::string_view::npos ? mRest.size() : at + end.size());
}

void NameScanner::takeText()
{
    const size_t begin = offset();
    size_t end = 1;
    while (end < mRest.size() && mRest[end] != '"') {
        end += mRest[end] == '\\' ? 2U : 1U;
    }
    if (!mLevels.empty() && mLevels.back().expectsName) {
        takeName(decoded(mRest.substr(1, end - 1)), begin);
    }
    skip(end + 1);
}

void NameScanner::takeName(std::string name, size_t at)
{
    Level& level = mLevels.back();
    level.expectsName = false;
    const auto [known, isNew] = level.offsets.try_emplace(name, at);
    if (!isNew) {
        DuplicateName found{{}, name, known->second, at};
        for (const Level& above : mLevels) {
            if (above.isObject && &above != &level) {
                found.path.push_back(above.name);
            }
        }
        mFound.push_back(std::move(found));
    }
    level.name = std::move(name);
}

void NameScanner::takeSign(char sign)
{
    if (sign == '{' || sign == '[') {
        mLevels.push_back({.isObject = sign == '{', .expectsName = sign == '{'});
    } else if (mLevels.empty()) {
        return;
    } else if (sign == '}' || sign == ']') {
        mLevels.pop_back();
    } else if (sign == ',') {
        mLevels.back().expectsName = mLevels.back().isObject;
    }
}

} // namespace

std::vector<DuplicateName> duplicateNames(std::string_view document)
{
    return NameScanner(document).run();
}

} // namespace host::check
