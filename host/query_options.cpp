#include "query_options.h"

#include "error_body.h"

#include <ResourceMapper.h>

#include <utility>

namespace host {

std::optional<httpd::Response> refusalOfOptions(const odata::URI& uri, unsigned int unsupported)
{
    constexpr std::pair<unsigned int, const char*> kNames[] = {{OL_OPTION_FILTER, "$filter"},
                                                               {OL_OPTION_EXPAND, "$expand"},
                                                               {OL_OPTION_SELECT, "$select"},
                                                               {OL_OPTION_TOP, "$top"},
                                                               {OL_OPTION_SKIP, "$skip"}};
    for (const auto& [option, name] : kNames) {
        if ((uri.GetOptionMask() & unsupported & option) != 0) {
            return errorResponseOfCode(RM_QUERY_NOT_SUPPORTED, name);
        }
    }
    return std::nullopt;
}

} // namespace host
