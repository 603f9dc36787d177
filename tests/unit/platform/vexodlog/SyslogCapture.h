// The test program's own openlog() and syslog(), found by its libraries before the C library's:
// what would go to the system's log is kept here.
#ifndef TESTS_SYSLOG_CAPTURE_H_
#define TESTS_SYSLOG_CAPTURE_H_

#include <string>
#include <vector>

struct SyslogLine
{
    std::string ident;
    int priority = 0; // severity | facility
    std::string text;
};

// The lines since the last call. One thread at a time.
std::vector<SyslogLine> takeSyslogLines();

#endif
