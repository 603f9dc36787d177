// Statuses of calls, and the border that no exception crosses.
#ifndef CMPISFCC_STATUS_H_
#define CMPISFCC_STATUS_H_

#include <CimClientLib/cmci.h>
#include <CimClientLib/native.h>

#include <exception>
#include <string>
#include <tuple>
#include <type_traits>

namespace cmpisfcc {

constexpr CMPIStatus kSuccess = {CMPI_RC_OK, nullptr};

// What stands for a value where there is none.
constexpr CMPIData noData(CMPIValueState state)
{
    return CMPIData{CMPI_null, state, CMPIValue{}};
}

// Both write *rc unless it is null.
void succeed(CMPIStatus* rc);
void fail(CMPIStatus* rc, CMPIrc code, const char* message = nullptr);
[[nodiscard]] CMPIStatus failure(CMPIrc code, const char* message = nullptr);

// Guarded<&function>::call is the function for callers that know no exceptions: one that leaves it
// (there is no memory) becomes a failure.
template <auto kFunction>
struct Guarded;

template <typename Result, typename... Arguments, Result (*kFunction)(Arguments...)>
struct Guarded<kFunction>
{
    static Result call(Arguments... arguments) noexcept
    {
        try {
            return kFunction(arguments...);
        } catch (const std::exception&) {
            return failed(std::get<sizeof...(Arguments) - 1>(std::tuple(arguments...)));
        }
    }

private:
    template <typename Last>
    static Result failed(Last last) noexcept
    {
        if constexpr (std::is_same_v<Last, CMPIStatus*>) {
            if (last != nullptr) {
                *last = CMPIStatus{CMPI_RC_ERR_FAILED, nullptr};
            }
        }
        if constexpr (std::is_same_v<Result, CMPIStatus>) {
            return CMPIStatus{CMPI_RC_ERR_FAILED, nullptr};
        } else if constexpr (std::is_same_v<Result, CMPIData>) {
            return noData(CMPI_nullValue | CMPI_notFound);
        } else {
            return Result();
        }
    }
};

} // namespace cmpisfcc

#endif
