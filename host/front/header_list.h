// Headers whose value is a list (RFC 9110, 5.6.1): one line or several, elements between commas.
#ifndef HOST_FRONT_HEADER_LIST_H_
#define HOST_FRONT_HEADER_LIST_H_

#include <httpd/server.h>
#include <strings.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace host {

inline bool isSameWord(std::string_view left, std::string_view right)
{
    return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

// Without the blanks around it.
inline std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t";
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

// Where the element at the beginning of the text ends: at a comma that is not within quotes.
inline size_t endOfElement(std::string_view text)
{
    bool isQuoted = false;
    for (size_t at = 0; at < text.size(); ++at) {
        isQuoted = isQuoted != (text[at] == '"');
        if (text[at] == ',' && !isQuoted) {
            return at;
        }
    }
    return text.size();
}

// All lines of a header as one list; empty where there is none.
inline std::string listOf(const std::vector<httpd::Header>& headers, std::string_view name)
{
    std::string list;
    for (const httpd::Header& header : headers) {
        if (isSameWord(header.name, name)) {
            list.append(list.empty() ? "" : ",").append(header.value);
        }
    }
    return list;
}

// Calls for each element of a list, without the blanks around it; empty ones are none.
template <typename Call>
void forEachElement(std::string_view list, const Call& call)
{
    while (!list.empty()) {
        const size_t end = endOfElement(list);
        const std::string_view element = trimmed(list.substr(0, end));
        if (!element.empty()) {
            call(element);
        }
        list.remove_prefix(std::min(list.size(), end + 1));
    }
}

} // namespace host

#endif
