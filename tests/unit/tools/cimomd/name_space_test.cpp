// Instances: their keys, their types, their changes.
#include "SampleModel.h"
#include "cim_status.h"
#include "name_space.h"

#include <gtest/gtest.h>

namespace {

using cimomd::NameSpace;
using cimomd::StoredInstance;
using cimxml::Type;
using sample::cls;
using sample::create;
using sample::flag;
using sample::instance;
using sample::key;
using sample::path;
using sample::property;
using sample::textOf;

constexpr const char* kPoint = "20240501102030.000000+120";

class NameSpaceTest : public testing::Test
{
protected:
    NameSpaceTest()
    {
        sample::declare(
            mNameSpace,
            {cls("Base", "", {key("Id", Type::String)}, {flag("Abstract")}),
             cls("Fan", "Base",
                 {key("Slot", Type::Uint16), property("Speed", Type::Uint32, uint64_t{100}),
                  property("Since", Type::DateTime), property("Ok", Type::Boolean)}),
             cls("BigFan", "Fan", {property("Extra", Type::String)}),
             cls("Cools", "", {key("Cooler", Type::Reference), key("Cooled", Type::Reference)})});
    }

    unsigned int codeOfCreate(const cimxml::Instance& made)
    {
        cimxml::CimError error;
        EXPECT_EQ(mNameSpace.create(made, error), nullptr);
        EXPECT_FALSE(error.description.empty());
        return error.code;
    }

    unsigned int codeOfFind(const cimxml::ObjectPath& wanted)
    {
        cimxml::CimError error;
        EXPECT_EQ(mNameSpace.find(wanted, error), nullptr);
        EXPECT_FALSE(error.description.empty());
        return error.code;
    }

    unsigned int codeOfModify(const cimxml::ObjectPath& wanted, const cimxml::Instance& changes)
    {
        cimxml::CimError error;
        EXPECT_FALSE(mNameSpace.modify(wanted, changes, nullptr, error));
        return error.code;
    }

    const StoredInstance* find(const cimxml::ObjectPath& wanted)
    {
        cimxml::CimError error;
        const StoredInstance* const found = mNameSpace.find(wanted, error);
        EXPECT_NE(found, nullptr) << error.description;
        return found;
    }

