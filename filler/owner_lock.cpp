#include "owner_lock.h"

#include "cache_files.h"

#include <fcntl.h>
#include <service/errno_text.h>
#include <sys/stat.h>

#include <cerrno>

namespace filler {

namespace {

struct flock wholeFile()
{
    struct flock lock
    {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

std::string holderOf(int file)
{
    struct flock lock = wholeFile();
    const bool isKnown =
        fcntl(file, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK && lock.l_pid > 0;
    return isKnown ? "process " + std::to_string(lock.l_pid) : "another process";
}

} // namespace

bool OwnerLock::take(const std::string& cache, std::string& problem)
{
    constexpr mode_t kMode = 0644;
    const std::string path = lockFileOf(cache);
    mFile = service::FileDescriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kMode));
    if (!mFile.isOpen()) {
        const char* const hint =
            errno == ENOENT ? "; make its directory" : "; let this user write there";
        problem = "cannot open " + path + ": " + service::errnoText() + hint +
                  ", or name another file with --cache";
        return false;
    }
    (void)fchmod(mFile.get(), kMode); // for all to ask who has it, whatever the umask says
    const struct flock lock = wholeFile();
    if (fcntl(mFile.get(), F_SETLK, &lock) == 0) {
        return true;
    }
    problem = holderOf(mFile.get()) + " fills " + cache +
              " already: stop it first, or name another file with --cache";
    return false;
}

} // namespace filler
