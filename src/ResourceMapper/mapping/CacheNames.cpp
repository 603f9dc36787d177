#include "ResourceMapper/mapping/CacheNames.h"

#include <algorithm>
#include <cctype>

namespace cimgate::mapping {

std::string lower(std::string_view name)
{
    std::string letters(name);
    std::transform(letters.begin(), letters.end(), letters.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return letters;
}

std::string quotedName(std::string_view name)
{
    std::string text = "\"";
    for (const char c : name) {
        text += c == '"' ? "\"\"" : std::string(1, c);
    }
    return text + '"';
}

} // namespace cimgate::mapping
