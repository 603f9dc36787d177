// Names that an object of a JSON document has twice, which its reader does not tell.
#ifndef HOST_CHECK_DUPLICATE_NAMES_H_
#define HOST_CHECK_DUPLICATE_NAMES_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace host::check {

struct DuplicateName
{
    std::vector<std::string> path; // the names above it, from the outermost on
    std::string name;
    size_t firstOffset; // where in the document it stands for the first time
    size_t offset;      // and once more
};

// document is JSON that jsoncpp has read, comments included.
std::vector<DuplicateName> duplicateNames(std::string_view document);

} // namespace host::check

#endif
