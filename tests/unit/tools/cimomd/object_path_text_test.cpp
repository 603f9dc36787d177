// References that come as text.
#include "object_path_text.h"

#include <gtest/gtest.h>

namespace {

cimxml::ObjectPath readPath(std::string_view text)
{
    cimxml::ObjectPath path;
    EXPECT_TRUE(cimomd::readObjectPath(text, path)) << text;
    return path;
}

TEST(ObjectPathText, AllParts)
{
    const cimxml::ObjectPath path =
        readPath("//host:5988/root/xcim:XCIM_Fan.Name=\"a\\\"b\\\\,.:=\",Slot=7");
    EXPECT_EQ(path.host, "host:5988");
    EXPECT_EQ(path.nameSpace, "root/xcim");
    EXPECT_EQ(path.className, "XCIM_Fan");
    ASSERT_EQ(path.keys.size(), 2U);
    EXPECT_EQ(path.keys[0].name, "Name");
    EXPECT_EQ(std::get<std::string>(path.keys[0].value), "a\"b\\,.:=");
    EXPECT_EQ(path.keys[1].name, "Slot");
    EXPECT_EQ(std::get<std::string>(path.keys[1].value), "7");
}

TEST(ObjectPathText, AllButTheClassMayBeMissing)
{
    EXPECT_EQ(readPath("XCIM_Fan").className, "XCIM_Fan");
    const cimxml::ObjectPath path = readPath("XCIM_Fan.Name=\"root:x\"");
    EXPECT_EQ(path.nameSpace, "");
    EXPECT_EQ(std::get<std::string>(path.keys.at(0).value), "root:x");
}

TEST(ObjectPathText, RefusesWhatIsNone)
{
    cimxml::ObjectPath path;
    for (const char* text : {"", "root/xcim:", ".Name=1", "XCIM_Fan.", "XCIM_Fan.Name",
                             "XCIM_Fan.=1", "XCIM_Fan.Name=\"a", "XCIM_Fan.Name=1,"}) {
        EXPECT_FALSE(cimomd::readObjectPath(text, path)) << text;
    }
}

} // namespace
