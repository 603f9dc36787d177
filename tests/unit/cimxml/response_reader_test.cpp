#include "recorder.h"

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kHead = R"(<?xml version="1.0" encoding="utf-8"?>)"
                          R"(<CIM CIMVERSION="2.0" DTDVERSION="2.0">)"
                          R"(<MESSAGE ID="7" PROTOCOLVERSION="1.0"><SIMPLERSP>)";
const std::string kTail = "</SIMPLERSP></MESSAGE></CIM>";

std::string operation(const std::string& content)
{
    return kHead + R"(<IMETHODRESPONSE NAME="Op">)" + content + "</IMETHODRESPONSE>" + kTail;
}

std::string returned(const std::string& objects)
{
    return operation("<IRETURNVALUE>" + objects + "</IRETURNVALUE>");
}

std::string method(const std::string& content)
{
    return kHead + R"(<METHODRESPONSE NAME="Reset">)" + content + "</METHODRESPONSE>" + kTail;
}

std::string instance(const std::string& properties)
{
    return R"(<INSTANCE CLASSNAME="XCIM_Thing">)" + properties + "</INSTANCE>";
}

// What comes of an answer, fed in pieces of this size; its last line is the problem, where there is
// one.
std::vector<std::string> read(const std::string& answer, std::size_t pieceBytes = 1000)
{
    Recorder recorder;
    cimxml::ResponseReader reader(recorder);
    for (std::size_t i = 0; i < answer.size(); i += pieceBytes) {
        if (!reader.feed(std::string_view(answer).substr(i, pieceBytes))) {
            break;
        }
    }
    const bool isComplete = reader.finish();
    EXPECT_EQ(isComplete, reader.problem().empty());
    if (!reader.problem().empty()) {
        recorder.lines.push_back("problem: " + reader.problem());
    }
    return recorder.lines;
}

std::vector<std::string> readProperty(const std::string& property)
{
    std::vector<std::string> lines = read(returned(instance(property)));
    lines.erase(lines.begin());
    return lines;
}

TEST(ResponseReader, gives_named_instances)
{
    const std::string answer = returned(
        R"(<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME="XCIM_Thing"><KEYBINDING NAME="Id">)"
        R"(<KEYVALUE VALUETYPE="string">a</KEYVALUE></KEYBINDING></INSTANCENAME>)" +
        instance(R"(<PROPERTY NAME="Port" TYPE="uint32"><VALUE>5</VALUE></PROPERTY>)") +
        "</VALUE.NAMEDINSTANCE>");
    EXPECT_THAT(read(answer),
                ElementsAre("instance XCIM_Thing at XCIM_Thing.Id=\"a\"", "Port uint32 '5'"));
}

TEST(ResponseReader, gives_the_same_however_the_answer_is_split)
{
    const std::string answer =
        returned("<!-- <a> --><?pi <b>?>" +
                 instance(R"(<PROPERTY NAME="A" TYPE="string"><VALUE>x<![CDATA[</VALUE>]]]]>)"
                          R"(<!-- > -->&amp;&#x20AC;</VALUE></PROPERTY><PROPERTY NAME='">')"
                          R"( TYPE='uint8'/>)") +
                 "\n" + instance("") + R"(<CLASSNAME NAME="XCIM_Thing"/>)");
    const std::vector<std::string> whole = read(answer, answer.size());
    EXPECT_THAT(whole, ElementsAre("instance XCIM_Thing at no path",
                                   "A string 'x</VALUE>]]&\xE2\x82\xAC'", "\"> uint8 null",
                                   "instance XCIM_Thing at no path", "class name XCIM_Thing"));
    for (std::size_t pieceBytes = 1; pieceBytes < answer.size(); ++pieceBytes) {
        ASSERT_EQ(read(answer, pieceBytes), whole) << pieceBytes;
    }
}

