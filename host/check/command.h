// cimgated --check.
#ifndef HOST_CHECK_COMMAND_H_
#define HOST_CHECK_COMMAND_H_

#include "options.h"

namespace host::check {

// Prints what is wrong with the mapping file and the data cache, file by file. Returns the exit
// status: 0 when nothing is, 1 otherwise.
int runCheck(const Options& options);

} // namespace host::check

#endif
