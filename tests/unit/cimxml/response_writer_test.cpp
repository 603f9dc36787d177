#include "recorder.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using cimxml::Type;
using cimxml::Value;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const cimxml::ObjectPath kWrittenPath = {
    "h", "root/xcim", "XCIM_Thing", {{"Id", Type::String, std::string("a\"b")}}};

cimxml::Instance thing(const Value& value)
{
    cimxml::Instance instance;
    instance.className = "XCIM_Thing";
    instance.properties.push_back({.name = "A", .value = value});
    return instance;
}

std::vector<std::string> readBack(const std::string& answer)
{
    Recorder recorder;
    cimxml::ResponseReader reader(recorder);
    EXPECT_TRUE(reader.feed(answer) && reader.finish()) << reader.problem() << '\n' << answer;
    return recorder.lines;
}

std::string written(const Value& value)
{
    cimxml::ResponseWriter writer("1", "GetInstance");
    writer.addInstance(thing(value));
    return writer.finish();
}

std::string roundTrip(const Value& value)
{
    return readBack(written(value)).at(1);
}

TEST(ResponseWriter, writes_a_whole_message)
{
    cimxml::ResponseWriter writer("a&b", "EnumerateClassNames");
    writer.addClassName("XCIM_Thing");
    EXPECT_EQ(writer.finish(),
              R"(<?xml version="1.0" encoding="utf-8"?><CIM CIMVERSION="2.0" DTDVERSION="2.0">)"
              R"(<MESSAGE ID="a&amp;b" PROTOCOLVERSION="1.0"><SIMPLERSP>)"
              R"(<IMETHODRESPONSE NAME="EnumerateClassNames"><IRETURNVALUE>)"
              R"(<CLASSNAME NAME="XCIM_Thing"/></IRETURNVALUE></IMETHODRESPONSE>)"
              R"(</SIMPLERSP></MESSAGE></CIM>)");
}

TEST(ResponseWriter, writes_every_kind_of_object)
{
    const Value five = Value::of(Type::Uint8, std::uint64_t{5});
    cimxml::Class cls;
    cls.name = "XCIM_Thing";
    cimxml::ResponseWriter writer("1", "Any");
    writer.addNamedInstance(kWrittenPath, thing(five));
    writer.addInstanceName(kWrittenPath);
    writer.addObjectPath(kWrittenPath);
    writer.addObjectWithPath(kWrittenPath, thing(five));
    writer.addClass(cls);
    writer.addValue(five);
    writer.addValue(Value::null(Type::Uint8));
    EXPECT_THAT(readBack(writer.finish()),
                ElementsAre("instance XCIM_Thing at XCIM_Thing.Id=\"a\"b\"", "A uint8 '5'",
                            "path XCIM_Thing.Id=\"a\"b\"",
                            "path //h/root/xcim:XCIM_Thing.Id=\"a\"b\"",
                            "instance XCIM_Thing at //h/root/xcim:XCIM_Thing.Id=\"a\"b\"",
                            "A uint8 '5'", "class XCIM_Thing at no path", "value string '5'"));
}

TEST(ResponseWriter, writes_every_type_so_that_it_reads_back)
{
    EXPECT_EQ(roundTrip(Value::of(Type::Boolean, true)), "A boolean 'TRUE'");
    EXPECT_EQ(roundTrip(Value::of(Type::Char16, std::string("<"))), "A char16 '<'");
    EXPECT_EQ(roundTrip(Value::of(Type::Uint64, ~std::uint64_t{0})),
              "A uint64 '18446744073709551615'");
    EXPECT_EQ(roundTrip(Value::of(Type::Sint8, std::int64_t{-128})), "A sint8 '-128'");
    EXPECT_EQ(roundTrip(Value::of(Type::Real32, 1.5)), "A real32 '1.5'");
    EXPECT_EQ(roundTrip(Value::of(Type::Real64, -1e-300)), "A real64 '-1.0e-300'");
    EXPECT_EQ(roundTrip(Value::of(Type::DateTime, std::string("20240229235959.123456+060"))),
              "A datetime '20240229235959.123456+060'");
    EXPECT_EQ(roundTrip(Value::of(Type::Reference,
                                  std::make_shared<const cimxml::ObjectPath>(kWrittenPath))),
              "A reference '[//h/root/xcim:XCIM_Thing.Id=\"a\"b\"]'");
    EXPECT_EQ(roundTrip(Value::of(Type::String, std::string())), "A string ''");
    EXPECT_EQ(roundTrip(Value::null(Type::String)), "A string null");
}

