#include "repository_files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace cimomd {

namespace {

namespace fs = std::filesystem;

bool readText(RepositoryFile& file, std::string& problem)
{
    std::ifstream stream(file.path, std::ios::binary);
    file.text.assign(std::istreambuf_iterator<char>(stream), {});
    if (!stream.is_open() || stream.bad()) {
        problem = file.path + ": it cannot be read";
        return false;
    }
    return true;
}

} // namespace

bool readFiles(const std::string& directory, std::string_view ending,
               std::vector<RepositoryFile>& files, std::string& problem)
{
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        if (std::string path = entry->path().string(); path.ends_with(ending)) {
            files.push_back({std::move(path), {}});
        }
    }
    if (error) {
        problem = directory + ": " + error.message();
        return false;
    }
    std::sort(files.begin(), files.end(),
              [](const auto& one, const auto& other) { return one.path < other.path; });
    return std::all_of(files.begin(), files.end(),
                       [&problem](RepositoryFile& file) { return readText(file, problem); });
}

} // namespace cimomd
