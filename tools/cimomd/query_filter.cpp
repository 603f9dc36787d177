#include "query_filter.h"

#include "scalar_order.h"

#include <algorithm>
#include <compare>
#include <utility>

namespace cimomd {

namespace {

using Kind = Condition::Kind;

enum class Domain { Boolean, Number, Text, DateTime, None };

Domain domainOf(const cimxml::Value& declared)
{
    if (declared.isArray || declared.type == cimxml::Type::Reference) {
        return Domain::None;
    }
    switch (declared.type) {
    case cimxml::Type::Boolean:
        return Domain::Boolean;
    case cimxml::Type::DateTime:
        return Domain::DateTime;
    case cimxml::Type::String:
    case cimxml::Type::Char16:
        return Domain::Text;
    default:
        return Domain::Number;
    }
}

bool findProperty(const ClassEntry& cls, const std::string& name, size_t& index,
                  std::string& problem)
{
    const cimxml::Property* const property = cls.findProperty(name);
    if (property == nullptr) {
        problem = cls.definition.name + " has no property " + name;
        return false;
    }
    index = static_cast<size_t>(property - cls.definition.properties.data());
    return true;
}

// A number keeps its own type: 1.5 and -1 can be compared with a uint8 too.
std::optional<cimxml::Scalar> numberOf(const std::string& text)
{
    for (const cimxml::Type type :
         {cimxml::Type::Uint64, cimxml::Type::Sint64, cimxml::Type::Real64}) {
        std::optional<cimxml::Scalar> number = cimxml::parseScalar(type, text);
        if (number) {
            return number;
        }
    }
    return std::nullopt;
}

// A literal as a value that a property can be compared with. Text is converted to its type.
std::optional<cimxml::Scalar> literalFor(const cimxml::Value& declared, const Operand& operand)
{
    const Domain domain = domainOf(declared);
    if (operand.kind == Operand::Kind::Number) {
        return domain == Domain::Number ? numberOf(operand.text) : std::nullopt;
    }
    if (operand.kind == Operand::Kind::Boolean && domain != Domain::Boolean) {
        return std::nullopt;
    }
    return domain == Domain::Number ? numberOf(operand.text)
                                    : cimxml::parseScalar(declared.type, operand.text);
}

// None when the order does not tell.
std::optional<bool> holds(Kind kind, std::partial_ordering order)
{
    if (order == std::partial_ordering::unordered) {
        return std::nullopt;
    }
    switch (kind) {
    case Kind::Equal:
        return std::is_eq(order);
    case Kind::NotEqual:
        return std::is_neq(order);
    case Kind::Less:
        return std::is_lt(order);
    case Kind::LessOrEqual:
        return std::is_lteq(order);
    case Kind::Greater:
        return std::is_gt(order);
    default:
        return std::is_gteq(order);
    }
}

} // namespace

bool QueryFilter::bind(const Query& query, const ClassEntry& cls, std::string& problem)
{
    size_t ignored = 0;
    for (const std::string& name : query.properties) {
        if (!findProperty(cls, name, ignored, problem)) {
            return false;
        }
    }
    mTest.clear();
    return query.where.empty() ||
           bindCondition(query.where.front(), cls, mTest.emplace_back(), problem);
}

bool QueryFilter::bindCondition(const Condition& condition, const ClassEntry& cls, Test& test,
                                std::string& problem)
{
    test.condition = &condition;
    if (condition.parts.empty()) {
        return bindOperands(condition, cls, test, problem);
    }
    return std::all_of(condition.parts.begin(), condition.parts.end(), [&](const Condition& part) {
        return bindCondition(part, cls, test.parts.emplace_back(), problem);
    });
}

bool QueryFilter::bindOperands(const Condition& condition, const ClassEntry& cls, Test& test,
                               std::string& problem)
{
    if (!findProperty(cls, condition.left.text, test.left, problem)) {
        return false;
    }
    if (condition.kind == Kind::IsNull) {
        return true;
    }
    const cimxml::Value& left = cls.definition.properties[test.left].value;
    const Domain domain = domainOf(left);
    bool canCompare = false;
    if (condition.kind == Kind::Like) {
        canCompare = domain == Domain::Text;
    } else if (condition.right.kind == Operand::Kind::Property) {
        if (!findProperty(cls, condition.right.text, test.right.emplace(), problem)) {
            return false;
        }
        canCompare = domainOf(cls.definition.properties[*test.right].value) == domain;
    } else {
        std::optional<cimxml::Scalar> literal = literalFor(left, condition.right);
        canCompare = literal.has_value();
        if (canCompare) {
            test.literal = std::move(*literal);
        }
    }
    if (!canCompare || domain == Domain::None) {
        problem = condition.left.text + " cannot be compared with " +
                  (condition.kind == Kind::Like ? "a pattern" : condition.right.text);
    }
    return canCompare && domain != Domain::None;
}

bool QueryFilter::matches(const cimxml::Instance& instance) const
{
    return mTest.empty() || evaluate(mTest.front(), instance).value_or(false);
}

std::optional<bool> QueryFilter::evaluate(const Test& test, const cimxml::Instance& instance)
{
    const Condition& condition = *test.condition;
    if (!test.parts.empty()) {
        return evaluateParts(test, instance);
    }
    const cimxml::Value& left = instance.properties[test.left].value;
    if (condition.kind == Kind::IsNull) {
        return left.isNull;
    }
    if (left.isNull) {
        return std::nullopt;
    }
    if (condition.kind == Kind::Like) {
        return condition.pattern.matches(std::get<std::string>(left.scalar));
    }
    const cimxml::Scalar& right =
        test.right ? instance.properties[*test.right].value.scalar : test.literal;
    return holds(condition.kind,
                 compareScalars(left.scalar, right, left.type == cimxml::Type::DateTime));
}

std::optional<bool> QueryFilter::evaluateParts(const Test& test, const cimxml::Instance& instance)
{
    if (test.condition->kind == Kind::Not) {
        const std::optional<bool> inner = evaluate(test.parts.front(), instance);
        return inner ? std::optional<bool>(!*inner) : std::nullopt;
    }
    // One part that is so decides, whatever the others are.
    const bool decides = test.condition->kind == Kind::Or;
    std::optional<bool> all = !decides;
    for (const Test& part : test.parts) {
        const std::optional<bool> one = evaluate(part, instance);
        if (one == decides) {
            return decides;
        }
        if (!one) {
            all = std::nullopt;
        }
    }
    return all;
}

} // namespace cimomd
