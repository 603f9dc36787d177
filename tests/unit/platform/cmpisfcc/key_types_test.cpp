// When a class is asked for, and what becomes of keys.
#include "key_types.h"

#include <gtest/gtest.h>

namespace {

using cimxml::Type;
using Outcome = cmpisfcc::KeyTypes::Fetched::Outcome;
using namespace std::chrono_literals;

class KeyTypesTest : public testing::Test
{
protected:
    // A path as callers make it.
    static cimxml::ObjectPath path(const std::string& text, const std::string& nameSpace = "")
    {
        return {.nameSpace = nameSpace,
                .className = "XCIM_Fan",
                .keys = {{"No", Type::String, text}, {"Id", Type::String, std::string("a")}}};
    }
    // "uint16 2"; "nothing" where the request is not to be sent.
    std::string settled(const std::string& text)
    {
        cimxml::IntrinsicRequest request{
            "1", "GetInstance", "root/xcim", {{"InstanceName", path(text)}}};
        return mTypes.settle(request, mFetch)
                   ? shown(std::get<cimxml::ObjectPath>(request.parameters[0].value).keys[0])
                   : "nothing";
    }
    static std::string shown(const cimxml::KeyBinding& key)
    {
        return std::string(cimxml::typeName(key.type)) + " " +
               cimxml::scalarText(key.type, key.value);
    }

