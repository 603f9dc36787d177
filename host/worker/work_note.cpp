#include "worker/work_note.h"

#include <sys/mman.h>

#include <cstring>

namespace host {

namespace {

constexpr size_t kBytes = 2048;

} // namespace

void WorkNote::Unmap::operator()(char* memory) const
{
    (void)munmap(memory, kBytes);
}

WorkNote::WorkNote()
{
    void* const memory =
        mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory != MAP_FAILED) {
        mMemory.reset(static_cast<char*>(memory));
    }
}

void WorkNote::write(std::string_view text)
{
    if (mMemory != nullptr) {
        const size_t bytes = text.copy(mMemory.get(), kBytes - 1);
        mMemory.get()[bytes] = '\0';
    }
}

std::string WorkNote::text() const
{
    return mMemory == nullptr ? "" : std::string(mMemory.get(), strnlen(mMemory.get(), kBytes));
}

} // namespace host
