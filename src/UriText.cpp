#include "UriText.h"

#include <string_view>

namespace cimgate {

namespace {

size_t escapeAll(std::string& uri, char character, std::string_view escape)
{
    size_t count = 0;
    for (size_t at = uri.find(character); at != std::string::npos;
         at = uri.find(character, at + escape.size())) {
        uri.replace(at, 1, escape);
        ++count;
    }
    return count;
}

} // namespace

size_t escapeHashes(std::string& uri)
{
    return escapeAll(uri, '#', "%23");
}

size_t escapeSpaces(std::string& uri)
{
    return escapeAll(uri, ' ', "%20");
}

void removeQueryAndSlash(std::string& uri)
{
    if (const size_t query = uri.rfind('?'); query != std::string::npos) {
        uri.erase(query);
    }
    if (uri.ends_with('/')) {
        uri.pop_back();
    }
}

bool removeLastSegment(std::string& uri)
{
    const size_t slash = uri.rfind('/');
    if (slash == std::string::npos) {
        return false;
    }
    uri.erase(slash);
    return true;
}

} // namespace cimgate
