#include "native/registry_files.h"

#include "host_limits.h"

#include <JsonAccess.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <system_error>

namespace host::native {

namespace {

namespace fs = std::filesystem;

bool isPlainName(const std::string& name)
{
    return std::all_of(name.begin(), name.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '-' || c == '_';
    });
}

std::string textIn(const fs::path& path)
{
    std::error_code error;
    if (fs::file_size(path, error) > kMaxRegistryBytes || error) {
        return {};
    }
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// "1.18" of "1.18.0": a registry's messages are those of its minor version.
std::string majorMinor(const std::string& version)
{
    return version.substr(0, version.find('.', version.find('.') + 1));
}

std::optional<RegistryFile> registryIn(const fs::path& path)
{
    RegistryFile file;
    file.text = textIn(path);
    std::istringstream in(file.text);
    Json::Value content;
    if (!cimgate::readJson(in, content) || !content.isObject()) {
        return std::nullopt;
    }
    const std::string prefix = cimgate::textOf(content, "RegistryPrefix");
    const std::string version = cimgate::textOf(content, "RegistryVersion");
    if (prefix.empty() || version.empty()) {
        return std::nullopt;
    }
    file.id = path.stem().string();
    file.name = cimgate::textOf(content, "Name");
    file.registry = prefix + "." + majorMinor(version);
    file.language = cimgate::textOf(content, "Language");
    file.type = cimgate::textOf(content, "@odata.type");
    return file;
}

} // namespace

std::vector<RegistryFile> readRegistryFiles(const std::string& directory)
{
    std::vector<RegistryFile> files;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory, error)) {
        const fs::path& path = entry.path();
        if (path.extension() != ".json" || !isPlainName(path.stem().string())) {
            continue;
        }
        if (std::optional<RegistryFile> file = registryIn(path)) {
            files.push_back(std::move(*file));
        }
    }
    std::sort(files.begin(), files.end(),
              [](const RegistryFile& a, const RegistryFile& b) { return a.id < b.id; });
    return files;
}

} // namespace host::native