TEST(ResponseReader, finds_the_end_of_a_listed_object_wherever_its_end_tag_is_quoted)
{
    const std::string name = R"(<INSTANCENAME CLASSNAME="C"/>)";
    const auto named = [&name](const std::string& value) {
        return "<VALUE.NAMEDINSTANCE>" + name +
               instance(R"(<PROPERTY NAME="A" TYPE="string"><VALUE>)" + value +
                        "</VALUE></PROPERTY>");
    };
    const std::string end = "</VALUE.NAMEDINSTANCE>";
    const std::string answer =
        returned(named("<![CDATA[" + end + "]]>") + end + named("<!--" + end + "-->!") + end +
                 named("<?a " + end + "?>?") + end + named("a!?") + "</VALUE.NAMEDINSTANCE\n >");
    const std::vector<std::string> whole = read(answer, answer.size());
    EXPECT_THAT(whole,
                ElementsAre("instance XCIM_Thing at C", "A string '" + end + "'",
                            "instance XCIM_Thing at C", "A string '!'", "instance XCIM_Thing at C",
                            "A string '?'", "instance XCIM_Thing at C", "A string 'a!?'"));
    for (std::size_t pieceBytes = 1; pieceBytes < answer.size(); ++pieceBytes) {
        ASSERT_EQ(read(answer, pieceBytes), whole) << pieceBytes;
    }
}

TEST(ResponseReader, tells_message_id_and_operation)
{
    Recorder recorder;
    cimxml::ResponseReader reader(recorder);
    EXPECT_TRUE(reader.feed(operation("")) && reader.finish());
    EXPECT_EQ(reader.messageId(), "7");
    EXPECT_EQ(reader.operation(), "Op");
    EXPECT_THAT(recorder.lines, IsEmpty());
}

TEST(ResponseReader, accepts_answers_that_return_nothing)
{
    EXPECT_THAT(read(operation("")), IsEmpty());
    EXPECT_THAT(read(operation("<IRETURNVALUE/>")), IsEmpty());
    EXPECT_THAT(read(returned("  \n")), IsEmpty());
    EXPECT_THAT(read(kHead + R"(<IMETHODRESPONSE NAME="Op"/>)" + kTail), IsEmpty());
    EXPECT_THAT(read("\xEF\xBB\xBF" + operation("") + "\r\n<!-- end -->\n"), IsEmpty());
}

TEST(ResponseReader, gives_each_kind_of_path)
{
    const std::string name = R"(<INSTANCENAME CLASSNAME="C"/>)";
    const std::string local =
        R"(<LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="xcim"/></LOCALNAMESPACEPATH>)";
    const std::string full = "<NAMESPACEPATH><HOST>h</HOST>" + local + "</NAMESPACEPATH>";
    EXPECT_THAT(read(returned(name + "<INSTANCEPATH>" + full + name + "</INSTANCEPATH>" +
                              "<OBJECTPATH><INSTANCEPATH>" + full + name +
                              "</INSTANCEPATH></OBJECTPATH>" + "<OBJECTPATH><CLASSPATH>" + full +
                              R"(<CLASSNAME NAME="D"/></CLASSPATH></OBJECTPATH>)")),
                ElementsAre("path C", "path //h/root/xcim:C", "path //h/root/xcim:C",
                            "path class //h/root/xcim:D"));
    EXPECT_THAT(read(returned("<VALUE.OBJECTWITHPATH><INSTANCEPATH>" + full + name +
                              "</INSTANCEPATH>" + instance("") +
                              "</VALUE.OBJECTWITHPATH><VALUE.OBJECTWITHLOCALPATH>"
                              "<LOCALINSTANCEPATH>" +
                              local + name + "</LOCALINSTANCEPATH>" + instance("") +
                              "</VALUE.OBJECTWITHLOCALPATH><VALUE.OBJECT>" + instance("") +
                              "</VALUE.OBJECT>")),
                ElementsAre("instance XCIM_Thing at //h/root/xcim:C",
                            "instance XCIM_Thing at root/xcim:C",
                            "instance XCIM_Thing at no path"));
}

TEST(ResponseReader, gives_keys_of_each_type)
{
    const std::string answer = returned(
        R"(<INSTANCENAME CLASSNAME="C"><KEYBINDING NAME="s"><KEYVALUE>t</KEYVALUE></KEYBINDING>)"
        R"(<KEYBINDING NAME="b"><KEYVALUE VALUETYPE="boolean">true</KEYVALUE></KEYBINDING>)"
        R"(<KEYBINDING NAME="u"><KEYVALUE VALUETYPE="numeric">18446744073709551615</KEYVALUE></KEYBINDING>)"
        R"(<KEYBINDING NAME="i"><KEYVALUE VALUETYPE="numeric">-3</KEYVALUE></KEYBINDING>)"
        R"(<KEYBINDING NAME="r"><KEYVALUE VALUETYPE="numeric">1.5</KEYVALUE></KEYBINDING>)"
        R"(<KEYBINDING NAME="t"><KEYVALUE VALUETYPE="string" TYPE="uint8">9</KEYVALUE></KEYBINDING>)"
        R"(<KEYBINDING NAME="p"><VALUE.REFERENCE><INSTANCENAME CLASSNAME="D"><KEYVALUE>x</KEYVALUE>)"
        R"(</INSTANCENAME></VALUE.REFERENCE></KEYBINDING></INSTANCENAME>)");
    EXPECT_THAT(read(answer),
                ElementsAre("path C.s=\"t\",b=TRUE,u=18446744073709551615,i=-3,r=1.5,t=9,"
                            "p=\"D.=\"x\"\""));
}

