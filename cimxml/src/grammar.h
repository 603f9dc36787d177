// Which elements and attributes may stand where (DSP0201). What has been checked here can be read
// without looking twice.
#ifndef CIMXML_GRAMMAR_H_
#define CIMXML_GRAMMAR_H_

#include "xml_document.h"

#include <pugixml.hpp>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace cimxml {

// What is wrong with a tree, and where.
struct Fault
{
    std::string problem;
    pugi::xml_node place;

    // Returns false.
    bool set(pugi::xml_node where, std::string what);
};

enum class AttributeKind : std::uint8_t {
    Name,      // required, not empty
    Text,      // required
    Type,      // required, a CIM type but reference
    AnyType,   // a CIM type
    Parameter, // a type of a parameter: any, or "object", "instance"
    KeyType,   // "string", "boolean", "numeric"
    Number     // an unsigned number
};

struct AttributeRule
{
    const char* name;
    AttributeKind kind;
};

struct ElementRule;

struct ChildRule
{
    const ElementRule* rule = nullptr;
    bool isRepeated = false;
};

struct ElementRule
{
    const char* name;
    std::span<const AttributeRule> attributes = {};
    std::span<const ChildRule> children = {};
    // How many of the children that are not repeated there must be, and may be.
    std::uint8_t minSingles = 0;
    std::uint8_t maxSingles = 0;
    bool hasText = false;
    bool isOpaque = false; // not looked into
};

extern const ElementRule kCimRule;
extern const ElementRule kInstanceRule;
extern const ElementRule kClassRule;
extern const ElementRule kReturnValuesRule;      // IRETURNVALUE
extern const ElementRule kOperationResponseRule; // IMETHODRESPONSE
extern const ElementRule kMethodResponseRule;    // METHODRESPONSE

// Whether an element and all in it are as the rule says, but for its name, with no more elements
// within elements than depth.
bool checkElement(pugi::xml_node element, const ElementRule& rule, Fault& fault,
                  std::size_t depth = kMaxDepth);

// Whether an element may be a child by this rule and is sound in itself.
bool checkChild(pugi::xml_node element, const ElementRule& parent, Fault& fault,
                std::size_t depth = kMaxDepth);

} // namespace cimxml

#endif
