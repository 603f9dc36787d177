// Query options of the service's own resources, and what $select leaves of a body.
#include "compose/query.h"

#include <ExtendedErrorInfoHandling.h>
#include <JsonText.h>
#include <gmock/gmock.h>

#include <string>

namespace {

using host::compose::Query;
using support::IsJson;
using support::json;
using testing::ElementsAre;
using testing::IsEmpty;

class ServiceQuery : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ExtendedErrorInfoHandling::SetRegistryDirectory(REGISTRY_DIRECTORY);
        std::string problem;
        ASSERT_TRUE(ExtendedErrorInfoHandling::LoadRegistries(problem)) << problem;
    }

    static std::variant<Query, httpd::Response> read(const std::string& options)
    {
        const std::string target = "/redfish/v1/A?" + options;
        odata::Scope scope = odata::Scope::ForRequest(target);
        return host::compose::readQuery(target, scope.NewURI());
    }

    static Query queryOf(const std::string& options)
    {
        const auto query = read(options);
        EXPECT_TRUE(std::holds_alternative<Query>(query)) << options;
        const auto* found = std::get_if<Query>(&query);
        return found == nullptr ? Query() : *found;
    }

    // Its status and the last of its messages.
    static std::pair<unsigned int, std::string> refusalOf(const std::string& options)
    {
        const auto query = read(options);
        const auto* response = std::get_if<httpd::Response>(&query);
        if (response == nullptr) {
            return {0, ""};
        }
        const auto ids = support::idsOf(json(response->body)["error"]["@Message.ExtendedInfo"]);
        return {response->status, ids.back()};
    }
};

TEST_F(ServiceQuery, WithoutOptionsAsksForEverything)
{
    for (const char* options : {"", "other=1", "Only", "lonely", "only2=1", "x=only"}) {
        const Query query = queryOf(options);
        EXPECT_FALSE(query.isOnly) << options;
        EXPECT_FALSE(query.expand) << options;
        EXPECT_THAT(query.select, IsEmpty()) << options;
    }
}

TEST_F(ServiceQuery, OnlyIsAnOptionWithOrWithoutAValue)
{
    for (const char* options : {"only", "only=", "only=true", "a=b&only", "only&$select=Id"}) {
        EXPECT_TRUE(queryOf(options).isOnly) << options;
    }
}

TEST_F(ServiceQuery, ExpandSaysWhichLinksAndHowDeep)
{
    struct Case
    {
        const char* text;
        bool isOfLinks;
        bool isOfOthers;
        unsigned int levels;
    };
    for (const Case& each : {Case{".", false, true, 1},
                             {"~", true, false, 1},
                             {"*", true, true, 1},
                             {".($levels=1)", false, true, 1},
                             {"~($levels=2)", true, false, 2},
                             {"*($levels=3)", true, true, 3}}) {
        const auto expand = queryOf(std::string("$expand=") + each.text).expand;
        ASSERT_TRUE(expand) << each.text;
        EXPECT_EQ(expand->isOfLinks, each.isOfLinks) << each.text;
        EXPECT_EQ(expand->isOfOthers, each.isOfOthers) << each.text;
        EXPECT_EQ(expand->levels, each.levels) << each.text;
    }
}

TEST_F(ServiceQuery, SelectIsAListOfPaths)
{
    EXPECT_THAT(queryOf("$select=Id").select, ElementsAre("Id"));
    EXPECT_THAT(queryOf("$select=Id,Status/State,*").select,
                ElementsAre("Id", "Status/State", "*"));
    EXPECT_THAT(queryOf("$select=,Id,").select, ElementsAre("Id"));
}

TEST_F(ServiceQuery, WhatIsMalformedOrOutOfRangeIsRefused)
{
    for (const char* text : {"", "x", "..", ".x", "()", ".(levels=1)", ".($levels=)",
                             ".($levels=x)", ".($levels=-1)", ".($levels=1"}) {
        EXPECT_EQ(refusalOf(std::string("$expand=") + text),
                  std::pair(400U, std::string("Base.1.18.QueryParameterValueFormatError")))
            << text;
    }
    for (const char* levels : {"0", "4", "9", "01", "10", "99999999999"}) {
        EXPECT_EQ(refusalOf(std::string("$expand=.($levels=") + levels + ")"),
                  std::pair(400U, std::string("Base.1.18.QueryParameterOutOfRange")))
            << levels;
    }
    for (const char* text : {"", ",", ",,"}) {
        EXPECT_EQ(refusalOf(std::string("$select=") + text).first, 400U) << text;
    }
    for (const char* option : {"$filter=a", "$top=1", "$skip=1"}) {
        EXPECT_EQ(refusalOf(option).first, 501U) << option;
    }
}

TEST_F(ServiceQuery, SelectLeavesWhatIsNamed)
{
    struct Case
    {
        std::vector<std::string> paths;
        const char* left;
        const char* missing = "";
    };
    const char* const body =
        R"({"@odata.id": "/a", "A": {"B": 1, "C": {"D": 2}, "@odata.type": "#T"}, "E": [{"F": 3, "G": 4}, {"G": 5}, 6],
                                 "H": null})";
    const Case cases[] = {
        {{"H"}, R"({"@odata.id": "/a", "H": null})"},
        {{"A"}, R"({"@odata.id": "/a", "A": {"@odata.type": "#T", "B": 1, "C": {"D": 2}}})"},
        {{"A/B"}, R"({"@odata.id": "/a", "A": {"@odata.type": "#T", "B": 1}})"},
        {{"A/B", "A/C/D"},
         R"({"@odata.id": "/a", "A": {"@odata.type": "#T", "B": 1, "C": {"D": 2}}})"},
        {{"A/B", "A"}, R"({"@odata.id": "/a", "A": {"@odata.type": "#T", "B": 1, "C": {"D": 2}}})"},
        {{"A/*"}, R"({"@odata.id": "/a", "A": {"@odata.type": "#T", "B": 1, "C": {"D": 2}}})"},
        {{"E/G"}, R"({"@odata.id": "/a", "E": [{"G": 4}, {"G": 5}, 6]})"},
        {{"*"}, body},
        {{"A/B", "X"}, nullptr, "X"},
        {{"A/B/C"}, nullptr, "A/B/C"},
        {{"X/*"}, nullptr, "X/*"},
        {{"E/X"}, nullptr, "E/X"},
    };
    for (const Case& each : cases) {
        Json::Value selected = json(body);
        EXPECT_EQ(host::compose::select(selected, each.paths), each.missing) << each.paths.front();
        if (each.left != nullptr) {
            EXPECT_THAT(selected, IsJson(each.left)) << each.paths.front();
        }
    }
}

} // namespace
