// Workers that tests fork begin with the address space of this process, which counts towards their
// limit. Each thread of a test before them would leave an arena of 64 MiB in it.
#include <gtest/gtest.h>
#include <malloc.h>

namespace {

class OneArena : public testing::Environment
{
protected:
    // NOLINTNEXTLINE(concurrency-mt-unsafe): before any other thread
    void SetUp() override { (void)mallopt(M_ARENA_MAX, 1); }
};

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): GoogleTest owns it
[[maybe_unused]] testing::Environment* const kOneArena =
    testing::AddGlobalTestEnvironment(new OneArena);

} // namespace
