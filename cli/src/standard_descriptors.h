#ifndef CLI_STANDARD_DESCRIPTORS_H_
#define CLI_STANDARD_DESCRIPTORS_H_

namespace cli {

// Opens /dev/null for each of the descriptors 0 to 2 that is closed: what a program opens next
// would take its place, and be written to as standard output or error. False where that cannot be
// done.
bool reserveStandardDescriptors();

} // namespace cli

#endif
