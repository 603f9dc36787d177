// Trees against the rules.
#include "grammar.h"
#include "xml_characters.h"

#include <cimxml/types.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

namespace cimxml {
namespace {

// Where a message needs a name for an element: PROPERTY "Port"
std::string describe(pugi::xml_node element)
{
    std::string text = element.name();
    if (const pugi::xml_attribute name = element.attribute("NAME")) {
        text += std::string(" \"") + name.value() + '"';
    }
    return text;
}

bool isUnsignedNumber(std::string_view text)
{
    std::uint32_t number = 0;
    const char* end = text.data() + text.size();
    const auto [last, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && last == end;
}

bool isParameterType(std::string_view text)
{
    return typeFromName(text).has_value() || equalsIgnoreCase(text, "object") ||
           equalsIgnoreCase(text, "instance");
}

bool isPropertyType(std::string_view text)
{
    const std::optional<Type> type = typeFromName(text);
    return type && *type != Type::Reference;
}

bool isKeyType(std::string_view text)
{
    return equalsIgnoreCase(text, "string") || equalsIgnoreCase(text, "numeric") ||
           equalsIgnoreCase(text, "boolean");
}

bool isSound(const AttributeRule& rule, pugi::xml_attribute attribute)
{
    const std::string_view value = attribute.value();
    switch (rule.kind) {
    case AttributeKind::Name:
        return !value.empty();
    case AttributeKind::Text:
        return static_cast<bool>(attribute);
    case AttributeKind::Type:
        return isPropertyType(value);
    case AttributeKind::AnyType:
        return !attribute || typeFromName(value);
    case AttributeKind::Parameter:
        return !attribute || isParameterType(value);
    case AttributeKind::KeyType:
        return !attribute || isKeyType(value);
    case AttributeKind::Number:
        return !attribute || isUnsignedNumber(value);
    }
    return false;
}

bool checkAttributes(pugi::xml_node element, const ElementRule& rule, Fault& fault)
{
    for (const AttributeRule& one : rule.attributes) {
        const pugi::xml_attribute attribute = element.attribute(one.name);
        if (!isSound(one, attribute)) {
            return fault.set(element, describe(element) +
                                          (attribute ? " has an unusable " : " is without ") +
                                          one.name);
        }
    }
    return true;
}

const ChildRule* findChildRule(const ElementRule& rule, const char* name)
{
    const auto found =
        std::find_if(rule.children.begin(), rule.children.end(), [name](const ChildRule& child) {
            return std::strcmp(child.rule->name, name) == 0;
        });
    return found == rule.children.end() ? nullptr : &*found;
}

// Counts the children that are not repeated.
class Singles
{
public:
    bool add(const ElementRule& parent, const ChildRule& child)
    {
        const std::uint32_t bit = 1U << static_cast<std::uint32_t>(&child - parent.children.data());
        const bool isFirst = (mSeen & bit) == 0;
        mSeen |= bit;
        ++mCount;
        return isFirst && mCount <= parent.maxSingles;
    }
    bool isEnough(const ElementRule& parent) const { return mCount >= parent.minSingles; }

private:
    std::uint32_t mSeen = 0;
    std::uint8_t mCount = 0;
};

bool checkChildren(pugi::xml_node element, const ElementRule& rule, Fault& fault, std::size_t depth)
{
    Singles singles;
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
        if (child.type() != pugi::node_element) {
            if (!rule.hasText && !isXmlSpaceOnly(child.value())) {
                return fault.set(element, describe(element) + " may not hold text");
            }
            continue;
        }
        const ChildRule* childRule = findChildRule(rule, child.name());
        if (childRule == nullptr) {
            return fault.set(child, describe(element) + " may not hold " + describe(child));
        }
        if (!childRule->isRepeated && !singles.add(rule, *childRule)) {
            return fault.set(child, describe(element) + " holds too much: " + describe(child));
        }
        if (!checkElement(child, *childRule->rule, fault, depth - 1)) {
            return false;
        }
    }
    return singles.isEnough(rule) || fault.set(element, describe(element) + " is incomplete");
}

} // namespace

bool Fault::set(pugi::xml_node where, std::string what)
{
    problem = std::move(what);
    place = where;
    return false;
}

bool checkElement(pugi::xml_node element, const ElementRule& rule, Fault& fault, std::size_t depth)
{
    if (depth == 0) {
        return fault.set(element, "elements nested too deeply");
    }
    if (!checkAttributes(element, rule, fault)) {
        return false;
    }
    if (rule.isOpaque) {
        return true;
    }
    if (!rule.hasText && !isXmlSpaceOnly(element.value())) {
        return fault.set(element, describe(element) + " may not hold text");
    }
    return checkChildren(element, rule, fault, depth);
}

bool checkChild(pugi::xml_node element, const ElementRule& parent, Fault& fault, std::size_t depth)
{
    const ChildRule* child = findChildRule(parent, element.name());
    if (child == nullptr) {
        return fault.set(element, std::string(parent.name) + " may not hold " + describe(element));
    }
    return checkElement(element, *child->rule, fault, depth);
}

} // namespace cimxml
