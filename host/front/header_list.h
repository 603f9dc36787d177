// Headers whose value is a list (RFC 9110, 5.6.1): one line or several, elements between commas.
#ifndef HOST_FRONT_HEADER_LIST_H_
#define HOST_FRONT_HEADER_LIST_H_

#include <httpd/field_text.h>
#include <httpd/server.h>

#include <optional>
#include <string_view>
#include <vector>

namespace host {

// Where the element at the beginning of the text ends: at a comma that is not within quotes.
size_t endOfElement(std::string_view text);

// Calls for each element of one line of a list, without the blanks around it; empty ones are none.
template <typename Call>
void forEachElement(std::string_view line, const Call& call)
{
    while (!line.empty()) {
        const size_t end = endOfElement(line);
        const std::string_view element = httpd::trimmed(line.substr(0, end));
        if (!element.empty()) {
            call(element);
        }
        line.remove_prefix(end < line.size() ? end + 1 : end);
    }
}

// The same for all lines of a header.
template <typename Call>
void forEachElement(const std::vector<httpd::Header>& headers, std::string_view name,
                    const Call& call)
{
    for (const httpd::Header& header : headers) {
        if (httpd::isSameWord(header.name, name)) {
            forEachElement(header.value, call);
        }
    }
}

// How welcome something is (RFC 9110, 12.4.2), in thousandths: "0.5" is 500.
inline constexpr unsigned int kFullWeight = 1000;

// An element that may have a weight: "gzip;q=0.5".
struct Weighed
{
    std::string_view name;              // what stands before the weight
    std::optional<unsigned int> weight; // kFullWeight without one, nothing for what is none
};

Weighed weighed(std::string_view element);

} // namespace host

#endif
