#include "recorder.h"

#include <cimxml/request.h>
#include <gmock/gmock.h>

#include <memory>
#include <ostream>
#include <string>

namespace {

using cimxml::ExtrinsicRequest;
using cimxml::IntrinsicRequest;
using cimxml::RequestFault;
using cimxml::Type;
using cimxml::Value;
using testing::HasSubstr;

const cimxml::ObjectPath kPath = {
    "", "root/xcim", "XCIM_Thing", {{"Id", Type::String, std::string("a")}}};

template <class Call>
Call decoded(const std::string& body)
{
    auto result = cimxml::decodeRequest(body);
    if (const auto* fault = std::get_if<RequestFault>(&result)) {
        ADD_FAILURE() << fault->cimError << ": " << fault->message << '\n' << body;
        return {};
    }
    return std::get<Call>(std::get<cimxml::Request>(result));
}

RequestFault faultOf(const std::string& body)
{
    const auto result = cimxml::decodeRequest(body);
    const auto* fault = std::get_if<RequestFault>(&result);
    return fault != nullptr ? *fault : RequestFault{"none", ""};
}

cimxml::IntrinsicValue roundTrip(const cimxml::IntrinsicValue& value)
{
    const auto request = decoded<IntrinsicRequest>(
        cimxml::encodeRequest(IntrinsicRequest{"1", "Op", "root", {{"P", value}}}));
    return request.parameters.at(0).value;
}

TEST(IntrinsicRequest, reads_back)
{
    const auto request = decoded<IntrinsicRequest>(cimxml::encodeRequest(IntrinsicRequest{
        "4<2", "GetInstance", "root/xcim", {{"InstanceName", kPath}, {"Null", std::monostate()}}}));
    EXPECT_EQ(request.messageId, "4<2");
    EXPECT_EQ(request.operation, "GetInstance");
    EXPECT_EQ(request.nameSpace, "root/xcim");
    ASSERT_EQ(request.parameters.size(), 2U);
    EXPECT_EQ(request.parameters[0].name, "InstanceName");
    EXPECT_EQ(cimxml::pathText(std::get<cimxml::ObjectPath>(request.parameters[0].value)),
              cimxml::pathText(kPath));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(request.parameters[1].value));
}

TEST(IntrinsicRequest, carries_every_kind_of_value)
{
    EXPECT_EQ(std::get<std::string>(roundTrip(std::string(" a&b "))), " a&b ");
    EXPECT_EQ(std::get<std::string>(roundTrip(std::string())), "");
    const cimxml::TextArray texts = {"a", std::nullopt, ""};
    EXPECT_EQ(std::get<cimxml::TextArray>(roundTrip(texts)), texts);
    EXPECT_TRUE(std::get<cimxml::TextArray>(roundTrip(cimxml::TextArray())).empty());
    EXPECT_EQ(std::get<cimxml::ClassName>(roundTrip(cimxml::ClassName{"C"})).name, "C");
    const auto reference =
        std::get<cimxml::ReferenceValue>(roundTrip(cimxml::ReferenceValue{kPath}));
    EXPECT_EQ(lineOf(reference.path), "root/xcim:XCIM_Thing.Id=\"a\"");
    const cimxml::Instance instance = {
        .className = "XCIM_Thing",
        .properties = {{.name = "A", .value = Value::of(Type::Sint8, std::int64_t{-1})}}};
    const auto sent = std::get<cimxml::Instance>(roundTrip(instance));
    EXPECT_EQ(sent.className, "XCIM_Thing");
    EXPECT_EQ(lineOf(sent.find("a")->value), "sint8 '-1'");
    const auto named =
        std::get<cimxml::NamedInstance>(roundTrip(cimxml::NamedInstance{kPath, instance}));
    EXPECT_EQ(cimxml::pathText(named.path), cimxml::pathText(kPath));
    EXPECT_EQ(named.instance.properties.size(), 1U);
    EXPECT_EQ(std::get<cimxml::Class>(roundTrip(cimxml::Class{.name = "C"})).name, "C");
    EXPECT_EQ(
        std::get<cimxml::OtherElement>(roundTrip(cimxml::OtherElement{"QUALIFIER.DECLARATION"}))
            .elementName,
        "QUALIFIER.DECLARATION");
}

