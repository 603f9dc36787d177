// What reads the whole mapping, and not for a request, has nothing to log of it.
#ifndef HOST_LIBRARY_QUIET_H_
#define HOST_LIBRARY_QUIET_H_

#include <vexodlog.h>

namespace host {

// While there is one, the library's lines are dropped: what is wrong with a mapping is told as a
// fault of it.
class LibraryIsQuiet
{
public:
    LibraryIsQuiet() : mThreshold(vexoThreshold()) { vexoSetThreshold(0); }
    ~LibraryIsQuiet() { vexoSetThreshold(mThreshold); }
    LibraryIsQuiet(const LibraryIsQuiet&) = delete;
    LibraryIsQuiet& operator=(const LibraryIsQuiet&) = delete;

private:
    int mThreshold;
};

} // namespace host

#endif
