// What is said about description files that are wrong: where, what, and what there could be.
#include "DescribedModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using testing::HasSubstr;

struct Wrong
{
    const char* cases; // of Fan.Stop, or a whole file
    const char* problem;
};

void check(const std::vector<Wrong>& wrongs)
{
    for (const Wrong& wrong : wrongs) {
        sample::DescribedModel model;
        EXPECT_THAT(model.describe(wrong.cases),
                    HasSubstr(std::string("model.methods.json: ") + wrong.problem));
    }
}

TEST(DescriptionProblems, OfTheShapeOfACaseAreNamedWithTheirPlace)
{
    check(
        {{"", "Fan.Stop: give an array of one case or more"},
         {"5", "Fan.Stop[0]: give an object with \"when\", "},
         {R"({}, {"retrun": 1})",
          "Fan.Stop[1]: \"retrun\" has no meaning here; there are \"when\""},
         {R"({"when": {}})", "Fan.Stop[0].when: give an array"},
         {R"({"when": [{"is": 1}]})",
          "Fan.Stop[0].when[0]: give either \"input\", or \"object\" and \"property\""},
         {R"({"when": [{"object": "this", "is": 1}]})",
          "Fan.Stop[0].when[0].property: give a text"},
         {R"({"when": [{"input": "Seconds"}]})",
          "Fan.Stop[0].when[0]: give one of \"is\", \"isNot\""},
         {R"({"when": [{"input": "Seconds", "is": 1, "isNot": 2}]})",
          "Fan.Stop[0].when[0]: give one of \"is\", \"isNot\""},
         {R"({"when": [{"input": "Seconds", "isOneOf": 1}]})",
          "Fan.Stop[0].when[0].isOneOf: give an array"},
         {R"({"when": [{"input": "Seconds", "property": "Ok", "is": 1}]})",
          "Fan.Stop[0].when[0]: \"property\" has no meaning here"},
         {R"({"when": [{"input": "Other", "key": "Id", "exists": true}]})",
          "Fan.Stop[0].when[0]: \"key\" has no meaning here; there are \"input\", \"exists\""},
         {R"({"when": [{"object": "this", "property": "Ok", "exists": true}]})",
          "Fan.Stop[0].when[0]: \"exists\" has no meaning here"},
         {R"({"when": [{"input": "Other", "exists": 1}]})",
          "Fan.Stop[0].when[0].exists: give true or false"},
         {R"({"delay": -1})", "Fan.Stop[0].delay: give a number of seconds from 0"},
         {R"({"delay": "1"})", "Fan.Stop[0].delay: give a number of seconds"},
         {R"({"error": {"code": 0, "description": "x"}})",
          "Fan.Stop[0].error.code: give the number of a CIM status"},
         {R"({"error": {"code": 1}})", "Fan.Stop[0].error.description: give a text"},
         {R"({"error": {"code": 1, "description": "x"}, "return": 1})",
          "Fan.Stop[0]: \"return\" has no meaning here; there are \"when\", \"delay\", \"error\""},
         {R"({"outputs": []})", "Fan.Stop[0].outputs: give an object of names and values"},
         {R"({"outputs": {"Names": [[1]]}})", "Fan.Stop[0].outputs.Names[0]: give a constant"},
         {R"({"outputs": {"Text": {"later": true}}})",
          "Fan.Stop[0].outputs.Text: give a constant, {\"input\": NAME}"},
         {R"({"set": [{"object": "Fan.Id"}]})", "Fan.Stop[0].set[0].object: give \"this\", a path"},
         {R"({"set": [{"object": 5}]})", "Fan.Stop[0].set[0].object: give \"this\", a path"},
         {R"({"job": {}})", "Fan.Stop[0].job.class: give a text"},
         {R"({"job": {"class": "Job", "prefix": "OSD_"}})",
          "Fan.Stop[0].job: \"prefix\" has no meaning here; there are \"class\", \"seconds\""},
         {R"({"job": {"class": "Job", "steps": [{"percent": 101}]}})",
          "Fan.Stop[0].job.steps[0].percent: give a number from 0 to 100"}});
}

