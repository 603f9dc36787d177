// cimgated, whose front finds no memory when a test wants it so: of its allocations each Nth fails
// as long as the first four bytes of the file that STARVED_FILE names are the number N, which is
// not 0. The other processes have memory.
#include "options.h"
#include "service.h"

#include <FailingAllocations.h>
#include <fcntl.h>
#include <service/file_descriptor.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

namespace {

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): operator new is global, too
const volatile uint32_t* failsEach = nullptr;
uint32_t allocations = 0;
pid_t front = 0;
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

void openFile()
{
    const char* const path = std::getenv("STARVED_FILE"); // NOLINT(concurrency-mt-unsafe)
    const service::FileDescriptor file(path == nullptr ? -1 : open(path, O_RDONLY | O_CLOEXEC));
    void* const page = mmap(nullptr, sizeof *failsEach, PROT_READ, MAP_SHARED, file.get(), 0);
    if (page == MAP_FAILED) { // NOLINT(cppcoreguidelines-pro-type-cstyle-cast): the system's macro
        std::abort();
    }
    front = getpid();
    failsEach = static_cast<const volatile uint32_t*>(page);
}

} // namespace

bool allocationFails()
{
    const uint32_t each = failsEach == nullptr ? 0 : *failsEach;
    return each != 0 && getpid() == front && ++allocations % each == 0;
}

int main(int argc, char** argv)
{
    openFile();
    host::Options options;
    cli::Command program = host::commandLine(options);
    program.run = [&options] {
        return host::runService(options);
    };
    return cli::run(program, {argv + 1, argv + argc});
}
