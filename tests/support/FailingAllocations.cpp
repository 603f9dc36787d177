#include <FailingAllocations.h>

#include <cstdlib>
#include <new>

// NOLINTBEGIN(cppcoreguidelines-no-malloc): what operator new itself is made of
void* operator new(std::size_t size)
{
    void* const memory = allocationFails() ? nullptr : std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return allocationFails() ? nullptr : std::malloc(size != 0 ? size : 1);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

// What Boost.Asio takes for its operations.
extern "C" void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    void* memory = nullptr;
    const bool isThere = !allocationFails() && posix_memalign(&memory, alignment, size) == 0;
    return isThere ? memory : nullptr;
}
// NOLINTEND(cppcoreguidelines-no-malloc)
