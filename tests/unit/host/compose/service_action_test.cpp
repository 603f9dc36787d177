// What a mapped action gets of a request for the standard one that stands for it.
#include "compose/service_action.h"

#include <ExtendedErrorInfoHandling.h>
#include <JsonText.h>
#include <gmock/gmock.h>

#include <string>

namespace {

using support::IsJson;
using support::json;

class ServiceAction : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ExtendedErrorInfoHandling::SetRegistryDirectory(REGISTRY_DIRECTORY);
        std::string problem;
        ASSERT_TRUE(ExtendedErrorInfoHandling::LoadRegistries(problem)) << problem;
    }

    ServiceAction()
    {
        mAction.target = "/r/Actions/P.Change";
        mAction.constants = json(R"({"System": "S.1"})");
        mAction.parameters["ResetType"] = {
            "State", {{"On", "On"}, {"PowerCycle", "Restart"}, {"Three", 3}}, true, true};
        mAction.parameters["Delay"] = {"TimeoutPeriod", {}, false, false};
    }

    Json::Value translated(const std::string& body)
    {
        const auto request = host::compose::translate(mAction, body);
        const auto* action = std::get_if<host::ActionRequest>(&request);
        EXPECT_NE(action, nullptr) << body;
        EXPECT_TRUE(action == nullptr || action->target == mAction.target);
        return action == nullptr ? Json::Value() : json(action->body);
    }

    // The last of its messages with its arguments.
    std::string refusalOf(const std::string& body)
    {
        const auto request = host::compose::translate(mAction, body);
        const auto* response = std::get_if<httpd::Response>(&request);
        if (response == nullptr) {
            return "none";
        }
        EXPECT_EQ(response->status, 400U);
        const Json::Value messages = json(response->body)["error"]["@Message.ExtendedInfo"];
        const Json::Value& last = messages[messages.size() - 1];
        return last["MessageId"].asString() + support::compact(last["MessageArgs"]);
    }

    host::service_file::Action mAction;
};

TEST_F(ServiceAction, NamesAndValuesAreTranslatedAndConstantsAdded)
{
    EXPECT_THAT(translated(R"({"ResetType": "PowerCycle"})"),
                IsJson(R"({"State": "Restart", "System": "S.1"})"));
    EXPECT_THAT(translated(R"({"ResetType": "Three", "Delay": [1, {"a": null}]})"),
                IsJson(R"({"State": 3, "System": "S.1", "TimeoutPeriod": [1, {"a": null}]})"));
}

TEST_F(ServiceAction, WithoutConstantsHasWhatIsGiven)
{
    mAction.constants = Json::Value();
    EXPECT_THAT(translated(R"({"ResetType": "On"})"), IsJson(R"({"State": "On"})"));
}

TEST_F(ServiceAction, WhatIsUnknownIsRefusedByTheNameThatTheClientGave)
{
    EXPECT_EQ(refusalOf(R"({"ResetType": "On", "State": "On"})"),
              R"(Base.1.18.PropertyUnknown["State"])");
    EXPECT_EQ(refusalOf(R"({"ResetType": "On", "System": "S.2"})"),
              R"(Base.1.18.PropertyUnknown["System"])");
    EXPECT_EQ(refusalOf("{}"), R"(Base.1.18.PropertyMissing["ResetType"])");
    EXPECT_EQ(refusalOf(R"({"Delay": 1})"), R"(Base.1.18.PropertyMissing["ResetType"])");
}

TEST_F(ServiceAction, ValuesThatAreNotInTheListAreRefused)
{
    EXPECT_EQ(refusalOf(R"({"ResetType": "Restart"})"),
              R"(Base.1.18.PropertyValueNotInList["Restart","ResetType"])");
    for (const char* value : {"3", "null", "true", "[\"On\"]", "{\"On\":1}", "\"on\"", "\"\""}) {
        EXPECT_THAT(refusalOf(std::string(R"({"ResetType": )") + value + "}"),
                    testing::StartsWith("Base.1.18.PropertyValueNotInList"))
            << value;
    }
}

TEST_F(ServiceAction, BodiesThatAreNoJsonObjectAreMalformed)
{
    for (const char* body : {"", "{", "[]", "null", "5", R"({"ResetType": "On"} x)",
                             R"({"ResetType": "On", "ResetType": "On"})"}) {
        EXPECT_THAT(refusalOf(body), testing::StartsWith("Base.1.18.MalformedJSON")) << body;
    }
}

} // namespace
