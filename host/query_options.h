// Query options (DSP0266, "Query parameters") that what is asked for has no meaning for.
#ifndef HOST_QUERY_OPTIONS_H_
#define HOST_QUERY_OPTIONS_H_

#include <httpd/server.h>
#include <odata/odata.h>

#include <optional>

namespace host {

inline constexpr unsigned int kAllOptions =
    OL_OPTION_FILTER | OL_OPTION_EXPAND | OL_OPTION_SELECT | OL_OPTION_TOP | OL_OPTION_SKIP;

// 501 where a request has one of the unsupported options (OL_OPTION_...), of which it names the
// first: to pass one over would mislead.
std::optional<httpd::Response> refusalOfOptions(const odata::URI& uri, unsigned int unsupported);

} // namespace host

#endif
