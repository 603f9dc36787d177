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
    Budget& mine = budget();
    if (mine.isLimited && mine.allowed-- <= 0) {
        mine.allowed = 0;
        mine.hasFailed = true;
        throw std::bad_alloc();
    }
    void* memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}
// NOLINTEND(cppcoreguidelines-no-malloc)
