// Seam between the scope, which holds a request's URL, and the URI made from it.
#ifndef ODATA_SRC_URI_H_
#define ODATA_SRC_URI_H_

#include <odata/odata_c.h>

#include <string>

namespace odata {

// Parses a request URI by the rules of odata_c.h; the caller releases the result. The only failure
// is std::bad_alloc.
OL_URI* parseUri(const std::string& text);

} // namespace odata

#endif
