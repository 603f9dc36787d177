// With strict types only what has the declared type, or none, is taken.
#include "SampleModel.h"
#include "cim_status.h"
#include "strict_types.h"

#include <gtest/gtest.h>

namespace {

using cimxml::Type;

class StrictTypes : public testing::Test
{
protected:
    StrictTypes()
    {
        cimxml::Class fan = sample::cls("Fan", "",
                                        {sample::key("Number", Type::Uint32),
                                         sample::property("Speed", Type::Uint16),
                                         sample::property("Slot", Type::Reference)});
        fan.methods.push_back(
            {.name = "Stop",
             .parameters = {{.name = "Seconds", .type = Type::Uint16},
                            {.name = "Names", .type = Type::String, .isArray = true},
                            {.name = "Other", .type = Type::Reference}}});
        sample::declare(mNameSpace,
                        {std::move(fan), sample::cls("Named", "",
                                                     {sample::key("Id", Type::String),
                                                      sample::key("On", Type::Boolean),
                                                      sample::key("Since", Type::DateTime)})});
    }

    // 0, or the code of the error.
    unsigned int codeOf(const cimxml::IntrinsicValue& value)
    {
        cimxml::CimError error;
        return cimomd::checkTypes(cimxml::IntrinsicRequest{"1", "Any", "root/xcim", {{"P", value}}},
                                  mNameSpace.classes(), error)
                   ? 0
                   : error.code;
    }
    unsigned int codeOfCall(const cimxml::MethodParameter& input,
                            const cimxml::ObjectPath& object = {.className = "Fan"})
    {
        cimxml::CimError error;
        return cimomd::checkTypes(cimxml::ExtrinsicRequest{"1", "Stop", object, true, {input}},
                                  mNameSpace.classes(), error)
                   ? 0
                   : error.code;
    }
    static cimxml::ObjectPath fan(Type type, cimxml::Scalar number, bool hasType = false)
    {
        return {.className = "fan", .keys = {{"number", type, std::move(number), hasType}}};
    }
    static cimxml::ObjectPath named(const char* key, Type type, cimxml::Scalar value)
    {
        return {.className = "Named", .keys = {{key, type, std::move(value)}}};
    }

    cimomd::NameSpace mNameSpace{"root/xcim"};
};

TEST_F(StrictTypes, AKeyIsOfItsKind)
{
    EXPECT_EQ(codeOf(fan(Type::Uint64, std::uint64_t{2})), 0U);
    EXPECT_EQ(codeOf(fan(Type::Sint64, std::int64_t{-2})), 0U); // numeric, if out of range
    EXPECT_EQ(codeOf(fan(Type::String, "2")), cimomd::kInvalidParameter);
    EXPECT_EQ(codeOf(fan(Type::Boolean, true)), cimomd::kInvalidParameter);
    EXPECT_EQ(codeOf(named("Id", Type::String, "2")), 0U);
    EXPECT_EQ(codeOf(named("Id", Type::Uint64, std::uint64_t{2})), cimomd::kInvalidParameter);
    EXPECT_EQ(codeOf(named("On", Type::Boolean, true)), 0U);
    EXPECT_EQ(codeOf(named("On", Type::String, "true")), cimomd::kInvalidParameter);
    EXPECT_EQ(codeOf(named("On", Type::Uint64, std::uint64_t{1})), cimomd::kInvalidParameter);
    EXPECT_EQ(codeOf(named("Since", Type::String, "20240501102030.000000+000")), 0U);
    EXPECT_EQ(codeOf(named("Unknown", Type::Boolean, true)), 0U);
}

TEST_F(StrictTypes, AKeyWithATypeIsOfThatType)
{
    EXPECT_EQ(codeOf(fan(Type::Uint32, std::uint64_t{2}, true)), 0U);
    EXPECT_EQ(codeOf(fan(Type::Uint16, std::uint64_t{2}, true)), cimomd::kInvalidParameter);
}

TEST_F(StrictTypes, KeysAreLookedAtWhereverAPathIs)
{
    const cimxml::ObjectPath wrong = fan(Type::String, "2");
    EXPECT_EQ(codeOf(cimxml::ReferenceValue{wrong}), cimomd::kInvalidParameter);
    EXPECT_EQ(codeOf(cimxml::NamedInstance{wrong, {}}), cimomd::kInvalidParameter);
    EXPECT_EQ(codeOf(cimxml::Instance{.className = "Fan",
                                      .properties = {sample::property("Slot", Type::Reference,
                                                                      sample::reference(wrong))}}),
              cimomd::kInvalidParameter);
    EXPECT_EQ(codeOfCall({"Other", cimxml::Value::of(Type::Reference, sample::reference(wrong))}),
              cimomd::kInvalidParameter);
    EXPECT_EQ(codeOfCall({}, wrong), cimomd::kInvalidParameter);
}

TEST_F(StrictTypes, AParameterHasTheDeclaredTypeOrNone)
{
    const cimxml::Value text = cimxml::Value::of(Type::String, "5");
    EXPECT_EQ(codeOfCall({"Seconds", cimxml::Value::of(Type::Uint16, std::uint64_t{5})}), 0U);
    EXPECT_EQ(codeOfCall({"Seconds", text}), cimomd::kInvalidParameter);
    EXPECT_EQ(codeOfCall({"Seconds", text, false}), 0U);
    EXPECT_EQ(codeOfCall({"Seconds", cimxml::Value::of(Type::Uint32, std::uint64_t{5})}),
              cimomd::kInvalidParameter);
    EXPECT_EQ(codeOfCall({"Names", cimxml::Value::array(Type::Uint16, {std::uint64_t{5}})}),
              cimomd::kInvalidParameter);
    EXPECT_EQ(codeOfCall({"Unknown", text}), 0U);
}

TEST_F(StrictTypes, APropertyHasTheDeclaredType)
{
    const auto codeOfSpeed = [this](Type type, cimxml::Scalar value) {
        return codeOf(cimxml::Instance{
            .className = "Fan", .properties = {sample::property("Speed", type, std::move(value))}});
    };
    EXPECT_EQ(codeOfSpeed(Type::Uint16, std::uint64_t{5}), 0U);
    EXPECT_EQ(codeOfSpeed(Type::String, "5"), cimomd::kTypeMismatch);
}

} // namespace
