#include "standard_descriptors.h"

#include <fcntl.h>
#include <unistd.h>

namespace cli {

bool reserveStandardDescriptors()
{
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        // The lowest number that is free is taken: those below are open.
        if (fcntl(fd, F_GETFD) < 0 && open("/dev/null", O_RDWR) != fd) {
            return false;
        }
    }
    return true;
}

} // namespace cli
