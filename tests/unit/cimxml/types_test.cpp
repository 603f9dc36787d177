#include <cimxml/types.h>
#include <gtest/gtest.h>

#include <memory>

namespace {

using cimxml::ObjectPath;
using cimxml::Type;

ObjectPath thingPath(std::vector<cimxml::KeyBinding> keys)
{
    return {"host", "root/xcim", "XCIM_Thing", std::move(keys)};
}

TEST(TypeName, is_read_back_in_any_case)
{
    for (int i = 0; i <= static_cast<int>(Type::Reference); ++i) {
        const auto type = static_cast<Type>(i);
        EXPECT_EQ(cimxml::typeFromName(cimxml::typeName(type)), type);
    }
    EXPECT_EQ(cimxml::typeFromName("DateTime"), Type::DateTime);
    EXPECT_EQ(cimxml::typeFromName("uint128"), std::nullopt);
    EXPECT_EQ(cimxml::typeFromName(""), std::nullopt);
}

TEST(Names, are_compared_without_the_case_of_ascii_letters)
{
    EXPECT_TRUE(cimxml::equalsIgnoreCase("XCIM_Thing", "xcim_THING"));
    EXPECT_FALSE(cimxml::equalsIgnoreCase("XCIM_Thing", "XCIM_Thin"));
    EXPECT_FALSE(cimxml::equalsIgnoreCase("[", "{"));
    EXPECT_FALSE(cimxml::equalsIgnoreCase("\xC3\x84", "\xC3\xA4"));
}

TEST(Find, ignores_case)
{
    cimxml::Instance instance;
    instance.properties.push_back({.name = "Port"});
    EXPECT_EQ(instance.find("PORT"), instance.properties.data());
    EXPECT_EQ(instance.find("Ports"), nullptr);
    cimxml::Class cls;
    cls.methods.push_back({.name = "Reset"});
    cls.properties.push_back({.name = "Id"});
    cls.qualifiers.push_back({.name = "Abstract"});
    EXPECT_EQ(cls.findMethod("reset"), cls.methods.data());
    EXPECT_EQ(cls.findProperty("ID"), cls.properties.data());
    EXPECT_EQ(cimxml::findQualifier(cls.qualifiers, "ABSTRACT"), cls.qualifiers.data());
}

TEST(PathText, shows_class_and_keys)
{
    EXPECT_EQ(cimxml::pathText(thingPath({{"Id", Type::String, std::string("x")},
                                          {"Port", Type::Uint32, std::uint64_t{1}}})),
              "XCIM_Thing.Id=\"x\",Port=1");
    EXPECT_EQ(cimxml::pathText(thingPath({})), "XCIM_Thing");
}

TEST(Value, of_nothing_is_null)
{
    EXPECT_TRUE(cimxml::Value::of(Type::Uint8, std::monostate()).isNull);
    EXPECT_FALSE(cimxml::Value::of(Type::Uint8, std::uint64_t{0}).isNull);
    EXPECT_TRUE(cimxml::Value::null(Type::Uint8, true).isArray);
    EXPECT_FALSE(cimxml::Value::array(Type::Uint8, {}).isNull);
}

} // namespace
