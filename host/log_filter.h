// What of the platform log the service writes: every line has a stamp; below level 2, lines that go
// with requests that went well are left out, and what comes again and again is told once with its
// count.
//
// Threads: for processes with one thread.
#ifndef HOST_LOG_FILTER_H_
#define HOST_LOG_FILTER_H_

#include <string>

namespace host {

// To be called before anything is logged; level is that of --log-level. Processes that are forked
// later begin to count by themselves.
void startLog(int level);

// Is told of each of the library's errors, at every level, without the time in front.
using LibraryErrorListener = void (*)(const std::string& message);
void setLibraryErrorListener(LibraryErrorListener listener);

// How many milliseconds a process may wait until it has to call tellRepeats(); -1 for ever.
int msUntilRepeats();

// Tells of what came again and again and has not been told yet: what is due, or, before the process
// ends, all.
void tellRepeats();
void tellAllRepeats();

} // namespace host

#endif
