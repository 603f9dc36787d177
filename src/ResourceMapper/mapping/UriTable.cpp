#include "ResourceMapper/mapping/UriTable.h"

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): one table for the process
Json::Value URIObj(Json::objectValue);
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

namespace cimgate {

const Json::Value* findRegistered(const std::string& uri)
{
    const Json::Value& table = URIObj;
    return table.find(uri.data(), uri.data() + uri.size());
}

} // namespace cimgate
