// One request: its scope, its URI and the mapper that answers it, with a CIM session where one is
// given.
#ifndef TESTS_SUPPORT_REQUEST_H_
#define TESTS_SUPPORT_REQUEST_H_

#include "JsonText.h"
#include "ResourceMapper.h"

#include <odata/odata.h>

#include <optional>
#include <string>

namespace support {

struct Request
{
    explicit Request(const std::string& url, bool isZmqCall = false, SfccSession* session = nullptr)
        : scope(odata::Scope::ForRequest(url)),
          uri(scope.NewURI()),
          // The mapper's constructor is out of the analyser's sight.
          // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.UninitializedObject)
          mapper(session, scope, uri, isZmqCall)
    {}

    // A response header; nothing when it was not set.
    [[nodiscard]] std::optional<std::string> Header(const std::string& name) const
    {
        for (size_t index = 0; index < scope.GetHeaderCount(); ++index) {
            if (name == scope.GetHeaderName(index)) {
                return scope.GetHeaderValue(index);
            }
        }
        return std::nullopt;
    }

    // The response body, parsed.
    [[nodiscard]] Json::Value Body() const { return json(std::string(scope.GetBody())); }

    odata::Scope scope;
    odata::URI uri;
    ResourceMapper mapper;
};

} // namespace support

#endif
