#include <CountedMemory.h>
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

// Signed: what was taken before may be given back.
struct Taken
{
    std::ptrdiff_t now = 0;
    std::ptrdiff_t peak = 0;
};

Taken& taken()
{
    static thread_local constinit Taken byThread;
    return byThread;
}

void count(std::ptrdiff_t bytes)
{
    Taken& mine = taken();
    mine.now += bytes;
    mine.peak = std::max(mine.peak, mine.now);
}

std::ptrdiff_t sizeOf(void* memory)
{
    return static_cast<std::ptrdiff_t>(::malloc_usable_size(memory));
}

} // namespace

CountedMemory::CountedMemory()
{
    taken() = {};
}

std::size_t CountedMemory::peakBytes()
{
    return static_cast<std::size_t>(taken().peak);
}

// NOLINTBEGIN(cppcoreguidelines-no-malloc): what operator new itself is made of
void* operator new(std::size_t size)
{
    void* memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    count(sizeOf(memory));
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    void* memory = std::malloc(size != 0 ? size : 1);
    count(sizeOf(memory));
    return memory;
}

void operator delete(void* memory) noexcept
{
    count(-sizeOf(memory));
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    count(-sizeOf(memory));
    std::free(memory);
}
// NOLINTEND(cppcoreguidelines-no-malloc)
