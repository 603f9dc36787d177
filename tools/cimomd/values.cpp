#include "values.h"

#include "object_path_text.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

namespace cimomd {

namespace {

bool convertToReference(cimxml::Scalar& scalar)
{
    const auto* const text = std::get_if<std::string>(&scalar);
    cimxml::ObjectPath path;
    if (text == nullptr || !readObjectPath(*text, path)) {
        return false;
    }
    scalar = std::make_shared<const cimxml::ObjectPath>(std::move(path));
    return true;
}

bool convertScalar(cimxml::Type from, cimxml::Type to, cimxml::Scalar& scalar)
{
    if (from == to || cimxml::isNull(scalar)) {
        return true;
    }
    if (to == cimxml::Type::Reference) {
        return convertToReference(scalar);
    }
    // A reference has no text, and the text of nothing is not refused by every type.
    if (from == cimxml::Type::Reference) {
        return false;
    }
    std::optional<cimxml::Scalar> converted =
        cimxml::parseScalar(to, cimxml::scalarText(from, scalar));
    if (!converted) {
        return false;
    }
    scalar = std::move(*converted);
    return true;
}

} // namespace

std::string lowered(std::string_view text)
{
    std::string small(text);
    std::transform(small.begin(), small.end(), small.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return small;
}

bool isNamed(std::string_view name, const std::vector<std::string>& names)
{
    return std::any_of(names.begin(), names.end(), [name](const std::string& one) {
        return cimxml::equalsIgnoreCase(one, name);
    });
}

std::string typeText(cimxml::Type type, bool isArray)
{
    return std::string(cimxml::typeName(type)) + (isArray ? "[]" : "");
}

bool convertKey(cimxml::Type type, cimxml::KeyBinding& key)
{
    const cimxml::Type from = std::exchange(key.type, type);
    key.hasType = false;
    return convertScalar(from, type, key.value);
}

bool convertTo(cimxml::Type type, bool isArray, cimxml::Value& value)
{
    const cimxml::Type from = std::exchange(value.type, type);
    if (value.isNull) {
        value.isArray = isArray;
        return true;
    }
    if (value.isArray != isArray) {
        return false;
    }
    if (!isArray) {
        return convertScalar(from, type, value.scalar);
    }
    return std::all_of(
        value.elements.begin(), value.elements.end(),
        [from, type](cimxml::Scalar& element) { return convertScalar(from, type, element); });
}

} // namespace cimomd