TEST(IntrinsicRequest, carries_keys_of_every_type)
{
    const auto inner = std::make_shared<const cimxml::ObjectPath>(kPath);
    const cimxml::ObjectPath path = {
        "",
        "",
        "C",
        {{"s", Type::String, std::string("5")},
         {"b", Type::Boolean, true},
         {"u", Type::Uint8, std::uint64_t{5}, true},
         {"i", Type::Sint64, std::int64_t{-5}},
         {"d", Type::DateTime, std::string("20240229235959.123456+060"), true},
         {"r", Type::Reference, inner}}};
    const auto sent = std::get<cimxml::ObjectPath>(roundTrip(path));
    EXPECT_EQ(lineOf(sent), lineOf(path));
    EXPECT_EQ(sent.findKey("u")->type, Type::Uint8);
    EXPECT_TRUE(sent.findKey("u")->hasType);
    EXPECT_EQ(sent.findKey("i")->type, Type::Sint64);
    EXPECT_FALSE(sent.findKey("i")->hasType);
    EXPECT_EQ(sent.findKey("d")->type, Type::DateTime);
    const cimxml::ObjectPath unnamed = {"", "", "C", {{"", Type::String, std::string("x")}}};
    EXPECT_EQ(cimxml::pathText(std::get<cimxml::ObjectPath>(roundTrip(unnamed))),
              cimxml::pathText(unnamed));
    const cimxml::ObjectPath single = {"", "", "C", {}};
    EXPECT_EQ(cimxml::pathText(std::get<cimxml::ObjectPath>(roundTrip(single))),
              cimxml::pathText(single));
}

TEST(ExtrinsicRequest, reads_back_for_an_instance)
{
    const ExtrinsicRequest sent = {
        "1",
        "Reset",
        kPath,
        true,
        {{"Count", Value::of(Type::Uint16, std::uint64_t{7})},
         {"Any", Value::of(Type::String, std::string("7")), false},
         {"List", Value::array(Type::Boolean, {true, std::monostate()})},
         {"Ref", Value::of(Type::Reference, std::make_shared<const cimxml::ObjectPath>(kPath))},
         {"Object", Value::of(Type::String, std::string("<a/>")), true, cimxml::Embedded::Object},
         {"Null", Value::null(Type::Uint8)}}};
    const auto request = decoded<ExtrinsicRequest>(cimxml::encodeRequest(sent));
    EXPECT_EQ(request.method, "Reset");
    EXPECT_TRUE(request.isInstance);
    EXPECT_EQ(lineOf(request.object), "root/xcim:XCIM_Thing.Id=\"a\"");
    ASSERT_EQ(request.inputs.size(), sent.inputs.size());
    for (std::size_t i = 0; i < sent.inputs.size(); ++i) {
        EXPECT_EQ(request.inputs[i].name, sent.inputs[i].name);
        EXPECT_EQ(lineOf(request.inputs[i].value), lineOf(sent.inputs[i].value));
        EXPECT_EQ(request.inputs[i].hasType, sent.inputs[i].hasType);
        EXPECT_EQ(request.inputs[i].embedded, sent.inputs[i].embedded);
    }
}

TEST(ExtrinsicRequest, reads_back_for_a_class)
{
    const auto request = decoded<ExtrinsicRequest>(
        cimxml::encodeRequest(ExtrinsicRequest{"1", "Reset", {"", "root", "C", {}}, false, {}}));
    EXPECT_FALSE(request.isInstance);
    EXPECT_EQ(lineOf(request.object), "root:C");
}

std::string message(const std::string& content)
{
    return R"(<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" PROTOCOLVERSION="1.0">)" +
           content + "</MESSAGE></CIM>";
}

std::string call(const std::string& parameters)
{
    return message(R"(<SIMPLEREQ><IMETHODCALL NAME="Op"><LOCALNAMESPACEPATH>)"
                   R"(<NAMESPACE NAME="root"/></LOCALNAMESPACEPATH>)" +
                   parameters + "</IMETHODCALL></SIMPLEREQ>");
}

TEST(DecodeRequest, accepts_layout_and_later_minor_versions)
{
    const std::string body =
        "\xEF\xBB\xBF<?xml version=\"1.0\" encoding='UTF-8' ?>\n<!-- c -->\n"
        "<CIM CIMVERSION=\"2.3\" DTDVERSION=\"2.4\">\n <MESSAGE PROTOCOLVERSION=\"1.4\" ID=\"1\">\n"
        "  <SIMPLEREQ>\n <IMETHODCALL NAME=\"Op\">\n <LOCALNAMESPACEPATH/>\n"
        "  <IPARAMVALUE NAME=\"A\">\n <VALUE>x</VALUE>\n </IPARAMVALUE>\n"
        " </IMETHODCALL> </SIMPLEREQ> </MESSAGE> </CIM>\n";
    const auto request = decoded<IntrinsicRequest>(body);
    EXPECT_EQ(request.operation, "Op");
    EXPECT_EQ(std::get<std::string>(request.parameters.at(0).value), "x");
}

struct Faulty
{
    std::string body;
    const char* cimError;
    const char* text;
};

