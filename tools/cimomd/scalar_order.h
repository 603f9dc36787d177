// How values of CIM types compare.
#ifndef CIMOMD_SCALAR_ORDER_H_
#define CIMOMD_SCALAR_ORDER_H_

#include <cimxml/types.h>

#include <compare>
#include <string_view>

namespace cimomd {

// The order of two values of the same kind: truth values, numbers of any types, date-times, texts.
// isDateTime tells what texts are. Unordered when one is null, not a number, or of another kind.
std::partial_ordering compareScalars(const cimxml::Scalar& a, const cimxml::Scalar& b,
                                     bool isDateTime);

// The order of two CIM date-times; unordered for a point and an interval.
std::partial_ordering compareDateTimes(std::string_view a, std::string_view b);

} // namespace cimomd

#endif
