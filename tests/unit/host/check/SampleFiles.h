// The mapping and the data cache of the sample system, to be changed by a test.
#ifndef SAMPLE_FILES_H_
#define SAMPLE_FILES_H_

#include "check/check.h"

#include <TempDirectory.h>

#include <cstddef>
#include <string>

class SampleFiles
{
public:
    SampleFiles();

    // Replaces the first occurrence of text behind anchor; throws where there is none. Returns
    // where it stands.
    size_t replace(const std::string& anchor, const std::string& text, const std::string& by);
    // The line of the first occurrence of text at or behind an offset.
    [[nodiscard]] size_t lineOf(const std::string& text, size_t offset = 0) const;
    // Runs SQL on the data cache; throws where it fails.
    void runSql(const std::string& sql) const;

    [[nodiscard]] host::check::Report
    check(host::check::Depth depth = host::check::Depth::Rows) const;

    std::string mapping; // its text
    [[nodiscard]] std::string mappingPath() const { return mDirectory.File("mapping.json"); }
    [[nodiscard]] std::string cachePath() const { return mDirectory.File("cache.db"); }

private:
    support::TempDirectory mDirectory;
};

#endif
