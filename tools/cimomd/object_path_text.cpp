#include "object_path_text.h"

#include <string>
#include <utility>

namespace cimomd {

namespace {

// Takes text up to the first of the separators off rest.
std::string_view takeUpTo(std::string_view& rest, std::string_view separators)
{
    const std::string_view taken = rest.substr(0, rest.find_first_of(separators));
    rest.remove_prefix(taken.size());
    return taken;
}

// Takes the rest of a quoted text, its closing quote included.
bool takeQuoted(std::string_view& rest, std::string& text)
{
    while (!rest.empty() && rest.front() != '"') {
        if (rest.front() == '\\' && rest.size() > 1) {
            rest.remove_prefix(1);
        }
        text += rest.front();
        rest.remove_prefix(1);
    }
    if (rest.empty()) {
        return false;
    }
    rest.remove_prefix(1);
    return true;
}

bool takeKey(std::string_view& rest, cimxml::ObjectPath& path)
{
    const std::string_view name = takeUpTo(rest, "=");
    if (name.empty() || rest.empty()) {
        return false;
    }
    rest.remove_prefix(1);
    std::string text;
    if (rest.starts_with('"')) {
        rest.remove_prefix(1);
        if (!takeQuoted(rest, text)) {
            return false;
        }
    } else {
        text = takeUpTo(rest, ",");
    }
    path.keys.push_back({std::string(name), cimxml::Type::String, std::move(text)});
    return true;
}

} // namespace

bool readObjectPath(std::string_view text, cimxml::ObjectPath& path)
{
    path = {};
    if (text.starts_with("//")) {
        text.remove_prefix(2);
        path.host = takeUpTo(text, "/");
        text.remove_prefix(text.empty() ? 0 : 1);
    }
    // A colon or a dot within a key's value says nothing.
    const std::string_view beforeKeys = text.substr(0, text.find('='));
    const size_t colon = beforeKeys.find(':');
    if (colon != std::string_view::npos) {
        path.nameSpace = text.substr(0, colon);
        text.remove_prefix(colon + 1);
    }
    path.className = takeUpTo(text, ".");
    if (path.className.empty()) {
        return false;
    }
    while (!text.empty()) {
        text.remove_prefix(1); // the dot or a comma
        if (!takeKey(text, path)) {
            return false;
        }
    }
    return true;
}

} // namespace cimomd
