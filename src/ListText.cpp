#include "ListText.h"

namespace cimgate {

std::vector<std::string_view> itemsOf(std::string_view list)
{
    std::vector<std::string_view> items;
    size_t begin = 0;
    for (size_t comma = list.find(','); comma != std::string_view::npos;
         comma = list.find(',', begin)) {
        items.push_back(list.substr(begin, comma - begin));
        begin = comma + 1;
    }
    items.push_back(list.substr(begin));
    return items;
}

std::optional<Selector> selectorOf(std::string_view item)
{
    const size_t equals = item.find('=');
    if (equals == std::string_view::npos) {
        return std::nullopt;
    }
    return Selector{std::string(item.substr(0, equals)), std::string(item.substr(equals + 1))};
}

} // namespace cimgate
