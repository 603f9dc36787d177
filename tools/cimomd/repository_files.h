// The files of a repository's directory.
#ifndef CIMOMD_REPOSITORY_FILES_H_
#define CIMOMD_REPOSITORY_FILES_H_

#include <string>
#include <string_view>
#include <vector>

namespace cimomd {

// The paths of all files of a directory whose names end so, in the order of their names. Returns
// false with directory and cause in problem when it cannot be read.
bool listFiles(const std::string& directory, std::string_view ending,
               std::vector<std::string>& paths, std::string& problem);

// Returns false with file and cause in problem.
bool readFile(const std::string& path, std::string& text, std::string& problem);

} // namespace cimomd

#endif
