#include <ExhaustedMemory.h>
#include <FailingAllocations.h>

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

// Whether this allocation is one too many; those behind it are, too.
bool allocationFails()
{
    Budget& mine = budget();
    if (!mine.isLimited || mine.allowed-- > 0) {
        return false;
    }
    mine.allowed = 0;
    mine.hasFailed = true;
    return true;
}
