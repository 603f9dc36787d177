#include "line_budget.h"

#include "host_limits.h"

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <new>

namespace host {

namespace {

constexpr size_t kShownKindBytes = 160;
constexpr const char* kOtherKinds = "lines of other kinds";

// A process may be killed between any two steps: there is nothing that it could leave locked.
using Number = std::atomic<uint32_t>;
static_assert(Number::is_always_lock_free);

uint32_t markOf(std::string_view kind)
{
    return static_cast<uint32_t>(std::hash<std::string_view>()(kind)) | 1U;
}

} // namespace

struct LineBudget::Table
{
    struct Slot
    {
        Number mark{0}; // of its kind; 0 while it has none
        Number lines{0};
        std::array<char, kShownKindBytes> kind{}; // ends with a NUL

        bool takeLine() { return lines.fetch_add(1) < kLinesOfAKind; }
        bool takeFor(uint32_t newMark, std::string_view newKind);
    };

    std::array<Slot, kLineKinds> slots;
    Slot others;

    Slot& slotOf(std::string_view kind);
};

bool LineBudget::Table::Slot::takeFor(uint32_t newMark, std::string_view newKind)
{
    uint32_t none = 0;
    if (!mark.compare_exchange_strong(none, newMark)) {
        return none == newMark; // another process was faster
    }
    newKind.copy(kind.data(), kind.size() - 1);
    return true;
}

LineBudget::Table::Slot& LineBudget::Table::slotOf(std::string_view kind)
{
    const uint32_t mark = markOf(kind);
    auto* found = std::find_if(slots.begin(), slots.end(),
                               [mark](const Slot& slot) { return slot.mark.load() == mark; });
    if (found == slots.end()) {
        found = std::find_if(slots.begin(), slots.end(),
                             [&](Slot& slot) { return slot.takeFor(mark, kind); });
    }
    return found == slots.end() ? others : *found;
}

LineBudget::LineBudget() : mTable(nullptr)
{
    void* const memory =
        mmap(nullptr, sizeof(Table), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory !=
        MAP_FAILED) { // NOLINT(cppcoreguidelines-pro-type-cstyle-cast): the system's macro
        mTable = new (memory) Table();
        std::string_view(kOtherKinds).copy(mTable->others.kind.data(), kShownKindBytes - 1);
    }
}

LineBudget::~LineBudget()
{
    if (mTable != nullptr) {
        (void)munmap(mTable, sizeof(Table));
    }
}

bool LineBudget::admits(std::string_view kind)
{
    return mTable == nullptr || mTable->slotOf(kind).takeLine();
}

std::vector<LineBudget::Withheld> LineBudget::renew()
{
    std::vector<Withheld> withheld;
    const auto renewSlot = [&withheld](auto& slot) {
        const size_t lines = slot.lines.exchange(0);
        if (lines > kLinesOfAKind) {
            withheld.push_back({slot.kind.data(), lines - kLinesOfAKind});
        }
    };
    if (mTable == nullptr) {
        return withheld;
    }
    for (auto& slot : mTable->slots) {
        renewSlot(slot);
        slot.kind = {};
        slot.mark = 0;
    }
    renewSlot(mTable->others);
    return withheld;
}

} // namespace host
