// A query's condition, applied to instances.
//
// A comparison with null is neither true nor false, and neither is its negation; only instances for
// which the condition is true are selected. Numbers of all types are compared as numbers, points in
// time as points in time, whatever their time zones, texts character by character. Arrays and
// references can only be tested for null.
#ifndef CIMOMD_QUERY_FILTER_H_
#define CIMOMD_QUERY_FILTER_H_

#include "class_table.h"
#include "query.h"

#include <cimxml/types.h>

#include <optional>
#include <string>
#include <vector>

namespace cimomd {

class QueryFilter
{
public:
    // Returns false with the cause in problem when the query names what the class does not have, or
    // compares what cannot be compared. The query must outlive the filter.
    bool bind(const Query& query, const ClassEntry& cls, std::string& problem);

    // The instance is one of that class or of a subclass, with all properties in their order.
    bool matches(const cimxml::Instance& instance) const;

private:
    // A condition with its names and literals resolved.
    struct Test
    {
        const Condition* condition = nullptr;
        std::vector<Test> parts;
        size_t left = 0;             // index of the property
        std::optional<size_t> right; // the same; none: the literal
        cimxml::Scalar literal;
    };

    static bool bindCondition(const Condition& condition, const ClassEntry& cls, Test& test,
                              std::string& problem);
    static bool bindOperands(const Condition& condition, const ClassEntry& cls, Test& test,
                             std::string& problem);
    static std::optional<bool> evaluate(const Test& test, const cimxml::Instance& instance);
    static std::optional<bool> evaluateParts(const Test& test, const cimxml::Instance& instance);

    std::vector<Test> mTest; // none or one
};

} // namespace cimomd

#endif
