#include "scalar_order.h"

#include <charconv>
#include <chrono>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

namespace cimomd {

namespace {

namespace chrono = std::chrono;

// Columns of the 25 characters (DSP0004): yyyymmddhhmmss.mmmmmmsutc.
constexpr size_t kSignColumn = 21;

int64_t field(std::string_view text, size_t column, size_t length)
{
    int64_t value = 0;
    (void)std::from_chars(text.data() + column, text.data() + column + length, value);
    return value;
}

int64_t microsecondsOf(std::string_view point)
{
    const chrono::year_month_day date{chrono::year(static_cast<int>(field(point, 0, 4))),
                                      chrono::month(static_cast<unsigned int>(field(point, 4, 2))),
                                      chrono::day(static_cast<unsigned int>(field(point, 6, 2)))};
    const int64_t offset = field(point, kSignColumn + 1, 3);
    const int64_t minutes = field(point, 10, 2) - (point[kSignColumn] == '-' ? -offset : offset);
    const auto time = chrono::sys_days(date) + chrono::hours(field(point, 8, 2)) +
                      chrono::minutes(minutes) + chrono::seconds(field(point, 12, 2)) +
                      chrono::microseconds(field(point, 15, 6));
    return chrono::duration_cast<chrono::microseconds>(time.time_since_epoch()).count();
}

bool isExactPoint(std::string_view text)
{
    return text[kSignColumn] != ':' && text.find('*') == std::string_view::npos;
}

template <typename A, typename B>
std::partial_ordering compareNumbers(A a, B b)
{
    if constexpr (std::is_floating_point_v<A> || std::is_floating_point_v<B>) {
        return static_cast<double>(a) <=> static_cast<double>(b);
    } else if (std::cmp_equal(a, b)) {
        return std::partial_ordering::equivalent;
    } else {
        return std::cmp_less(a, b) ? std::partial_ordering::less : std::partial_ordering::greater;
    }
}

template <typename T>
constexpr bool kIsNumber =
    std::is_same_v<T, uint64_t> || std::is_same_v<T, int64_t> || std::is_same_v<T, double>;

} // namespace

std::partial_ordering compareDateTimes(std::string_view a, std::string_view b)
{
    if (!cimxml::isDateTime(a) || !cimxml::isDateTime(b) ||
        (a[kSignColumn] == ':') != (b[kSignColumn] == ':')) {
        return std::partial_ordering::unordered;
    }
    if (isExactPoint(a) && isExactPoint(b)) {
        return microsecondsOf(a) <=> microsecondsOf(b);
    }
    return a <=> b;
}

std::partial_ordering compareScalars(const cimxml::Scalar& a, const cimxml::Scalar& b,
                                     bool isDateTime)
{
    return std::visit(
        [isDateTime](const auto& x, const auto& y) -> std::partial_ordering {
            using X = std::decay_t<decltype(x)>;
            using Y = std::decay_t<decltype(y)>;
            if constexpr (kIsNumber<X> && kIsNumber<Y>) {
                return compareNumbers(x, y);
            } else if constexpr (std::is_same_v<X, bool> && std::is_same_v<Y, bool>) {
                return x <=> y;
            } else if constexpr (std::is_same_v<X, std::string> && std::is_same_v<Y, std::string>) {
                return isDateTime ? compareDateTimes(x, y) : std::partial_ordering(x <=> y);
            } else {
                return std::partial_ordering::unordered;
            }
        },
        a, b);
}

} // namespace cimomd
