// The sample system's data cache for tests in whose process no other program runs: like the one
// that cimgate-cached fills from an object manager with data/sample/cim.
#ifndef TESTS_SUPPORT_SAMPLE_CACHE_H_
#define TESTS_SUPPORT_SAMPLE_CACHE_H_

#include <string>

namespace support {

// Makes the file, for data/resourcemapping.json. All classes are ready but XCIM_PhysicalMemory,
// which is being loaded. Throws what went wrong.
void makeSampleCache(const std::string& path);

} // namespace support

#endif
