#include "front/header_list.h"

#include <algorithm>

namespace host {

namespace {

// Of "0.5".
std::optional<unsigned int> weightOf(std::string_view text)
{
    const bool isWeight = !text.empty() && text.size() <= 5 &&
                          (text.front() == '0' || text.front() == '1') &&
                          (text.size() == 1 || text[1] == '.');
    if (!isWeight) {
        return std::nullopt;
    }
    unsigned int weight = text.front() == '1' ? kFullWeight : 0;
    unsigned int digitsWorth = kFullWeight / 10;
    for (const char digit : text.substr(std::min<size_t>(text.size(), 2))) {
        if (digit < '0' || digit > '9') {
            return std::nullopt;
        }
        weight += static_cast<unsigned int>(digit - '0') * digitsWorth;
        digitsWorth /= 10;
    }
    return weight <= kFullWeight ? std::optional(weight) : std::nullopt;
}

} // namespace

size_t endOfElement(std::string_view text)
{
    if (text.find(',') == std::string_view::npos) { // most lists have one element
        return text.size();
    }
    bool isQuoted = false;
    for (size_t at = 0; at < text.size(); ++at) {
        isQuoted = isQuoted != (text[at] == '"');
        if (text[at] == ',' && !isQuoted) {
            return at;
        }
    }
    return text.size();
}

Weighed weighed(std::string_view element)
{
    size_t semicolon = element.find(';');
    while (semicolon != std::string_view::npos) {
        const size_t next = element.find(';', semicolon + 1);
        const std::string_view parameter =
            httpd::trimmed(element.substr(semicolon + 1, next - semicolon - 1));
        if (parameter.starts_with("q=") || parameter.starts_with("Q=")) {
            return {httpd::trimmed(element.substr(0, semicolon)), weightOf(parameter.substr(2))};
        }
        semicolon = next;
    }
    return {element, kFullWeight};
}

} // namespace host