TEST(DescriptionProblems, OfWhatTheMethodDoesNotDeclareAreNamedWithTheirPlace)
{
    check(
        {{R"({"return": 0}, {"outputs": {"Colour": 1}})",
          "Fan.Stop[1].outputs: the method has no parameter Colour"},
         {R"({"set": [{"object": {"input": "Other"}, "properties": {"Speed": {"input": "Sped"}}}]})",
          "Fan.Stop[0].set[0].properties.Speed: give as \"input\" the name of a parameter"},
         {R"({"set": [{"object": {"input": "Other"}, "properties": {"Text": {"job": true}}}]})",
          "Fan.Stop[0].set[0].properties.Text: it is to be the job, but the case has no \"job\""},
         {R"({"outputs": {"Job": {"job": true}}})",
          "Fan.Stop[0].outputs.Job: it is to be the job, but the case has no \"job\""},
         {R"({"outputs": {"Text": {"input": "Seconds", "key": "Id"}}})",
          "Fan.Stop[0].outputs.Text: give as \"input\" the name of a parameter of the method that "
          "is"},
         {R"({"when": [{"input": "Seconds", "exists": true}]})",
          "Fan.Stop[0].when[0]: give as \"input\" the name of a parameter of the method that is"},
         {R"({"set": [{"object": {"input": "Seconds"}, "properties": {"Ok": true}}]})",
          "Fan.Stop[0].set[0].object: give as \"input\" the name of a parameter of the method that "
          "is"}});
}

TEST(DescriptionProblems, OfAFileAreNamedWithIt)
{
    for (const Wrong& wrong : std::vector<Wrong>{
             {"", "it is not JSON: "},
             {"{\"namespace\": \"a\", \"methods\": {}} x", "it is not JSON: "},
             {R"({"namespace": "a", "namespace": "a"})", "it is not JSON: "},
             {"[]", "give {\"namespace\": TEXT, \"methods\": "},
             {"{}", "give {\"namespace\": TEXT"},
             {R"({"namespace": "root/xcim"})", "give {\"namespace\": TEXT"},
             {R"({"namespace": "root/x", "methods": {}})", "there is no namespace root/x"},
             {R"({"namespace": "root/xcim", "methods": {"Stop": [{}]}})",
              "Stop: there is no class Stop in root/xcim; name it \"CLASS.METHOD\""},
             {R"({"namespace": "root/xcim", "methods": {"Van.Stop": [{}]}})",
              "Van.Stop: there is no class Van in root/xcim"},
             {R"({"namespace": "root/xcim", "methods": {"Fan.Fly": [{}]}})",
              "Fan.Fly: the class declares no such method"},
             {R"({"namespace": "root/xcim", "methods": {"Fan.Forget": [{"return": 0}]}})",
              "Fan.Forget[0].return: the method returns nothing"},
             {R"({"namespace": "root/xcim", "methods": {"Fan.Stop": [{}], "fan.stop": [{}]}})",
              "fan.stop: it is described twice; keep one"}}) {
        sample::DescribedModel model;
        EXPECT_THAT(model.load(wrong.cases),
                    HasSubstr(std::string("model.methods.json: ") + wrong.problem));
    }
}

TEST(DescriptionProblems, DeepNestingIsAProblemOfTheFile)
{
    sample::DescribedModel model;
    EXPECT_THAT(model.load(std::string(100000, '[')),
                HasSubstr("model.methods.json: it is not JSON: "));
}

TEST(DescriptionProblems, DirectoryThatIsNotThereIsOne)
{
    sample::DescribedModel model;
    std::string problem;
    EXPECT_FALSE(model.methods().load("/nowhere", model.repository(), problem));
    EXPECT_EQ(problem, "/nowhere: No such file or directory");
}

} // namespace
