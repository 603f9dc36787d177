// cimgate-cached's own process: it has the lock, the signals, the schedule, log and status, and
// gives orders to the process that refreshes, which it replaces when that ends or hangs.
#ifndef FILLER_SUPERVISOR_H_
#define FILLER_SUPERVISOR_H_

#include "options.h"

namespace filler {

// Returns the exit status.
int runFiller(const Options& options);

} // namespace filler

#endif
