#include "httpd/freed_memory.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <vector>

namespace {

// A sanitizer keeps what was freed.
#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

size_t residentBytes()
{
    std::ifstream statm("/proc/self/statm");
    size_t all = 0;
    size_t resident = 0;
    statm >> all >> resident;
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

TEST(FreedMemory, BetweenWhatIsInUseGoesBackToTheSystem)
{
    constexpr size_t kPieces = 4096;
    constexpr size_t kPieceBytes = 8192;
    std::vector<std::unique_ptr<std::vector<char>>> pieces;
    for (size_t i = 0; i < kPieces; ++i) {
        pieces.push_back(std::make_unique<std::vector<char>>(kPieceBytes, 'x'));
    }
    for (size_t i = 0; i < kPieces; ++i) {
        if (i % 16 != 15) {
            pieces[i].reset();
        }
    }
    const size_t before = residentBytes();
    httpd::returnFreedMemory();
    EXPECT_LT(residentBytes() + kPieces * kPieceBytes / 2, before);
}

#endif

} // namespace
