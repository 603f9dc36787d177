#include "Stamp.h"

#include <sys/stat.h>
#include <sys/syslog.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace {

std::string severityStamp(int severity)
{
    static constexpr std::array<int, VEXO_DEBUG> kPriorities{LOG_CRIT, LOG_ERR, LOG_WARNING,
                                                             LOG_INFO, LOG_DEBUG};
    return '<' + std::to_string(kPriorities[static_cast<size_t>(severity - VEXO_CRITICAL)]) + '>';
}

// UTC: a controller's time zone may change, and logs of several machines are laid side by side.
std::string timeStamp()
{
    timespec now{};
    tm parts{};
    (void)clock_gettime(CLOCK_REALTIME, &now);
    (void)gmtime_r(&now.tv_sec, &parts);
    std::array<char, 32> seconds{};
    (void)strftime(seconds.data(), seconds.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::array<char, 80> stamp{};
    (void)std::snprintf(stamp.data(), stamp.size(), "%s.%03ldZ [%ld] ", seconds.data(),
                        now.tv_nsec / 1000000, static_cast<long>(getpid()));
    return stamp.data();
}

} // namespace

Stamp::Stamp(VexoStamp kind) : mKind(kind)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): a program sets its stamp before it has threads
    const char* const stream = std::getenv("JOURNAL_STREAM");
    unsigned long long device = 0;
    unsigned long long inode = 0;
    // NOLINTNEXTLINE(cert-err34-c): numbers that do not fit are those of no stream
    mHasJournal = stream != nullptr && std::sscanf(stream, "%llu:%llu", &device, &inode) == 2;
    mJournalDevice = static_cast<dev_t>(device);
    mJournalInode = static_cast<ino_t>(inode);
}

std::string Stamp::text(int severity) const
{
    if (mKind == VEXO_STAMP_NONE) {
        return {};
    }
    return isForJournal() ? severityStamp(severity) : timeStamp();
}

bool Stamp::isForJournal() const
{
    struct stat about
    {};
    return mHasJournal && fstat(STDERR_FILENO, &about) == 0 && about.st_dev == mJournalDevice &&
           about.st_ino == mJournalInode;
}