    std::chrono::steady_clock::time_point mNow;
    std::vector<std::string> mAsked;
    cmpisfcc::KeyTypes::Fetched mFetched{
        Outcome::Class, {{"NO", Type::Uint16}, {"On", Type::Boolean}, {"Load", Type::Real32}}};
    cmpisfcc::KeyTypes::Fetch mFetch = [this](const std::string& nameSpace,
                                              const std::string& className) {
        mAsked.push_back(nameSpace + ":" + className);
        return mFetched;
    };
    cmpisfcc::KeyTypes mTypes{[this] {
        return mNow;
    }};
};

TEST_F(KeyTypesTest, ATextBecomesAValueOfTheDeclaredType)
{
    EXPECT_EQ(settled("2"), "uint16 2");
    EXPECT_EQ(settled("0x1F"), "uint16 31");
    mFetched.types = {{"No", Type::Boolean}};
    cmpisfcc::KeyTypes booleans;
    std::swap(mTypes, booleans);
    EXPECT_EQ(settled("true"), "boolean TRUE");
}

TEST_F(KeyTypesTest, ATextThatIsNoValueOfTheTypeStays)
{
    EXPECT_EQ(settled("-2"), "string -2");
    EXPECT_EQ(settled("70000"), "string 70000");
    EXPECT_EQ(settled("true"), "string true");
}

TEST_F(KeyTypesTest, AKeyThatIsNoNumberInItsClassStays)
{
    mFetched.types.clear();
    EXPECT_EQ(settled("2"), "string 2");
    EXPECT_EQ(mAsked.size(), 1U);
}

TEST_F(KeyTypesTest, TextsThatCanOnlyBeTextsNeedNoClass)
{
    for (const char* text :
         {"Fan.1", "", " ", "JID_1", "1.2.3", "0x", "truth", "20240501102030.0+000"}) {
        EXPECT_EQ(settled(text), std::string("string ") + text);
    }
    EXPECT_TRUE(mAsked.empty());
}

TEST_F(KeyTypesTest, AClassIsAskedForOnce)
{
    for (const char* text : {"1", "2", "no number", "3"}) {
        (void)settled(text);
        mNow += 1h;
    }
    EXPECT_EQ(mAsked, std::vector<std::string>{"root/xcim:XCIM_Fan"});
}

TEST_F(KeyTypesTest, AClassInDoubtIsAskedForAgainAtMostOnceAMinute)
{
    (void)settled("1");
    mTypes.doubt();
    mNow += 59s;
    (void)settled("1");
    EXPECT_EQ(mAsked.size(), 1U);
    mNow += 1s;
    mFetched.types = {{"No", Type::Sint8}};
    EXPECT_EQ(settled("1"), "sint8 1");
    (void)settled("1");
    EXPECT_EQ(mAsked.size(), 2U);
    mNow += 1h; // no doubt any more
    (void)settled("1");
    EXPECT_EQ(mAsked.size(), 2U);
}

TEST_F(KeyTypesTest, OnlyTheClassesOfTheLastRequestAreInDoubt)
{
    (void)settled("1");
    (void)settled("no class needed");
    mTypes.doubt();
    mNow += 1h;
    (void)settled("1");
    EXPECT_EQ(mAsked.size(), 1U);
}

TEST_F(KeyTypesTest, AClassThatCannotBeHadLeavesTexts)
{
    mFetched = {Outcome::NoClass};
    EXPECT_EQ(settled("1"), "string 1");
    mFetched = {Outcome::Class, {{"No", Type::Uint8}}};
    EXPECT_EQ(settled("1"), "string 1");
    mNow += 1min;
    EXPECT_EQ(settled("1"), "uint8 1");
}

TEST_F(KeyTypesTest, WhereNobodyAnswersNothingIsSentAndNothingKept)
{
    mFetched = {Outcome::NoAnswer};
    EXPECT_EQ(settled("1"), "nothing");
    EXPECT_EQ(settled("Fan.1"), "string Fan.1");
    mFetched = {Outcome::Class, {{"No", Type::Uint8}}};
    EXPECT_EQ(settled("1"), "uint8 1");
}

TEST_F(KeyTypesTest, PathsAreFoundWhereverTheyAre)
{
    const auto reference = [] {
        return std::make_shared<const cimxml::ObjectPath>(path("2", "root/other"));
    };
    const auto shownReference = [](const cimxml::Scalar& scalar) {
        return shown(std::get<std::shared_ptr<const cimxml::ObjectPath>>(scalar)->keys[0]);
    };
    cimxml::Instance instance;
    instance.properties.push_back({"Slot", cimxml::Value::of(Type::Reference, reference())});
    instance.properties.push_back(
        {"Slots", cimxml::Value::array(Type::Reference, {reference(), {}})});
    cimxml::IntrinsicRequest request{
        "1",
        "ModifyInstance",
        "root/xcim",
        {{"ModifiedInstance", cimxml::NamedInstance{path("2"), instance}},
         {"NewInstance", instance},
         {"NewValue", cimxml::ReferenceValue{path("2")}},
         {"Flag", "TRUE"}}};
    ASSERT_TRUE(mTypes.settle(request, mFetch));
    const auto& named = std::get<cimxml::NamedInstance>(request.parameters[0].value);
    EXPECT_EQ(shown(named.path.keys[0]), "uint16 2");
    EXPECT_EQ(shownReference(named.instance.properties[0].value.scalar), "uint16 2");
    EXPECT_EQ(shownReference(named.instance.properties[1].value.elements[0]), "uint16 2");
    EXPECT_EQ(shown(std::get<cimxml::ReferenceValue>(request.parameters[2].value).path.keys[0]),
              "uint16 2");
    cimxml::ExtrinsicRequest call;
    call.object = path("2", "root/xcim");
    call.inputs.push_back({"Slot", cimxml::Value::of(Type::Reference, reference())});
    ASSERT_TRUE(mTypes.settle(call, mFetch));
    EXPECT_EQ(shown(call.object.keys[0]), "uint16 2");
    EXPECT_EQ(shownReference(call.inputs[0].value.scalar), "uint16 2");
    EXPECT_EQ(mAsked, (std::vector<std::string>{"root/xcim:XCIM_Fan", "root/other:XCIM_Fan"}));
}

TEST_F(KeyTypesTest, AKeyThatIsAReferenceIsLookedInto)
{
    cimxml::ObjectPath outer{.className = "XCIM_In"};
    outer.keys.push_back(
        {"Part", Type::Reference, std::make_shared<const cimxml::ObjectPath>(path("2"))});
    cimxml::IntrinsicRequest request{"1", "GetInstance", "root/xcim", {{"InstanceName", outer}}};
    ASSERT_TRUE(mTypes.settle(request, mFetch));
    const auto& key = std::get<cimxml::ObjectPath>(request.parameters[0].value).keys[0];
    EXPECT_EQ(shown(std::get<std::shared_ptr<const cimxml::ObjectPath>>(key.value)->keys[0]),
              "uint16 2");
}

} // namespace
