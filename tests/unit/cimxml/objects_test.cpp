#include "recorder.h"

#include <cimxml/objects.h>
#include <gmock/gmock.h>

#include <string>

namespace {

using cimxml::Type;
using cimxml::Value;
using testing::HasSubstr;

cimxml::Class sampleClass()
{
    const cimxml::Qualifier key = {
        .name = "Key", .value = Value::of(Type::Boolean, true), .overridable = false};
    cimxml::Class cls = {.name = "XCIM_Thing", .superClass = "XCIM_Base"};
    cls.qualifiers.push_back({.name = "Version",
                              .value = Value::of(Type::String, std::string("1")),
                              .propagated = true,
                              .toSubclass = false,
                              .toInstance = true,
                              .translatable = true});
    cls.properties.push_back({.name = "Id",
                              .value = Value::null(Type::String),
                              .embedded = cimxml::Embedded::Instance,
                              .propagated = true,
                              .classOrigin = "XCIM_Base",
                              .qualifiers = {key}});
    cls.properties.push_back(
        {.name = "List", .value = Value::array(Type::Uint8, {std::uint64_t{1}}), .arraySize = 4});
    cls.properties.push_back(
        {.name = "Part", .value = Value::null(Type::Reference), .referenceClass = "XCIM_Part"});
    cls.methods.push_back(
        {.name = "Reset",
         .returnType = Type::Uint32,
         .propagated = true,
         .classOrigin = "XCIM_Base",
         .parameters = {{.name = "A", .type = Type::Uint8, .qualifiers = {key}},
                        {.name = "B", .type = Type::Reference, .referenceClass = "C"},
                        {.name = "C", .type = Type::Sint8, .isArray = true, .arraySize = 2},
                        {.name = "D", .type = Type::Reference, .isArray = true}},
         .qualifiers = {key}});
    cls.methods.push_back({.name = "Ping"});
    return cls;
}

TEST(EncodedClass, reads_back_whole)
{
    const std::string xml = cimxml::encodeClass(sampleClass());
    cimxml::Class cls;
    std::string problem;
    ASSERT_TRUE(cimxml::decodeClass(xml, cls, problem)) << problem << '\n' << xml;
    // The text holds every part, so that one that was lost would show.
    EXPECT_EQ(cimxml::encodeClass(cls), xml);
    EXPECT_EQ(cls.superClass, "XCIM_Base");
    EXPECT_FALSE(cls.findProperty("Id")->qualifiers.at(0).overridable);
    EXPECT_EQ(lineOf(cls.findProperty("List")->value), "uint8[] '1'");
    EXPECT_EQ(cls.findProperty("Part")->referenceClass, "XCIM_Part");
    const cimxml::Method& reset = *cls.findMethod("Reset");
    EXPECT_EQ(reset.returnType, Type::Uint32);
    EXPECT_EQ(reset.parameters.at(2).arraySize, 2U);
    EXPECT_TRUE(reset.parameters.at(3).isArray);
    EXPECT_EQ(reset.parameters.at(3).type, Type::Reference);
    EXPECT_EQ(cls.findMethod("Ping")->returnType, std::nullopt);
}

TEST(EncodedClass, says_only_what_is_not_the_default)
{
    cimxml::Class cls = {.name = "A"};
    cls.qualifiers.push_back({.name = "Q", .value = Value::null(Type::String)});
    EXPECT_EQ(cimxml::encodeClass(cls),
              R"(<CLASS NAME="A"><QUALIFIER NAME="Q" TYPE="string"></QUALIFIER></CLASS>)");
}

TEST(EncodedInstance, may_be_a_value_of_another)
{
    cimxml::Instance inner = {.className = "Inner"};
    inner.properties.push_back({.name = "A", .value = Value::of(Type::String, std::string("<&"))});
    cimxml::Instance outer = {.className = "Outer"};
    outer.properties.push_back({.name = "Object",
                                .value = Value::of(Type::String, cimxml::encodeInstance(inner)),
                                .embedded = cimxml::Embedded::Instance});
    cimxml::Instance read;
    std::string problem;
    ASSERT_TRUE(cimxml::decodeInstance(cimxml::encodeInstance(outer), read, problem)) << problem;
    const cimxml::Property& object = read.properties.at(0);
    EXPECT_EQ(object.embedded, cimxml::Embedded::Instance);
    cimxml::Instance readInner;
    ASSERT_TRUE(
        cimxml::decodeInstance(std::get<std::string>(object.value.scalar), readInner, problem));
    EXPECT_EQ(lineOf(readInner.properties.at(0).value), "string '<&'");
}

TEST(DecodedObject, is_refused_with_what_is_wrong)
{
    cimxml::Instance instance;
    cimxml::Class cls;
    std::string problem;
    EXPECT_FALSE(cimxml::decodeInstance("<CLASS NAME='A'/>", instance, problem));
    EXPECT_EQ(problem, "the document is not INSTANCE");
    EXPECT_FALSE(cimxml::decodeInstance("<INSTANCE", instance, problem));
    EXPECT_EQ(problem, "the document breaks off");
    EXPECT_FALSE(cimxml::decodeInstance("<INSTANCE CLASSNAME='A'><PROPERTY NAME='B' TYPE='boolean'>"
                                        "<VALUE>maybe</VALUE></PROPERTY></INSTANCE>",
                                        instance, problem));
    EXPECT_EQ(problem, "\"maybe\" is no value of type boolean");
    EXPECT_FALSE(
        cimxml::decodeClass("<CLASS NAME='A'><METHOD NAME='M' TYPE='int'/></CLASS>", cls, problem));
    EXPECT_THAT(problem, HasSubstr("METHOD \"M\" has an unusable TYPE"));
}

} // namespace