TEST(ResponseReader, gives_classes_class_names_and_values)
{
    EXPECT_THAT(read(returned(R"(<CLASS NAME="A"/><VALUE.OBJECT><CLASS NAME="B"/></VALUE.OBJECT>)"
                              R"(<CLASSNAME NAME="C"/>)")),
                ElementsAre("class A at no path", "class B at no path", "class name C"));
    EXPECT_THAT(read(returned("<VALUE> a </VALUE>")), ElementsAre("value string ' a '"));
    EXPECT_THAT(read(returned("<VALUE.ARRAY><VALUE>1</VALUE><VALUE.NULL/></VALUE.ARRAY>")),
                ElementsAre("value string[] '1' 'null'"));
    EXPECT_THAT(read(returned(R"(<VALUE.REFERENCE><CLASSNAME NAME="C"/></VALUE.REFERENCE>)")),
                ElementsAre("value reference '[C]'"));
}

TEST(ResponseReader, gives_what_a_method_returns)
{
    EXPECT_THAT(
        read(
            method(R"(<RETURNVALUE PARAMTYPE="uint32"><VALUE>4096</VALUE></RETURNVALUE>)"
                   R"(<PARAMVALUE NAME="Job" PARAMTYPE="reference"><VALUE.REFERENCE>)"
                   R"(<INSTANCENAME CLASSNAME="J"/></VALUE.REFERENCE></PARAMVALUE>)"
                   R"(<PARAMVALUE NAME="Text"><VALUE>5</VALUE></PARAMVALUE>)"
                   R"(<PARAMVALUE NAME="None" PARAMTYPE="sint8"/>)"
                   R"(<PARAMVALUE NAME="Object" PARAMTYPE="instance"><VALUE>x</VALUE></PARAMVALUE>)"
                   R"(<PARAMVALUE NAME="List" PARAMTYPE="uint8"><VALUE.ARRAY/></PARAMVALUE>)")),
        ElementsAre("returned uint32 '4096'", "output Job reference '[J]'",
                    "output Text untyped string '5'", "output None sint8 null",
                    "output Object instance string 'x'", "output List uint8[]"));
}

TEST(ResponseReader, gives_errors)
{
    EXPECT_THAT(read(operation(R"(<ERROR CODE="6" DESCRIPTION="not &lt;here&gt;"/>)")),
                ElementsAre("error 6 not <here>"));
    EXPECT_THAT(read(method(R"(<ERROR CODE="17">)" + instance("") + "</ERROR>")),
                ElementsAre("error 17 "));
    for (const char* code : {"", "0", "x", "-5", "6x", "99999999999"}) {
        EXPECT_THAT(read(operation(std::string("<ERROR CODE=\"") + code + "\"/>")),
                    ElementsAre("error 1 "))
            << code;
    }
}

TEST(PropertyValue, keeps_its_text_in_any_form)
{
    const auto text = [](const std::string& value) {
        return readProperty(R"(<PROPERTY TYPE="string" NAME="A">)" + value + "</PROPERTY>");
    };
    EXPECT_THAT(text("<VALUE/>"), ElementsAre("A string ''"));
    EXPECT_THAT(text("<VALUE></VALUE>"), ElementsAre("A string ''"));
    EXPECT_THAT(text(""), ElementsAre("A string null"));
    EXPECT_THAT(text("<VALUE>  \n </VALUE>"), ElementsAre("A string '  \n '"));
    EXPECT_THAT(text("<VALUE> <![CDATA[ & ]]> </VALUE>"), ElementsAre("A string '  &  '"));
    EXPECT_THAT(text("<VALUE><![CDATA[<a>]]></VALUE>"), ElementsAre("A string '<a>'"));
    EXPECT_THAT(text("<VALUE><![CDATA[a]]><![CDATA[b]]></VALUE>"), ElementsAre("A string 'ab'"));
    EXPECT_THAT(text("<VALUE>a<!-- b -->c<?d e?>f</VALUE>"), ElementsAre("A string 'acf'"));
    EXPECT_THAT(text("<VALUE>&lt;&gt;&amp;&quot;&apos;&#65;&#x42;</VALUE>"),
                ElementsAre("A string '<>&\"'AB'"));
    EXPECT_THAT(text("<VALUE>a&#13;b\r\nc</VALUE>"), ElementsAre("A string 'a\rb\nc'"));
    EXPECT_THAT(text("<VALUE>\xF0\x9F\x98\x80</VALUE>"),
                ElementsAre("A string '\xF0\x9F\x98\x80'"));
    EXPECT_THAT(text("\n  <QUALIFIER NAME='Q' TYPE='boolean'><VALUE>true</VALUE></QUALIFIER>\n"
                     "  <VALUE>a</VALUE>\n"),
                ElementsAre("A string 'a'"));
}

