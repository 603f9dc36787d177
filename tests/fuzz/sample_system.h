// The sample system, which has a sound mapping and a sound cache.
#ifndef TESTS_FUZZ_SAMPLE_SYSTEM_H_
#define TESTS_FUZZ_SAMPLE_SYSTEM_H_

#include "TempDirectory.h"

namespace fuzz {

// Makes the sample system the one that the library of this process serves; one per process.
class SampleSystem
{
public:
    SampleSystem();

private:
    support::TempDirectory mDirectory;
};

} // namespace fuzz

#endif
