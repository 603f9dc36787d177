#include <service/installed_data.h>

#include <filesystem>
#include <system_error>

namespace service {

std::optional<std::string> installedData(const char* name)
{
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    const auto path =
        (program.parent_path() / CIMGATE_DATA_FROM_PROGRAMS / name).lexically_normal();
    const bool isThere = !error && std::filesystem::exists(path, error);
    return isThere ? std::optional(path.string()) : std::nullopt;
}

} // namespace service
