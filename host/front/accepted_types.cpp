#include "front/accepted_types.h"

#include "front/header_list.h"

namespace host {

namespace {

// How exactly a range fits: 0 not at all, 3 by its name.
int exactness(std::string_view range, std::string_view mediaType)
{
    if (httpd::isSameWord(range, mediaType)) {
        return 3;
    }
    const std::string_view group = mediaType.substr(0, mediaType.find('/') + 1);
    const bool isGroup =
        range.ends_with("/*") && httpd::isSameWord(range.substr(0, range.size() - 1), group);
    if (isGroup) {
        return 2;
    }
    return range == "*/*" ? 1 : 0;
}

} // namespace

bool accepts(const std::vector<httpd::Header>& requestHeaders, std::string_view mediaType)
{
    int best = 0;
    bool isAccepted = true; // by whoever names none
    forEachElement(requestHeaders, "Accept", [&](std::string_view element) {
        const auto [range, weight] = weighed(element);
        const int fit = exactness(httpd::trimmed(range.substr(0, range.find(';'))), mediaType);
        if (best == 0 || fit > best) {
            best = fit;
            isAccepted = fit > 0 && weight != 0U;
        }
    });
    return isAccepted;
}

} // namespace host