TEST(PropertyValue, may_be_an_array_or_a_reference)
{
    EXPECT_THAT(readProperty(R"(<PROPERTY.ARRAY NAME="A" TYPE="uint8">
                                  <VALUE.ARRAY> <VALUE>1</VALUE> <VALUE.NULL/> </VALUE.ARRAY>
                                </PROPERTY.ARRAY>)"),
                ElementsAre("A uint8[] '1' 'null'"));
    EXPECT_THAT(readProperty(R"(<PROPERTY.ARRAY NAME="A" TYPE="uint8"/>)"),
                ElementsAre("A uint8[] null"));
    EXPECT_THAT(readProperty(R"(<PROPERTY.REFERENCE NAME="R" REFERENCECLASS="C">
                                  <VALUE.REFERENCE><INSTANCENAME CLASSNAME="C"/></VALUE.REFERENCE>
                                </PROPERTY.REFERENCE><PROPERTY.REFERENCE NAME="N"/>)"),
                ElementsAre("R reference '[C]'", "N reference null"));
}

TEST(PropertyValue, of_another_type_is_told_when_it_is_copied)
{
    EXPECT_THAT(read(returned(
                    instance(R"(<PROPERTY NAME="A" TYPE="uint8"><VALUE>256</VALUE></PROPERTY>)"))),
                ElementsAre("instance: \"256\" is no value of type uint8"));
}

TEST(PropertyView, tells_all_attributes)
{
    const std::string answer = returned(instance(
        R"(<PROPERTY NAME="A" TYPE="string" CLASSORIGIN="O" PROPAGATED="true" EmbeddedObject="instance"/>)"
        R"(<PROPERTY NAME="B" TYPE="string" EMBEDDEDOBJECT="object"/>)"
        R"(<PROPERTY.ARRAY NAME="C" TYPE="char16" ARRAYSIZE="3"/>)"
        R"(<PROPERTY.REFERENCE NAME="D" REFERENCECLASS="R"/>)"));
    Recorder recorder;
    cimxml::ResponseReader reader(recorder);
    ASSERT_TRUE(reader.feed(answer)) << reader.problem();
    const std::vector<cimxml::Property>& properties = recorder.instances.at(0).properties;
    EXPECT_EQ(properties.at(0).classOrigin, "O");
    EXPECT_TRUE(properties.at(0).propagated);
    EXPECT_EQ(properties.at(0).embedded, cimxml::Embedded::Instance);
    EXPECT_EQ(properties.at(1).embedded, cimxml::Embedded::Object);
    EXPECT_EQ(properties.at(2).arraySize, 3U);
    EXPECT_EQ(properties.at(3).referenceClass, "R");
}

TEST(ResponseReader, refuses_every_truncated_answer)
{
    const std::string answer = returned(instance("<PROPERTY NAME=\"A\" TYPE=\"uint8\"/>"));
    for (std::size_t bytes = 0; bytes < answer.size(); ++bytes) {
        const std::vector<std::string> lines = read(answer.substr(0, bytes));
        ASSERT_FALSE(lines.empty()) << bytes;
        EXPECT_THAT(lines.back(), testing::AnyOf("problem: the answer breaks off",
                                                 "problem: the answer is empty"))
            << bytes;
    }
}

struct Malformed
{
    std::string answer;
    const char* problem;
};

void PrintTo(const Malformed& one, std::ostream* out)
{
    *out << one.answer;
}

class MalformedAnswer : public testing::TestWithParam<Malformed>
{};

