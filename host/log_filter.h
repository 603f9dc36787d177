// What of the platform log the service writes: every line has a stamp; below level 2, lines that go
// with requests that went well are left out, what comes again and again is told once with its
// count, and of lines of one kind the first few of all processes are written.
//
// Threads: for processes with one thread.
#ifndef HOST_LOG_FILTER_H_
#define HOST_LOG_FILTER_H_

#include <string>

namespace host {

// To be called before anything is logged; level is that of --log-level. Processes that are forked
// later begin to count what comes again by themselves. What there was more of a kind the process
// tells that has called this.
void startLog(int level);

// Is told of each of the library's errors, at every level, without the time in front.
using LibraryErrorListener = void (*)(const std::string& message);
void setLibraryErrorListener(LibraryErrorListener listener);

// How many milliseconds a process may wait until it has to call tellRepeats(); -1 for ever.
int msUntilRepeats();

// Tells of what was not written and has not been told yet: what is due, or, before the process
// ends, all.
void tellRepeats();
void tellAllRepeats();

} // namespace host

#endif
