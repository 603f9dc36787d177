// The files of a repository's directory.
#ifndef CIMOMD_REPOSITORY_FILES_H_
#define CIMOMD_REPOSITORY_FILES_H_

#include <string>
#include <string_view>
#include <vector>

namespace cimomd {

struct RepositoryFile
{
    std::string path;
    std::string text;
};

// Reads all files of a directory whose names end so, in the order of their names. Returns false
// with the directory or the file and the cause in problem when one cannot be read.
bool readFiles(const std::string& directory, std::string_view ending,
               std::vector<RepositoryFile>& files, std::string& problem);

} // namespace cimomd

#endif