TEST_P(MalformedAnswer, ends_with_what_is_wrong)
{
    const std::vector<std::string> lines = read(GetParam().answer);
    ASSERT_FALSE(lines.empty());
    EXPECT_THAT(lines.back(),
                testing::AllOf(HasSubstr("problem: "), HasSubstr(GetParam().problem)));
    EXPECT_EQ(read(GetParam().answer, 1).back(), lines.back());
}

std::string text(const std::string& value)
{
    return returned(
        instance("<PROPERTY NAME=\"A\" TYPE=\"string\"><VALUE>" + value + "</VALUE></PROPERTY>"));
}

const Malformed kMalformed[] = {
    {"garbage", "breaks off"},
    {"garbage<", "text outside"},
    {"{\"json\": true}<CIM", "text outside"},
    {"<html></html>", "the answer may not hold html"},
    {"<CIM/>", "CIM is empty"},
    {"<CIM></CIM>", "CIM is empty"},
    {"<CIM CIMVERSION=\"3.0\">", "unsupported version"},
    {"<CIM DTDVERSION=\"1.0\">", "unsupported version"},
    {"<CIM><MESSAGE ID=\"1\" PROTOCOLVERSION=\"2.0\">", "unsupported version"},
    {"<CIM a><MESSAGE>", "not well-formed"},
    {"<CIM><MESSAGE ID=\"1\"></CIM>", "</CIM> closes what is not open"},
    {"<CIM><MESSAGE><SIMPLEREQ>", "MESSAGE may not hold SIMPLEREQ"},
    {"<CIM><MESSAGE><MULTIRSP>", "MESSAGE may not hold MULTIRSP"},
    {"<CIM><DECLARATION>", "CIM may not hold DECLARATION"},
    {kHead + "<IMETHODRESPONSE>", "IMETHODRESPONSE is without NAME"},
    {kHead + kTail, "SIMPLERSP is empty"},
    {kHead + "<IMETHODRESPONSE NAME='a'/><IMETHODRESPONSE NAME='a'/>", "more than one element"},
    {operation("<IRETURNVALUE/><IRETURNVALUE/>"), "more than one element"},
    {operation("text"), "IMETHODRESPONSE may not hold text"},
    {operation("<INSTANCE CLASSNAME='A'/>"), "IMETHODRESPONSE may not hold INSTANCE"},
    {operation("<ERROR/>"), "ERROR is without CODE"},
    {operation("<ERROR CODE='1'/><IRETURNVALUE>" + instance("") + "</IRETURNVALUE>"),
     "behind an ERROR"},
    {operation("") + "<CIM>", "behind its end"},
    {operation("") + "x", "behind its end"},
    {operation("") + "\xEF\xBB\xBF<", "text outside"},
    {"<!DOCTYPE CIM [<!ENTITY a \"b\">]>" + operation(""), "document type declaration"},
    {"<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>" + operation(""), "other than UTF-8"},
    {" " + operation(""), "not at the beginning"},
    {returned("<?xml version=\"1.0\"?>"), "not at the beginning"},
    {returned(instance("<?xml version=\"1.0\"?>")), "not at the beginning"},
    {text("&unknown;"), "unknown entity"},
    {text("a & b"), "unknown entity"},
    {text("&#0;"), "forbidden character"},
    {text("&#xD800;"), "forbidden character"},
    {text("&#x110000;"), "forbidden character"},
    {text("\x01"), "not allowed in XML"},
    {text("\xEF\xBF\xBE"), "not allowed in XML"},
    {text("\xED\xA0\x80"), "not UTF-8"},
    {text("\xC0\x80"), "not UTF-8"},
    {text("\xE9"), "not UTF-8"},
    {text("<b/>"), "VALUE may not hold b"},
    {returned("text"), "IRETURNVALUE may not hold text"},
    {returned("<a/>"), "IRETURNVALUE may not hold a"},
    {returned("<INSTANCE/>"), "INSTANCE is without CLASSNAME"},
    {returned(instance("text")), "INSTANCE may not hold text"},
    {returned(instance("<VALUE/>text")), "INSTANCE may not hold VALUE"},
    {returned(instance("<PROPERTY NAME='A'/>")), "PROPERTY \"A\" is without TYPE"},
    {returned(instance("<PROPERTY NAME='' TYPE='uint8'/>")), "unusable NAME"},
    {returned(instance("<PROPERTY NAME='A' TYPE='int'/>")), "unusable TYPE"},
    {returned(instance("<PROPERTY NAME='A' TYPE='uint8'><VALUE/><VALUE/></PROPERTY>")),
     "holds too much"},
    {returned(instance("<PROPERTY NAME='A' TYPE='uint8'></INSTANCE></PROPERTY>")), "mismatch"},
    {returned("<INSTANCE CLASSNAME='<'/>"), "\"<\" within a tag"},
    {returned("<>"), "a tag without a name"},
    {returned("<VALUE.NAMEDINSTANCE>" + instance("") + "</VALUE.NAMEDINSTANCE>"), "incomplete"},
    {returned("<VALUE.NAMEDINSTANCE></VALUE.NAMEDINSTANCES>"), "mismatch"},
    {returned("<VALUE.NAMEDINSTANCE></a></VALUE.NAMEDINSTANCE>"), "mismatch"},
    {returned("<VALUE.OBJECT><VALUE.OBJECT></VALUE.OBJECT></VALUE.OBJECT>"), "mismatch"},
    {returned("<VALUE.OBJECT>"), "breaks off"},
    {returned("<INSTANCENAME CLASSNAME='A'><KEYBINDING NAME='a'/></INSTANCENAME>"), "incomplete"},
    {returned("<VALUE.REFERENCE/>"), "VALUE.REFERENCE is incomplete"},
    {method("<RETURNVALUE PARAMTYPE='uint8'><VALUE>300</VALUE></RETURNVALUE>"), "\"300\""},
    {method("<RETURNVALUE/><RETURNVALUE/>"), "RETURNVALUE where none is expected"},
    {method("<IRETURNVALUE/>"), "METHODRESPONSE may not hold IRETURNVALUE"},
};

