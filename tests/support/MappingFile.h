// The mapping file of one test. While the object lives ResourceMapper::RmfPath names its file; the
// library's loaded mapping and table of URIs are forgotten before and after.
#ifndef TESTS_SUPPORT_MAPPING_FILE_H_
#define TESTS_SUPPORT_MAPPING_FILE_H_

#include "TempDirectory.h"

#include <string>

namespace support {

class MappingFile
{
public:
    // No file yet.
    MappingFile();
    ~MappingFile();
    MappingFile(const MappingFile&) = delete;
    MappingFile& operator=(const MappingFile&) = delete;

    void Write(const std::string& text) const;
    void Remove() const;
    [[nodiscard]] std::string Path() const { return mDirectory.File("resourcemapping.json"); }

    // Takes the library back to the state before its first request.
    static void ForgetLoaded();

private:
    TempDirectory mDirectory;
    std::string mFormerPath;
};

} // namespace support

#endif
