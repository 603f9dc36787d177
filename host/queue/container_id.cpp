#include "queue/container_id.h"

#include <algorithm>

namespace host {

namespace {

// The library's own buffer for parts of an id.
constexpr size_t kMaxIdBytes = 127;

bool isIdCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("._:#-").find(c) != std::string_view::npos;
}

} // namespace

bool isContainerId(std::string_view id)
{
    return !id.empty() && id.size() <= kMaxIdBytes &&
           std::all_of(id.begin(), id.end(), isIdCharacter) &&
           id.find("--") == std::string_view::npos;
}

} // namespace host