INSTANTIATE_TEST_SUITE_P(Answers, MalformedAnswer, testing::ValuesIn(kMalformed));

TEST(ResponseReader, refuses_what_nests_too_deeply)
{
    std::string deep;
    for (int i = 0; i < 100; ++i) {
        deep += "<INSTANCENAME CLASSNAME=\"A\"><VALUE.REFERENCE>";
    }
    EXPECT_THAT(read(returned(deep)).back(), HasSubstr("nested too deeply"));
    std::string closed = deep + R"(<INSTANCENAME CLASSNAME="A"/>)";
    for (int i = 0; i < 100; ++i) {
        closed += "</VALUE.REFERENCE></INSTANCENAME>";
    }
    EXPECT_THAT(
        read(returned("<VALUE.NAMEDINSTANCE>" + closed + instance("") + "</VALUE.NAMEDINSTANCE>")),
        ElementsAre("problem: elements nested too deeply"));
}

TEST(ResponseReader, refuses_what_is_longer_than_its_limits)
{
    const std::string answer = text(std::string(5000, 'a'));
    Recorder recorder;
    cimxml::ResponseReader small(recorder, {.objectBytes = 4000});
    EXPECT_FALSE(small.feed(answer.substr(0, 4500)));
    EXPECT_EQ(small.problem(), "an object is longer than 4000 bytes");
    EXPECT_FALSE(small.feed("<"));
    cimxml::ResponseReader brief(recorder, {.bodyBytes = answer.size() - 1});
    EXPECT_FALSE(brief.feed(answer));
    EXPECT_THAT(brief.problem(), HasSubstr("the answer is longer than"));
    cimxml::ResponseReader enough(recorder, {.bodyBytes = answer.size()});
    EXPECT_TRUE(enough.feed(answer) && enough.finish());
}

TEST(ResponseReader, refuses_what_its_handler_does_not_take)
{
    cimxml::ResponseHandler nothing;
    cimxml::ResponseReader reader(nothing);
    EXPECT_FALSE(reader.feed(returned(instance(""))));
    EXPECT_EQ(reader.problem(), "unexpected INSTANCE");
    EXPECT_FALSE(reader.finish());
}

TEST(ResponseReader, reads_another_answer_after_a_reset)
{
    Recorder first;
    cimxml::ResponseReader reader(first);
    EXPECT_FALSE(reader.feed(method("<ERROR CODE='1'/>") + "x<"));
    Recorder second;
    reader.reset(second);
    EXPECT_TRUE(reader.feed(returned(instance(""))) && reader.finish()) << reader.problem();
    EXPECT_THAT(second.lines, ElementsAre("instance XCIM_Thing at no path"));
    EXPECT_EQ(reader.operation(), "Op");
}

} // namespace
