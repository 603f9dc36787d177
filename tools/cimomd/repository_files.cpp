#include "repository_files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace cimomd {

namespace fs = std::filesystem;

bool listFiles(const std::string& directory, std::string_view ending,
               std::vector<std::string>& paths, std::string& problem)
{
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string path = entry->path().string();
        if (path.ends_with(ending)) {
            paths.push_back(path);
        }
    }
    std::sort(paths.begin(), paths.end());
    if (error) {
        problem = directory + ": " + error.message();
    }
    return !error;
}

bool readFile(const std::string& path, std::string& text, std::string& problem)
{
    std::ifstream file(path, std::ios::binary);
    text.assign(std::istreambuf_iterator<char>(file), {});
    if (!file.is_open() || file.bad()) {
        problem = path + ": it cannot be read";
        return false;
    }
    return true;
}

} // namespace cimomd
