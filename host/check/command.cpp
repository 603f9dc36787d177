#include "check/command.h"

#include "check/check.h"

#include <cstdio>
#include <cstdlib>

namespace host::check {

namespace {

std::string countOf(size_t faults)
{
    return std::to_string(faults) + (faults == 1 ? " fault" : " faults");
}

// One file and what is wrong with it.
std::string sectionOf(const std::string& file, const std::vector<Fault>& faults)
{
    std::string text;
    size_t count = 0;
    for (const Fault& fault : faults) {
        if (fault.file == file) {
            text += paragraph(fault);
            ++count;
        }
    }
    return file + ": " + (count == 0 ? "sound" : countOf(count)) + "\n" + text;
}

std::string cacheSection(const std::string& file, const Report& report)
{
    if (!report.isMappingUsable) {
        return file + ": not looked at, without a mapping\n";
    }
    return report.needsCache ? sectionOf(file, report.faults)
                             : file + ": not looked at, since nothing is read from it\n";
}

} // namespace

int runCheck(const Options& options)
{
    const Report report =
        checkFiles(options.rmfPath, options.servicePath, options.cachePath, Depth::Rows);
    const std::string service =
        options.servicePath.empty() ? "" : sectionOf(options.servicePath, report.faults);
    const std::string text = sectionOf(options.rmfPath, report.faults) + service +
                             cacheSection(options.cachePath, report);
    (void)std::fputs(text.c_str(), stdout);
    return report.faults.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace host::check
