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
         {R"({}, {"retrun": 1})", "Fan.Stop[1]: \"retrun\" is not known; there are \"when\""},
         {R"({"when": {}})", "Fan.Stop[0].when: give an array"},
         {R"({"when": [{"input": "Seconds"}]})",
          "Fan.Stop[0].when[0]: give one of \"is\", \"isNot\""},
         {R"({"when": [{"is": 1}]})", "Fan.Stop[0].when[0]: give either \"input\""},
         {R"({"when": [{"input": "Seconds", "property": "Ok", "is": 1}]})",
          "Fan.Stop[0].when[0]: give either \"input\""},
         {R"({"when": [{"input": "Other", "key": "Id", "exists": true}]})",
          "Fan.Stop[0].when[0]: \"key\" is one of an \"input\""},
         {R"({"when": [{"object": "this", "property": "Ok", "exists": true}]})",
          "Fan.Stop[0].when[0]: \"exists\" is about an \"input\""},
         {R"({"when": [{"input": "Other", "exists": 1}]})",
          "Fan.Stop[0].when[0]: give \"exists\" as true or false"},
         {R"({"delay": -1})", "Fan.Stop[0]: give \"delay\" as a number of seconds from 0"},
         {R"({"delay": "1"})", "Fan.Stop[0]: give \"delay\" as a number of seconds"},
         {R"({"error": {"code": 0, "description": "x"}})",
          "Fan.Stop[0].error: give \"code\" as the number of a CIM status"},
         {R"({"error": {"code": 1}})", "Fan.Stop[0].error: give \"description\" as a text"},
         {R"({"error": {"code": 1, "description": "x"}, "return": 1})",
          "Fan.Stop[0]: a call that ends with an \"error\" has no \"return\""},
         {R"({"outputs": []})", "Fan.Stop[0].outputs: give an object of names and values"},
         {R"({"outputs": {"Names": [[1]]}})",
          "Fan.Stop[0].outputs.Names: there are no arrays of arrays"},
         {R"({"outputs": {"Text": {"later": true}}})",
          "Fan.Stop[0].outputs.Text: give a constant, {\"input\": NAME}"},
         {R"({"set": [{"object": "Fan.Id"}]})", "Fan.Stop[0].set[0].object: \"Fan.Id\" is no path"},
         {R"({"set": [{"object": 5}]})", "Fan.Stop[0].set[0].object: give \"this\", a path"},
         {R"({"job": {}})", "Fan.Stop[0].job: give \"class\" as a text"},
         {R"({"job": {"class": "Job", "steps": [{"percent": 101}]}})",
          "Fan.Stop[0].job.steps[0]: give \"percent\" as a number from 0 to 100"}});
}

TEST(DescriptionProblems, OfWhatIsNotDeclaredAreNamedWithTheirCase)
{
    check(
        {{R"({"return": -1})",
          "Fan.Stop[0]: what is described for the return value is not of type uint32"},
         {R"({"return": [1]})",
          "Fan.Stop[0]: what is described for the return value is not of type uint32"},
         {R"({"return": 0}, {"outputs": {"Colour": 1}})",
          "Fan.Stop[1]: the method Stop has no parameter Colour"},
         {R"({"outputs": {"Names": "one"}})",
          "Fan.Stop[0]: what is described for Names is not of type string[]"},
         {R"({"set": [{"object": {"input": "Other"}, "properties": {"Speed": {"input": "Sped"}}}]})",
          "Fan.Stop[0]: the method Stop has no parameter Sped"},
         {R"({"set": [{"object": {"input": "Other"}, "properties": {"Text": {"job": true}}}]})",
          "Fan.Stop[0]: Text is to be the job, but the case has no \"job\""},
         {R"({"outputs": {"Job": {"job": true}}})",
          "Fan.Stop[0]: Job is to be the job, but the case has no \"job\""},
         {R"({"outputs": {"Text": {"input": "Colour"}}})",
          "Fan.Stop[0]: the method Stop has no parameter Colour"},
         {R"({"outputs": {"Text": {"input": "Seconds", "key": "Id"}}})",
          "Fan.Stop[0]: the parameter Seconds is no reference and has no keys"},
         {R"({"when": [{"input": "Seconds", "is": 65536}]})",
          "Fan.Stop[0]: what is described for Seconds is not of type uint16"},
         {R"({"when": [{"input": "Seconds", "exists": true}]})",
          "Fan.Stop[0]: the parameter Seconds is no reference: \"exists\" is no test of it"},
         {R"({"when": [{"object": "this", "property": "Colour", "is": 1}]})",
          "Fan.Stop[0]: Fan has no property Colour"},
         {R"({"set": [{"object": "Van.Id=f", "properties": {"Ok": true}}]})",
          "Fan.Stop[0]: there is no class Van in root/xcim"},
         {R"({"set": [{"object": {"input": "Seconds"}, "properties": {"Ok": true}}]})",
          "Fan.Stop[0]: the object is no parameter of Stop that is a reference"},
         {R"({"set": [{"object": "Fan", "properties": {"Speed": "fast"}}]})",
          "Fan.Stop[0]: what is described for Speed is not of type uint32"},
         {R"({"set": [{"object": "this", "properties": {"id": "g"}}]})",
          "Fan.Stop[0]: the key Id cannot be changed"},
         {R"({"job": {"class": "Job", "properties": {"InstanceID": "JID_1"}}})",
          "Fan.Stop[0]: the key InstanceID cannot be changed"},
         {R"({"job": {"class": "Van"}})", "Fan.Stop[0]: there is no class Van in root/xcim"},
         {R"({"job": {"class": "Job", "properties": {"State": "x"}}})",
          "Fan.Stop[0]: what is described for State is not of type uint16"},
         {R"({"job": {"class": "Job", "steps": [{"percent": 1, "properties": {"Speed": 1}}]}})",
          "Fan.Stop[0]: Job has no property Speed"}});
}

TEST(DescriptionProblems, OfAFileAreNamedWithIt)
{
    for (const Wrong& wrong : std::vector<Wrong>{
             {"", "it is not JSON: "},
             {"{\"namespace\": \"a\", \"methods\": {}} x", "it is not JSON: "},
             {R"({"namespace": "a", "namespace": "a"})", "it is not JSON: "},
             {"[]", "give an object with \"namespace\", \"methods\""},
             {"{}", "give \"namespace\" as a text"},
             {R"({"namespace": "root/xcim"})", "give \"methods\" as an object of \"CLASS.METHOD\""},
             {R"({"namespace": "root/x", "methods": {}})", "there is no namespace root/x"},
             {R"({"namespace": "root/xcim", "methods": {"Stop": [{}]}})",
              "Stop: name it \"CLASS.METHOD\""},
             {R"({"namespace": "root/xcim", "methods": {"Van.Stop": [{}]}})",
              "Van.Stop: there is no class Van in root/xcim"},
             {R"({"namespace": "root/xcim", "methods": {"Fan.Fly": [{}]}})",
              "Fan.Fly: the class declares no such method"},
             {R"({"namespace": "root/xcim", "methods": {"Fan.Forget": [{"return": 0}]}})",
              "Fan.Forget[0]: the method Forget returns nothing"},
             {R"({"namespace": "root/xcim", "methods": {"Fan.Stop": [{}], "fan.stop": [{}]}})",
              "fan.stop is described twice; keep one"}}) {
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
    EXPECT_FALSE(model.behaviour().load("/nowhere", model.repository(), problem));
    EXPECT_EQ(problem, "/nowhere: No such file or directory");
}

} // namespace
