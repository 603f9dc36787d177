#include "service_file/own_uris.h"

#include "schema/addresses.h"

#include <algorithm>
#include <iterator>

namespace host::service_file {

bool isBelow(std::string_view uri, std::string_view above)
{
    return uri.size() > above.size() && uri.starts_with(above) && uri[above.size()] == '/';
}

bool isServicesOwn(std::string_view uri)
{
    constexpr const char* kOwn[] = {kRegistriesUri, kServiceDocumentUri, schema::kJsonSchemasUri,
                                    schema::kCsdlUri, schema::kMetadataUri};
    return std::any_of(std::begin(kOwn), std::end(kOwn),
                       [uri](const char* own) { return uri == own || isBelow(uri, own); });
}

} // namespace host::service_file
