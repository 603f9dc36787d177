#include "network_mount.h"

#include <sys/vfs.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>

namespace host {

namespace {

// As the kernel numbers them (linux/magic.h, and their own sources).
constexpr std::pair<uint32_t, const char*> kNetworkTypes[] = {
    {0x6969, "nfs"},      {0x517B, "smb"},      {0xFF534D42, "cifs"},
    {0xFE534D42, "smb2"}, {0x73757245, "coda"}, {0x5346414F, "afs"},
    {0x6B414653, "kafs"}, {0x00C36400, "ceph"}, {0x564C, "ncp"},
};

} // namespace

std::string networkFileSystem(long type)
{
    const auto* const found =
        std::find_if(std::begin(kNetworkTypes), std::end(kNetworkTypes),
                     [type](const auto& one) { return one.first == static_cast<uint32_t>(type); });
    return found == std::end(kNetworkTypes) ? "" : found->second;
}

std::string networkFileSystemOf(const std::string& path)
{
    struct statfs about
    {};
    const std::string directory = path.substr(0, path.rfind('/') + 1);
    const bool isKnown = statfs(path.c_str(), &about) == 0 ||
                         statfs(directory.empty() ? "." : directory.c_str(), &about) == 0;
    return isKnown ? networkFileSystem(about.f_type) : "";
}

} // namespace host
