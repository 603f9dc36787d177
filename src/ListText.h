// Lists as text: "a,b,c", and selectors, "name=value,name=value".
#ifndef LIST_TEXT_H_
#define LIST_TEXT_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cimgate {

// The items between the commas, empty ones too; as long as list. Of an empty text one, which is
// empty.
std::vector<std::string_view> itemsOf(std::string_view list);

struct Selector
{
    std::string name;
    std::string value;
};

// An item of selectors, up to its first "=" and after it; nothing where it has none.
std::optional<Selector> selectorOf(std::string_view item);

} // namespace cimgate

#endif
