#include <ExhaustedMemory.h>

#include <cstdlib>
#include <new>

namespace {

struct Budget
{
    bool isLimited = false;
    int allowed = 0;
    bool hasFailed = false;
};

Budget& budget()
{
    static thread_local constinit Budget ofThread;
    return ofThread;
}

// Whether this allocation is one too many; those behind it are, too.
bool isExhausted()
{
    Budget& mine = budget();
    if (!mine.isLimited || mine.allowed-- > 0) {
        return false;
    }
    mine.allowed = 0;
    mine.hasFailed = true;
    return true;
}

} // namespace

ExhaustedMemory::ExhaustedMemory(int allowed)
{
    budget() = {true, allowed, false};
}

ExhaustedMemory::~ExhaustedMemory()
{
    budget().isLimited = false;
}

bool ExhaustedMemory::hasFailed()
{
    return budget().hasFailed;
}

// NOLINTBEGIN(cppcoreguidelines-no-malloc): what operator new itself is made of
void* operator new(std::size_t size)
{
    if (isExhausted()) {
        throw std::bad_alloc();
    }
    void* memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return isExhausted() ? nullptr : std::malloc(size != 0 ? size : 1);
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
    const bool isThere = !isExhausted() && posix_memalign(&memory, alignment, size) == 0;
    return isThere ? memory : nullptr;
}
// NOLINTEND(cppcoreguidelines-no-malloc)
