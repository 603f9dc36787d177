#include "front/accepted_types.h"

#include "front/header_list.h"

#include <string>

namespace host {

namespace {

// How exactly a range fits: 0 not at all, 3 by its name.
int exactness(std::string_view range, std::string_view mediaType)
{
    if (isSameWord(range, mediaType)) {
        return 3;
    }
    const std::string_view group = mediaType.substr(0, mediaType.find('/') + 1);
    const bool isGroup =
        range.ends_with("/*") && isSameWord(range.substr(0, range.size() - 1), group);
    if (isGroup) {
        return 2;
    }
    return range == "*/*" ? 1 : 0;
}

// A weight of 0 says "not this one": "0", "0.", "0.000".
bool isRefused(std::string_view parameters)
{
    while (!parameters.empty()) {
        const std::string_view parameter = trimmed(parameters.substr(0, parameters.find(';')));
        if (parameter.starts_with("q=0") || parameter.starts_with("Q=0")) {
            return parameter.find_first_not_of("0.", 2) == std::string_view::npos;
        }
        const size_t semicolon = parameters.find(';');
        parameters.remove_prefix(semicolon == std::string_view::npos ? parameters.size()
                                                                     : semicolon + 1);
    }
    return false;
}

} // namespace

bool accepts(const std::vector<httpd::Header>& requestHeaders, std::string_view mediaType)
{
    const std::string list = listOf(requestHeaders, "Accept");
    int best = 0;
    bool isAccepted = list.empty();
    forEachElement(list, [&](std::string_view element) {
        const size_t semicolon = element.find(';');
        const int fit = exactness(trimmed(element.substr(0, semicolon)), mediaType);
        if (fit > best) {
            best = fit;
            isAccepted =
                semicolon == std::string_view::npos || !isRefused(element.substr(semicolon + 1));
        }
    });
    return isAccepted;
}

} // namespace host
