#include "recorder.h"

#include <cimxml/declarations.h>
#include <gmock/gmock.h>

#include <string>

namespace {

using testing::HasSubstr;
using testing::StartsWith;

const std::string kNameSpace =
    R"(<LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="xcim"/></LOCALNAMESPACEPATH>)";
const std::string kInstance = "<INSTANCE CLASSNAME=\"A\">\n<PROPERTY NAME=\"Id\" "
                              "TYPE=\"string\"><VALUE>k</VALUE></PROPERTY></INSTANCE>";

std::string document(const std::string& groups)
{
    return "<?xml version=\"1.0\"?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\n<DECLARATION>\n" +
           groups + "\n</DECLARATION>\n</CIM>\n";
}

cimxml::Declarations readDeclarations(const std::string& text)
{
    cimxml::Declarations declarations;
    std::string problem;
    EXPECT_TRUE(cimxml::readDeclarations(text, declarations, problem)) << problem;
    return declarations;
}

std::string problemOf(const std::string& text)
{
    cimxml::Declarations declarations;
    std::string problem;
    EXPECT_FALSE(cimxml::readDeclarations(text, declarations, problem));
    return problem;
}

TEST(Declarations, give_classes_and_instances_in_their_namespace)
{
    const auto all =
        readDeclarations(document("<DECLGROUP>" + kNameSpace +
                                  "<QUALIFIER.DECLARATION NAME='Key' TYPE='boolean'><SCOPE "
                                  "CLASS='true'/></QUALIFIER.DECLARATION>"
                                  "<VALUE.OBJECT><CLASS NAME='A'/></VALUE.OBJECT><VALUE.OBJECT>" +
                                  kInstance + "</VALUE.OBJECT></DECLGROUP>"));
    ASSERT_EQ(all.classes.size(), 1U);
    EXPECT_EQ(all.classes[0].nameSpace, "root/xcim");
    EXPECT_EQ(all.classes[0].cls.name, "A");
    ASSERT_EQ(all.instances.size(), 1U);
    EXPECT_EQ(all.instances[0].nameSpace, "root/xcim");
    EXPECT_EQ(lineOf(all.instances[0].instance.find("id")->value), "string 'k'");
}

TEST(Declarations, of_objects_with_names_or_paths_are_refused)
{
    EXPECT_THAT(problemOf(document("<DECLGROUP.WITHNAME/>")),
                HasSubstr("DECLARATION may not hold DECLGROUP.WITHNAME"));
    EXPECT_THAT(problemOf(document("<DECLGROUP.WITHPATH/>")),
                HasSubstr("DECLARATION may not hold DECLGROUP.WITHPATH"));
    EXPECT_THAT(problemOf(document("<DECLGROUP><VALUE.NAMEDOBJECT/></DECLGROUP>")),
                HasSubstr("DECLGROUP may not hold VALUE.NAMEDOBJECT"));
}

TEST(Declarations, add_up_over_groups_and_documents)
{
    cimxml::Declarations all =
        readDeclarations(document("<DECLGROUP/><DECLGROUP><VALUE.OBJECT>"
                                  "<CLASS NAME='A'/></VALUE.OBJECT></DECLGROUP>"));
    std::string problem;
    ASSERT_TRUE(cimxml::readDeclarations(document("<DECLGROUP><VALUE.OBJECT><CLASS NAME='B'/>"
                                                  "</VALUE.OBJECT></DECLGROUP>"),
                                         all, problem));
    ASSERT_EQ(all.classes.size(), 2U);
    EXPECT_EQ(all.classes[0].nameSpace, "");
    EXPECT_EQ(all.classes[1].cls.name, "B");
}

TEST(Declarations, tell_the_line_of_what_is_wrong)
{
    EXPECT_EQ(
        problemOf(document("<DECLGROUP>\n<VALUE.OBJECT>\n\n<CLASS/></VALUE.OBJECT></DECLGROUP>")),
        "line 7: CLASS is without NAME");
    EXPECT_EQ(problemOf(document("<DECLGROUP><VALUE.OBJECT><INSTANCE CLASSNAME='A'>\n<PROPERTY "
                                 "NAME='B' TYPE='uint8'>\n<VALUE>x</VALUE></PROPERTY></INSTANCE>"
                                 "</VALUE.OBJECT></DECLGROUP>")),
              "line 6: \"x\" is no value of type uint8");
    EXPECT_THAT(problemOf("<CIM>\n\n<!DOCTYPE a>"), StartsWith("line 3: "));
    EXPECT_THAT(problemOf("<CIM>\n\x01"), StartsWith("line 2: "));
    EXPECT_THAT(problemOf(document("<DECLGROUP>\n</VALUE>")),
                testing::AllOf(StartsWith("line 5: "), HasSubstr("mismatch")));
}

TEST(Declarations, are_refused_where_there_are_none)
{
    EXPECT_THAT(problemOf(""), HasSubstr("breaks off"));
    EXPECT_THAT(problemOf("<html/>"), HasSubstr("not CIM"));
    EXPECT_THAT(problemOf("<CIM CIMVERSION='2.0' DTDVERSION='2.0'><MESSAGE ID='1' "
                          "PROTOCOLVERSION='1.0'><MULTIREQ/></MESSAGE></CIM>"),
                HasSubstr("no DECLARATION"));
    EXPECT_THAT(problemOf(document("<DECLGROUP><VALUE.OBJECT/></DECLGROUP>")),
                HasSubstr("VALUE.OBJECT is incomplete"));
}

} // namespace
