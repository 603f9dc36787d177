// cimgate cache: what the filler of the data cache tells of it (docs/filling-the-cache.md).
#ifndef CIMGATE_CACHE_H_
#define CIMGATE_CACHE_H_

#include <cli/command_line.h>

namespace cache {

// The command. Its exit status: 0 all classes are ready and none is failing, 1 one is not, or
// nothing is known and standard error says why.
cli::Command command();

} // namespace cache

#endif
