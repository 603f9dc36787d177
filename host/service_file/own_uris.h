// Where the resources are that the service makes by itself, whatever the service file declares.
#ifndef HOST_SERVICE_FILE_OWN_URIS_H_
#define HOST_SERVICE_FILE_OWN_URIS_H_

#include <string_view>

namespace host::service_file {

inline constexpr const char* kRootUri = "/redfish/v1";
inline constexpr const char* kRegistriesUri = "/redfish/v1/Registries";
inline constexpr const char* kServiceDocumentUri = "/redfish/v1/odata";

// Whether a URI is below another.
bool isBelow(std::string_view uri, std::string_view above);

// Whether it is one of registries or schemas. What the root shows the service file can add to.
bool isServicesOwn(std::string_view uri);

} // namespace host::service_file

#endif