    NameSpace mNameSpace{"root/xcim"};
    cimxml::ObjectPath mFan = path("Fan", {{"Id", "f"}, {"Slot", "1"}});
};

TEST_F(NameSpaceTest, InstancesTakeTypesDefaultsAndSpellingOfTheirClass)
{
    const StoredInstance& fan =
        create(mNameSpace,
               instance("fan", {{"SLOT", "1"}, {"id", "f"}, {"since", kPoint}, {"OK", "true"}}));
    EXPECT_EQ(fan.instance.className, "Fan");
    ASSERT_EQ(fan.instance.properties.size(), 5U);
    EXPECT_EQ(fan.instance.properties[1].name, "Slot");
    EXPECT_EQ(std::get<uint64_t>(fan.instance.properties[1].value.scalar), 1U);
    EXPECT_EQ(fan.instance.properties[1].value.type, Type::Uint16);
    EXPECT_EQ(textOf(fan.instance, "Speed"), "100");
    EXPECT_EQ(textOf(fan.instance, "Since"), kPoint);
    EXPECT_EQ(std::get<bool>(fan.instance.properties[4].value.scalar), true);
    EXPECT_EQ(fan.instance.properties[0].classOrigin, "Base");
    EXPECT_EQ(cimxml::pathText(fan.path), "Fan.Id=\"f\",Slot=1");
}

TEST_F(NameSpaceTest, KeysAreToldByNameWithoutCaseAndByTypedValue)
{
    const StoredInstance& fan = create(mNameSpace, instance("Fan", {{"Id", "f"}, {"Slot", "16"}}));
    EXPECT_EQ(find(path("Fan", {{"Id", "f"}, {"Slot", "16"}})), &fan);
    EXPECT_EQ(find(path("FAN", {{"SLOT", "16"}, {"ID", "f"}})), &fan);
    EXPECT_EQ(find(path("Fan", {{"Id", "f"}, {"Slot", "0x10"}})), &fan);
    cimxml::ObjectPath typed = path("Fan", {{"Id", "f"}});
    typed.keys.push_back({"Slot", Type::Uint64, uint64_t{16}});
    EXPECT_EQ(find(typed), &fan);
    EXPECT_EQ(codeOfFind(path("Fan", {{"Id", "F"}, {"Slot", "16"}})), cimomd::kNotFound);
}

TEST_F(NameSpaceTest, WrongPathsAreToldApart)
{
    create(mNameSpace, instance("Fan", {{"Id", "f"}, {"Slot", "1"}}));
    EXPECT_EQ(codeOfFind(path("Nothing", {{"Id", "f"}})), cimomd::kInvalidClass);
    EXPECT_EQ(codeOfFind(path("Fan", {{"Id", "f"}})), cimomd::kInvalidParameter);
    EXPECT_EQ(codeOfFind(path("Fan", {{"Id", "f"}, {"Slot", "1"}, {"X", "1"}})),
              cimomd::kInvalidParameter);
    EXPECT_EQ(codeOfFind(path("Fan", {{"Id", "f"}, {"Slot", "one"}})), cimomd::kInvalidParameter);
    EXPECT_EQ(codeOfFind(path("Fan", {{"Id", "f"}, {"Slot", "65536"}})), cimomd::kInvalidParameter);
    EXPECT_EQ(codeOfFind(path("Fan", {{"Id", "f"}, {"Slot", "2"}})), cimomd::kNotFound);
    EXPECT_EQ(codeOfFind(path("BigFan", {{"Id", "f"}, {"Slot", "1"}})), cimomd::kNotFound);
}

TEST_F(NameSpaceTest, WrongInstancesAreRefused)
{
    EXPECT_EQ(codeOfCreate(instance("Nothing", {})), cimomd::kInvalidClass);
    EXPECT_EQ(codeOfCreate(instance("Base", {{"Id", "x"}})), cimomd::kNotSupported);
    EXPECT_EQ(codeOfCreate(instance("Fan", {{"Id", "f"}})), cimomd::kInvalidParameter);
    EXPECT_EQ(codeOfCreate(instance("Fan", {{"Id", "f"}, {"Slot", "1"}, {"X", "1"}})),
              cimomd::kInvalidParameter);
    EXPECT_EQ(codeOfCreate(instance("Fan", {{"Id", "f"}, {"Slot", "1"}, {"Speed", "fast"}})),
              cimomd::kTypeMismatch);
    EXPECT_EQ(codeOfCreate(instance("Fan", {{"Id", "f"}, {"Slot", "1"}, {"Since", "now"}})),
              cimomd::kTypeMismatch);
    cimxml::Instance array = instance("Fan", {{"Id", "f"}, {"Slot", "1"}});
    array.properties[0].value = cimxml::Value::array(Type::String, {std::string("f")});
    EXPECT_EQ(codeOfCreate(array), cimomd::kTypeMismatch);
    create(mNameSpace, instance("Fan", {{"Id", "f"}, {"Slot", "1"}}));
    EXPECT_EQ(codeOfCreate(instance("FAN", {{"Slot", "01"}, {"Id", "f"}})), cimomd::kAlreadyExists);
}

TEST_F(NameSpaceTest, ChangesAreAllOrNothing)
{
    create(mNameSpace, instance("Fan", {{"Id", "f"}, {"Slot", "1"}}));
    cimxml::CimError error;
    EXPECT_TRUE(
        mNameSpace.modify(mFan, instance("Fan", {{"speed", "7"}, {"Slot", "1"}}), nullptr, error))
        << error.description;
    EXPECT_EQ(textOf(find(mFan)->instance, "Speed"), "7");
    EXPECT_EQ(codeOfModify(mFan, instance("Fan", {{"Speed", "8"}, {"Ok", "maybe"}})),
              cimomd::kTypeMismatch);
    EXPECT_EQ(codeOfModify(mFan, instance("Fan", {{"Speed", "8"}, {"X", "1"}})),
              cimomd::kInvalidParameter);
    EXPECT_EQ(codeOfModify(mFan, instance("Fan", {{"Speed", "8"}, {"Slot", "2"}})),
              cimomd::kInvalidParameter);
    EXPECT_EQ(codeOfModify(path("Fan", {{"Id", "f"}, {"Slot", "2"}}), instance("Fan", {})),
              cimomd::kNotFound);
    EXPECT_EQ(textOf(find(mFan)->instance, "Speed"), "7");
}

TEST_F(NameSpaceTest, OnlyNamedPropertiesChangeWhenSomeAreNamed)
{
    create(mNameSpace, instance("Fan", {{"Id", "f"}, {"Slot", "1"}}));
    const std::vector<std::string> names{"SPEED"};
    cimxml::CimError error;
    EXPECT_TRUE(
        mNameSpace.modify(mFan, instance("Fan", {{"Speed", "7"}, {"Ok", "TRUE"}}), &names, error));
    EXPECT_EQ(textOf(find(mFan)->instance, "Speed"), "7");
    EXPECT_EQ(textOf(find(mFan)->instance, "Ok"), "null");
}

TEST_F(NameSpaceTest, RemovedInstancesAreGone)
{
    create(mNameSpace, instance("Fan", {{"Id", "f"}, {"Slot", "1"}}));
    cimxml::CimError error;
    EXPECT_TRUE(mNameSpace.remove(mFan, error));
    EXPECT_FALSE(mNameSpace.remove(mFan, error));
    EXPECT_EQ(error.code, cimomd::kNotFound);
    create(mNameSpace, instance("Fan", {{"Id", "f"}, {"Slot", "1"}}));
    EXPECT_NE(find(mFan), nullptr);
}

TEST_F(NameSpaceTest, VisitsSubclassesInOrder)
{
    create(mNameSpace, instance("BigFan", {{"Id", "b"}, {"Slot", "1"}}));
    create(mNameSpace, instance("Fan", {{"Id", "z"}, {"Slot", "1"}}));
    create(mNameSpace, instance("Fan", {{"Id", "a"}, {"Slot", "1"}}));
    std::string ids;
    mNameSpace.forEach(*mNameSpace.classes().find("Base"), [&ids](const StoredInstance& stored) {
        ids += textOf(stored.instance, "Id");
    });
    EXPECT_EQ(ids, "zab");
}

TEST_F(NameSpaceTest, ReferencesAsKeysMeanObjects)
{
    cimxml::Instance cools = instance("Cools", {{"Cooled", "root/xcim:Fan.Slot=1,Id=\"f\""}});
    cools.properties.push_back(property("Cooler", Type::Reference, sample::reference(mFan)));
    const StoredInstance& stored = create(mNameSpace, cools);
    const auto& cooler =
        std::get<std::shared_ptr<const cimxml::ObjectPath>>(stored.path.keys[0].value);
    EXPECT_EQ(cimxml::pathText(*cooler), "Fan.Id=\"f\",Slot=1");
    EXPECT_NE(find(path("Cools",
                        {{"Cooler", "FAN.Slot=0x1,id=\"f\""}, {"Cooled", "Fan.Id=\"f\",Slot=1"}})),
              nullptr);
    EXPECT_EQ(codeOfFind(path(
                  "Cools", {{"Cooler", "Fan.Slot=2,Id=\"f\""}, {"Cooled", "Fan.Id=\"f\",Slot=1"}})),
              cimomd::kNotFound);
    EXPECT_EQ(codeOfFind(path("Cools", {{"Cooler", "other/space:Fan.Slot=1,Id=\"f\""},
                                        {"Cooled", "Fan.Id=\"f\",Slot=1"}})),
              cimomd::kNotFound);
    EXPECT_EQ(codeOfFind(path("Cools", {{"Cooler", ""}, {"Cooled", "Fan"}})),
              cimomd::kInvalidParameter);
}

} // namespace