TEST(ResponseWriter, writes_arrays_with_nulls)
{
    EXPECT_EQ(roundTrip(Value::array(Type::Sint16, {std::int64_t{-1}, std::monostate()})),
              "A sint16[] '-1' 'null'");
    EXPECT_EQ(roundTrip(Value::array(Type::String, {std::string(), std::string(" ")})),
              "A string[] '' ' '");
    EXPECT_EQ(roundTrip(Value::array(Type::String, {})), "A string[]");
    EXPECT_EQ(roundTrip(Value::null(Type::String, true)), "A string[] null");
}

TEST(ResponseWriter, escapes_what_xml_reads_otherwise)
{
    const std::string text = " <&>\"'\t\n\r\r\n]]> \xF0\x9F\x98\x80";
    EXPECT_EQ(roundTrip(Value::of(Type::String, text)), "A string '" + text + '\'');
    EXPECT_THAT(written(Value::of(Type::String, std::string("a\r"))), HasSubstr("a&#13;<"));
}

TEST(ResponseWriter, keeps_line_ends_in_attributes)
{
    EXPECT_THAT(readBack(cimxml::encodeErrorResponse("1", "Op", {4, "a\n\t\r\"b"})),
                ElementsAre("error 4 a\n\t\r\"b"));
}

TEST(ResponseWriter, replaces_what_xml_cannot_carry)
{
    using namespace std::string_literals;
    const std::string replaced = "\xEF\xBF\xBD";
    EXPECT_EQ(roundTrip(Value::of(Type::String, "a\0b\x01"s)),
              "A string 'a" + replaced + 'b' + replaced + '\'');
    EXPECT_EQ(roundTrip(Value::of(Type::String, "\xEF\xBF\xBE"s)),
              "A string '" + replaced + replaced + replaced + '\'');
    EXPECT_EQ(roundTrip(Value::of(Type::String, "\xED\xA0\x80"s)),
              "A string '" + replaced + replaced + replaced + '\'');
    EXPECT_EQ(roundTrip(Value::of(Type::String, "\xE2\x82"s)),
              "A string '" + replaced + replaced + '\'');
}

TEST(Responses, tell_that_nothing_is_returned)
{
    EXPECT_THAT(readBack(cimxml::encodeEmptyResponse("1", "DeleteInstance")), IsEmpty());
    cimxml::ResponseWriter writer("1", "EnumerateInstances");
    EXPECT_THAT(readBack(writer.finish()), IsEmpty());
}

TEST(Responses, tell_what_a_method_returns)
{
    const cimxml::MethodParameter result = {.value = Value::of(Type::Uint32, std::uint64_t{0})};
    cimxml::MethodParameter untyped = {
        .name = "Text", .value = Value::of(Type::String, std::string("x")), .hasType = false};
    cimxml::MethodParameter object = {.name = "Object",
                                      .value = Value::of(Type::String, std::string("<a/>")),
                                      .embedded = cimxml::Embedded::Instance};
    EXPECT_THAT(readBack(cimxml::encodeMethodResponse("1", "Reset", &result, {untyped, object})),
                ElementsAre("returned uint32 '0'", "output Text untyped string 'x'",
                            "output Object instance string '<a/>'"));
    EXPECT_THAT(readBack(cimxml::encodeMethodResponse("1", "Reset", nullptr, {})), IsEmpty());
    EXPECT_THAT(readBack(cimxml::encodeMethodErrorResponse("1", "Reset", {17, "no such method"})),
                ElementsAre("error 17 no such method"));
}

} // namespace