void PrintTo(const Faulty& one, std::ostream* out)
{
    *out << one.body;
}

class FaultyRequest : public testing::TestWithParam<Faulty>
{};

TEST_P(FaultyRequest, is_told_by_its_error_header)
{
    const RequestFault fault = faultOf(GetParam().body);
    EXPECT_EQ(fault.cimError, GetParam().cimError);
    EXPECT_THAT(fault.message, HasSubstr(GetParam().text));
}

std::string deepNesting()
{
    std::string body;
    for (int i = 0; i < 100; ++i) {
        body += "<A>";
    }
    return body;
}

const Faulty kFaulty[] = {
    {"", "request-not-well-formed", "breaks off"},
    {"   ", "request-not-well-formed", "breaks off"},
    {"GET /", "request-not-well-formed", ""},
    {"<CIM>", "request-not-well-formed", "breaks off"},
    {"<CIM></MESSAGE>", "request-not-well-formed", "mismatch"},
    {"<CIM></CIM></CIM>", "request-not-well-formed", "end tag without a start tag"},
    {"<CIM/><CIM/>", "request-not-well-formed", "behind the end"},
    {"<CIM/>text", "request-not-well-formed", "text outside"},
    {"text<CIM/>", "request-not-well-formed", "text outside"},
    {"<CIM/><![CDATA[]]>", "request-not-well-formed", "CDATA outside"},
    {"<!DOCTYPE CIM><CIM/>", "request-not-well-formed", "document type declaration"},
    {"<?xml version='1.0' encoding='latin1'?><CIM/>", "request-not-well-formed", "UTF-8"},
    {"<?xml version='1.0' encoding?><CIM/>", "request-not-well-formed", "UTF-8"},
    {call("<IPARAMVALUE NAME='A'><VALUE>&x;</VALUE></IPARAMVALUE>"), "request-not-well-formed",
     "entity"},
    {call("\x02"), "request-not-well-formed", "not allowed"},
    {deepNesting(), "request-not-well-formed", "nested too deeply"},
    {"<html/>", "request-not-valid", "not CIM"},
    {"<CIM CIMVERSION='2.0' DTDVERSION='2.0'/>", "request-not-valid", "incomplete"},
    {"<CIM CIMVERSION='2.0'/>", "request-not-valid", "without DTDVERSION"},
    {"<CIM CIMVERSION='2.0' DTDVERSION='2.0'><DECLARATION/></CIM>", "request-not-valid",
     "no MESSAGE"},
    {message("<SIMPLEREQ/>"), "request-not-valid", "SIMPLEREQ is incomplete"},
    {message("<SIMPLEEXPREQ/>"), "request-not-valid", "may not hold SIMPLEEXPREQ"},
    {message("<SIMPLEREQ><IMETHODCALL/></SIMPLEREQ>"), "request-not-valid", "without NAME"},
    {message("<SIMPLEREQ><IMETHODCALL NAME='A'/></SIMPLEREQ>"), "request-not-valid", "incomplete"},
    {call("text"), "request-not-valid", "may not hold text"},
    {call("<IPARAMVALUE/>"), "request-not-valid", "without NAME"},
    {call("<IPARAMVALUE NAME='A'><VALUE/><VALUE/></IPARAMVALUE>"), "request-not-valid", "too much"},
    {call("<IPARAMVALUE NAME='A'><INSTANCE CLASSNAME='C'><PROPERTY NAME='P' TYPE='uint8'>"
          "<VALUE>300</VALUE></PROPERTY></INSTANCE></IPARAMVALUE>"),
     "request-not-valid", "\"300\" is no value of type uint8"},
    {message("<SIMPLEREQ><METHODCALL NAME='M'><LOCALCLASSPATH><LOCALNAMESPACEPATH/>"
             "<CLASSNAME NAME='C'/></LOCALCLASSPATH><PARAMVALUE/></METHODCALL></SIMPLEREQ>"),
     "request-not-valid", "PARAMVALUE is without NAME"},
    {"<CIM CIMVERSION='1.0' DTDVERSION='2.0'/>", "unsupported-cim-version", ""},
    {"<CIM CIMVERSION='2.0' DTDVERSION='3.0'/>", "unsupported-dtd-version", ""},
    {"<CIM CIMVERSION='2.0' DTDVERSION='2.0'><MESSAGE ID='1' PROTOCOLVERSION='2.0'/></CIM>",
     "unsupported-protocol-version", ""},
    {message("<MULTIREQ><SIMPLEREQ/><SIMPLEREQ/></MULTIREQ>"), "multiple-requests-unsupported", ""},
};

INSTANTIATE_TEST_SUITE_P(Bodies, FaultyRequest, testing::ValuesIn(kFaulty));

} // namespace
