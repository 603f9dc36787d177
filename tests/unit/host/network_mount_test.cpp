#include "network_mount.h"

#include <gtest/gtest.h>

namespace {

using host::networkFileSystem;
using host::networkFileSystemOf;

TEST(NetworkMount, FileSystemsOfOtherMachinesHaveANameLocalOnesHaveNone)
{
    EXPECT_EQ(networkFileSystem(0x6969), "nfs");
    // A number with its highest bit comes as a negative one where a long has 32 bits.
    EXPECT_EQ(networkFileSystem(static_cast<int32_t>(0xFE534D42)), "smb2");
    EXPECT_EQ(networkFileSystem(0xFF534D42), "cifs");
    for (const long local : {0xEF53L, 0x01021994L, 0x794C7630L, 0x58465342L, 0x24051905L}) {
        EXPECT_EQ(networkFileSystem(local), "") << local;
    }
}

TEST(NetworkMount, OfAFileThatIsNotThereItsDirectoryCounts)
{
    EXPECT_EQ(networkFileSystemOf("/proc/self/none"), "");
    EXPECT_EQ(networkFileSystemOf("none"), "");
    EXPECT_EQ(networkFileSystemOf("/none/none/none"), "");
}

} // namespace
