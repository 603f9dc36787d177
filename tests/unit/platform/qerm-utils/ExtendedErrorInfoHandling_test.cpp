#include <ExhaustedMemory.h>
#include <ExtendedErrorInfoHandling.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

const char* const kExtendedInfo = "@Message.ExtendedInfo";

Json::Value parsed(const std::string& text)
{
    Json::CharReaderBuilder strict;
    Json::CharReaderBuilder::strictMode(&strict.settings_);
    std::istringstream stream(text);
    Json::Value value;
    std::string problem;
    EXPECT_TRUE(Json::parseFromStream(strict, stream, &value, &problem)) << problem << text;
    return value;
}

std::string textOf(const ExtendedErrorInfoHandling& info)
{
    std::string text = "replaced";
    info.GetNewExtendedErrMsg(text);
    return text;
}

Json::Value errorOf(const ExtendedErrorInfoHandling& info)
{
    return parsed(textOf(info))["error"];
}

Json::Value onlyMessageOf(const ExtendedErrorInfoHandling& info)
{
    const Json::Value list = errorOf(info)[kExtendedInfo];
    EXPECT_EQ(1U, list.size());
    return list[0];
}

Json::Value array(std::initializer_list<const char*> texts)
{
    Json::Value list(Json::arrayValue);
    for (const char* text : texts) {
        list.append(text);
    }
    return list;
}

class ExtendedError : public testing::Test
{
protected:
    ExtendedError() { ExtendedErrorInfoHandling::SetRegistryDirectory(CIMGATE_REGISTRY_DIR); }

    ExtendedErrorInfoHandling mInfo;
};

TEST_F(ExtendedError, registriesAreLoadedWithoutAProblem)
{
    std::string problem = "old";
    EXPECT_TRUE(ExtendedErrorInfoHandling::LoadRegistries(problem)) << problem;
    EXPECT_EQ("", problem);
}

TEST_F(ExtendedError, registriesAreReadOnce)
{
    std::string problem;
    ASSERT_TRUE(ExtendedErrorInfoHandling::LoadRegistries(problem));
    ExtendedErrorInfoHandling::SetRegistryDirectory("/nonexistent");
    EXPECT_TRUE(ExtendedErrorInfoHandling::LoadRegistries(problem)) << problem;
}

TEST_F(ExtendedError, rendersTheWholeBodyOfOneMessage)
{
    mInfo.InsertBaseMessageID("QueryParameterOutOfRange", "#/Members", "9", "$top", "(1-5)");
    const Json::Value body = parsed(textOf(mInfo));
    const Json::Value expected = parsed(R"JSON({"error": {
        "code": "Base.1.18.QueryParameterOutOfRange",
        "message": "The query parameter $top cannot be '9' here; its range is (1-5).",
        "@Message.ExtendedInfo": [{
            "@odata.type": "#Message.v1_1_1.Message",
            "MessageId": "Base.1.18.QueryParameterOutOfRange",
            "Message": "The query parameter $top cannot be '9' here; its range is (1-5).",
            "MessageArgs": ["9", "$top", "(1-5)"],
            "Severity": "Warning", "MessageSeverity": "Warning",
            "Resolution": "Choose a value from the range.",
            "RelatedProperties": ["#/Members"]}]}})JSON");
    EXPECT_EQ(expected, body) << body;
}

TEST_F(ExtendedError, bodyIsOneLine)
{
    mInfo.InsertBaseMessageID("PropertyUnknown", "", "a\nb");
    const std::string text = textOf(mInfo);
    EXPECT_EQ(text.size() - 1, text.find('\n'));
    EXPECT_EQ(std::string::npos, text.find(": {"));
}

TEST_F(ExtendedError, bodyWithoutMessagesIsAGeneralError)
{
    const Json::Value error = errorOf(mInfo);
    EXPECT_EQ("Base.1.18.GeneralError", error["code"].asString());
    EXPECT_NE("", error["message"].asString());
    EXPECT_EQ(Json::Value(Json::arrayValue), error[kExtendedInfo]);
}

TEST_F(ExtendedError, bodyOfSeveralMessagesIsAGeneralErrorWithAllInOrder)
{
    mInfo.InsertMessageID("SYS403", "", "X");
    mInfo.InsertBaseMessageID("ResourceMissingAtURI", "", "X");
    mInfo.InsertMessageID("SYS403", "", "Y");
    const Json::Value error = errorOf(mInfo);
    EXPECT_EQ("Base.1.18.GeneralError", error["code"].asString());
    ASSERT_EQ(3U, error[kExtendedInfo].size());
    EXPECT_EQ("Vexo.1.0.SYS403", error[kExtendedInfo][0]["MessageId"].asString());
    EXPECT_EQ("Base.1.18.ResourceMissingAtURI", error[kExtendedInfo][1]["MessageId"].asString());
    EXPECT_EQ(array({"Y"}), error[kExtendedInfo][2]["MessageArgs"]);
}

TEST_F(ExtendedError, renderingChangesNothing)
{
    mInfo.InsertMessageID("SYS429", "", "Colour");
    const std::string first = textOf(mInfo);
    EXPECT_EQ(first, textOf(mInfo));
}

TEST_F(ExtendedError, everyOverloadFillsItsArguments)
{
    mInfo.InsertMessageID("SYS417");
    mInfo.InsertMessageID("SYS417", "");
    mInfo.InsertMessageID("SYS417", "", "a");
    mInfo.InsertMessageID("SYS417", "", "a", "b");
    mInfo.InsertMessageID("SYS417", "", "a", "b", "c");
    mInfo.InsertBaseMessageID("QueryParameterOutOfRange", "");
    mInfo.InsertBaseMessageID("QueryParameterOutOfRange", "", "a");
    mInfo.InsertBaseMessageID("QueryParameterOutOfRange", "", "a", "b");
    mInfo.InsertBaseMessageID("QueryParameterOutOfRange", "", "a", "b", "c");
    const Json::Value list = errorOf(mInfo)[kExtendedInfo];
    ASSERT_EQ(9U, list.size());
    EXPECT_EQ(array({"", "", ""}), list[0]["MessageArgs"]);
    EXPECT_EQ(array({"", "", ""}), list[1]["MessageArgs"]);
    EXPECT_EQ(array({"a", "", ""}), list[2]["MessageArgs"]);
    EXPECT_EQ(array({"a", "b", ""}), list[3]["MessageArgs"]);
    EXPECT_EQ(array({"a", "b", "c"}), list[4]["MessageArgs"]);
    for (Json::ArrayIndex i = 1; i < 5; ++i) {
        EXPECT_EQ(list[i]["MessageArgs"], list[i + 4]["MessageArgs"]) << i;
    }
    EXPECT_EQ("The value 'a' of the query parameter  is not within .",
              list[2]["Message"].asString());
}

TEST_F(ExtendedError, surplusArgumentsAreDropped)
{
    mInfo.InsertMessageID("SYS403", "", "a", "b", "c");
    const Json::Value message = onlyMessageOf(mInfo);
    EXPECT_EQ(array({"a"}), message["MessageArgs"]);
    EXPECT_EQ("No resource was found for 'a'.", message["Message"].asString());
}

TEST_F(ExtendedError, aMessageWithoutArgumentsHasAnEmptyList)
{
    mInfo.InsertBaseMessageID("InternalError", "", "unused");
    EXPECT_EQ(Json::Value(Json::arrayValue), onlyMessageOf(mInfo)["MessageArgs"]);
}

TEST_F(ExtendedError, nullArgumentsCountAsEmpty)
{
    mInfo.InsertMessageID("SYS425", nullptr, nullptr, "Speed");
    const Json::Value message = onlyMessageOf(mInfo);
    EXPECT_EQ(array({"", "Speed"}), message["MessageArgs"]);
    EXPECT_FALSE(message.isMember("RelatedProperties"));
}

TEST_F(ExtendedError, relatedPropertyStandsWhereOneWasGiven)
{
    mInfo.InsertMessageID("SYS429", "#/Colour", "Colour");
    mInfo.InsertMessageID("SYS429", "", "Colour");
    const Json::Value list = errorOf(mInfo)[kExtendedInfo];
    EXPECT_EQ(array({"#/Colour"}), list[0]["RelatedProperties"]);
    EXPECT_FALSE(list[1].isMember("RelatedProperties"));
}

TEST_F(ExtendedError, argumentsAreInsertedAsTheyAre)
{
    mInfo.InsertMessageID("SYS425", "", "%2\"\\", "%1");
    EXPECT_EQ("The type of the value '%2\"\\' does not fit %1.",
              onlyMessageOf(mInfo)["Message"].asString());
}

TEST_F(ExtendedError, unknownMessageKeepsItsIdAndArguments)
{
    mInfo.InsertMessageID("SYS999", "#/P", "a", "b");
    mInfo.InsertBaseMessageID("NoSuchMessage", "");
    const Json::Value list = errorOf(mInfo)[kExtendedInfo];
    EXPECT_EQ("Vexo.1.0.SYS999", list[0]["MessageId"].asString());
    EXPECT_EQ("Base.1.18.NoSuchMessage", list[1]["MessageId"].asString());
    EXPECT_EQ(array({"a", "b"}), list[0]["MessageArgs"]);
    EXPECT_EQ(array({}), list[1]["MessageArgs"]);
    for (const Json::Value& message : list) {
        EXPECT_EQ("Critical", message["Severity"].asString());
        EXPECT_EQ("Critical", message["MessageSeverity"].asString());
        EXPECT_NE("", message["Message"].asString());
        EXPECT_NE("", message["Resolution"].asString());
    }
}

TEST_F(ExtendedError, emptyIdIsAGeneralError)
{
    mInfo.InsertMessageID(nullptr, "", "a");
    mInfo.InsertMessageID("");
    mInfo.InsertBaseMessageID(nullptr, "");
    for (const Json::Value& message : errorOf(mInfo)[kExtendedInfo]) {
        EXPECT_EQ("Base.1.18.GeneralError", message["MessageId"].asString());
    }
}

TEST_F(ExtendedError, argumentsThatAreNotUtf8AreRepaired)
{
    struct Case
    {
        const char* argument;
        const char* shown;
    };
    const Case cases[] = {{"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\x7F", "ä€😀\x7F"},
                          {"\xC3\"x", "\uFFFD\"x"},
                          {"a\xE9", "a\uFFFD"},
                          {"\x80\xBFz", "\uFFFD\uFFFDz"},
                          {"\xC0\xAF\xC1\xBF", "\uFFFD\uFFFD\uFFFD\uFFFD"},
                          {"\xE0\x9F\xBF", "\uFFFD\uFFFD\uFFFD"},
                          {"\xE0\xA0\x80", "\xE0\xA0\x80"},
                          {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
                          {"\xED\x9F\xBF", "\xED\x9F\xBF"},
                          {"\xE2\x82", "\uFFFD\uFFFD"},
                          {"\xF0\x8F\xBF\xBF", "\uFFFD\uFFFD\uFFFD\uFFFD"},
                          {"\xF4\x8F\xBF\xBF", "\U0010FFFF"},
                          {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
                          {"\xF5\x80\xFE\xFFq", "\uFFFD\uFFFD\uFFFD\uFFFDq"},
                          {"\xF0\x9F\x98!", "\uFFFD\uFFFD\uFFFD!"}};
    for (const Case& entry : cases) {
        ExtendedErrorInfoHandling info;
        info.InsertMessageID("SYS403", entry.argument, entry.argument);
        const Json::Value message = onlyMessageOf(info);
        EXPECT_EQ(entry.shown, message["MessageArgs"][0].asString());
        EXPECT_EQ(entry.shown, message["RelatedProperties"][0].asString());
        EXPECT_EQ("No resource was found for '" + std::string(entry.shown) + "'.",
                  message["Message"].asString());
    }
}

TEST_F(ExtendedError, longArgumentsAreCutAtACharacter)
{
    struct Case
    {
        std::string argument;
        std::string shown;
    };
    const std::string x252(252, 'x');
    const std::string shown = x252 + "x...";
    const Case cases[] = {
        {x252 + "xxx", x252 + "xxx"},                                 // 255 bytes
        {x252 + "xxxx", x252 + "xxxx"},                               // 256
        {x252 + "xxxxx", shown},                                      // 257
        {std::string(1 << 20, 'x'), shown},                           // 1 MiB
        {x252 + "\xC3\xA4zz", x252 + "\xC3\xA4zz"},                   // 256, with an ä
        {x252 + "x\xC3\xA4z", x252 + "x\xC3\xA4z"},                   // the same
        {x252 + "\xC3\xA4zzz", x252 + "..."},                         // an ä at the cut
        {x252 + "x\xC3\xA4zz", shown},                                // behind it
        {x252 + "\xF0\x9F\x98\x80z", x252 + "..."},                   // four bytes
        {x252.substr(1) + "\xE2\x82\xACxxx", x252.substr(1) + "..."}, // three
        {x252.substr(2) + "\xE2\x82\xACxxxx", x252.substr(2) + "\xE2\x82\xAC..."},
        {x252 + "\xFFz", x252 + "\uFFFDz"}, // 254, but 256 as they are shown
        {x252 + "\xFFzz", x252 + "..."},    // 255, and 257
        {x252.substr(2) + "\xFF\xFF\xFF\xFF", x252.substr(2) + "\uFFFD..."},
        {x252 + "\xF0\x9F\x98", x252 + "..."}, // a character that is not whole
    };
    for (const Case& entry : cases) {
        ExtendedErrorInfoHandling info;
        info.InsertMessageID("SYS403", "", entry.argument.c_str());
        const Json::Value message = onlyMessageOf(info);
        EXPECT_EQ(entry.shown, message["MessageArgs"][0].asString());
        EXPECT_LE(message["MessageArgs"][0].asString().size(), 256U);
        EXPECT_EQ("No resource was found for '" + entry.shown + "'.",
                  message["Message"].asString());
    }
}

TEST_F(ExtendedError, longArgumentsMakeNoLongBody)
{
    std::string beyondAscii;
    while (beyondAscii.size() < 1 << 20) {
        beyondAscii += "\xF0\x9F\x98\x80";
    }
    ExtendedErrorInfoHandling info;
    const char* const argument = beyondAscii.c_str();
    info.InsertMessageID("SYS428", "", argument, argument, argument);
    info.InsertBaseMessageID("PropertyValueTypeError", "", argument, argument, argument);
    EXPECT_LT(textOf(info).size(), 16384U);
}

TEST_F(ExtendedError, everyByteMakesValidJson)
{
    for (int byte = 1; byte < 256; ++byte) {
        const std::string argument{'a', static_cast<char>(byte), 'b'};
        ExtendedErrorInfoHandling info;
        info.InsertMessageID(argument.c_str(), "", argument.c_str());
        const Json::Value message = onlyMessageOf(info);
        const std::string shown = byte < 0x80 ? argument : "a\uFFFDb";
        EXPECT_EQ(shown, message["MessageArgs"][0].asString());
        EXPECT_EQ("Vexo.1.0." + shown, message["MessageId"].asString());
    }
}

TEST_F(ExtendedError, successIsAddedToANullBody)
{
    Json::Value body;
    mInfo.AppendSuccessExtendedJSON(body, "SYS413");
    ASSERT_TRUE(body.isObject());
    ASSERT_EQ(1U, body.size());
    ASSERT_EQ(1U, body[kExtendedInfo].size());
    const Json::Value message = body[kExtendedInfo][0];
    EXPECT_EQ("#Message.v1_1_1.Message", message["@odata.type"].asString());
    EXPECT_EQ("Vexo.1.0.SYS413", message["MessageId"].asString());
    EXPECT_EQ("OK", message["Severity"].asString());
    EXPECT_EQ("OK", message["MessageSeverity"].asString());
    EXPECT_EQ(array({}), message["MessageArgs"]);
}

TEST_F(ExtendedError, successWithoutAnIdIsTheBaseMessage)
{
    for (const char* id : {static_cast<const char*>(nullptr), ""}) {
        Json::Value body(Json::objectValue);
        mInfo.AppendSuccessExtendedJSON(body, id);
        EXPECT_EQ("Base.1.18.Success", body[kExtendedInfo][0]["MessageId"].asString());
    }
}

TEST_F(ExtendedError, successThatNoRegistryDescribesIsStillASuccess)
{
    Json::Value body;
    mInfo.AppendSuccessExtendedJSON(body, "RAC\xFF");
    EXPECT_EQ("Vexo.1.0.RAC\uFFFD", body[kExtendedInfo][0]["MessageId"].asString());
    EXPECT_EQ("OK", body[kExtendedInfo][0]["MessageSeverity"].asString());
}

TEST_F(ExtendedError, createdIsTheBaseMessage)
{
    Json::Value body;
    body["Id"] = "7";
    mInfo.AppendCreatedExtendedJSON(body);
    EXPECT_EQ("7", body["Id"].asString());
    EXPECT_EQ("Base.1.18.Created", body[kExtendedInfo][0]["MessageId"].asString());
    EXPECT_EQ("OK", body[kExtendedInfo][0]["Severity"].asString());
}

TEST_F(ExtendedError, messagesAreAddedBehindThoseOfTheBody)
{
    Json::Value body = parsed(R"({"@Message.ExtendedInfo": [{"MessageId": "first"}]})");
    mInfo.AppendSuccessExtendedJSON(body, "SYS413");
    mInfo.AppendCreatedExtendedJSON(body);
    ASSERT_EQ(3U, body[kExtendedInfo].size());
    EXPECT_EQ("first", body[kExtendedInfo][0]["MessageId"].asString());
    EXPECT_EQ("Vexo.1.0.SYS413", body[kExtendedInfo][1]["MessageId"].asString());
    EXPECT_EQ("Base.1.18.Created", body[kExtendedInfo][2]["MessageId"].asString());
}

TEST_F(ExtendedError, extendedInfoThatIsNoArrayIsReplaced)
{
    for (const char* text : {"null", "{\"a\": 1}", "\"x\"", "1", "true"}) {
        Json::Value body = parsed("{\"@Message.ExtendedInfo\": " + std::string(text) + "}");
        mInfo.AppendSuccessExtendedJSON(body, "SYS413");
        ASSERT_TRUE(body[kExtendedInfo].isArray()) << text;
        EXPECT_EQ(1U, body[kExtendedInfo].size()) << text;
    }
}

TEST_F(ExtendedError, bodyThatIsNoObjectIsLeftAlone)
{
    for (const Json::Value& original :
         {Json::Value("text"), Json::Value(1), Json::Value(false), Json::Value(Json::arrayValue)}) {
        Json::Value body = original;
        mInfo.AppendSuccessExtendedJSON(body, "SYS413");
        mInfo.AppendCreatedExtendedJSON(body);
        EXPECT_EQ(original, body);
    }
}

TEST_F(ExtendedError, noOperationThrowsWhenMemoryIsExhausted)
{
    std::string problem;
    ASSERT_TRUE(ExtendedErrorInfoHandling::LoadRegistries(problem));
    int allowed = 0;
    for (bool hasFailed = true; hasFailed; ++allowed) {
        ExtendedErrorInfoHandling info;
        Json::Value body;
        std::string text;
        {
            const ExhaustedMemory exhausted(allowed);
            EXPECT_NO_THROW({
                info.InsertMessageID("SYS417", "#/Members", "9", "$top", "(1-5)");
                info.InsertBaseMessageID("PropertyUnknown", "", "a");
                info.GetNewExtendedErrMsg(text);
                info.AppendSuccessExtendedJSON(body, "SYS413");
                ExtendedErrorInfoHandling::SetRegistryDirectory(std::string_view("x").data());
            });
            hasFailed = ExhaustedMemory::hasFailed();
        }
        EXPECT_TRUE(text.empty() || parsed(text)["error"].isMember("code")) << text;
    }
    EXPECT_GT(allowed, 50);
}

TEST_F(ExtendedError, threadsMayShareTheFirstUse)
{
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            ExtendedErrorInfoHandling info;
            info.InsertMessageID("SYS403", "", "X");
            EXPECT_EQ("No resource was found for 'X'.", onlyMessageOf(info)["Message"].asString());
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// Runs in a new process, since the registries are read once: an error is still an error response.
void reportWithoutRegistries(const std::string& directory)
{
    ExtendedErrorInfoHandling::SetRegistryDirectory(directory);
    std::string problem;
    const bool isLoaded = ExtendedErrorInfoHandling::LoadRegistries(problem);
    ExtendedErrorInfoHandling info;
    info.InsertMessageID("SYS403", "", "X", "Y");
    const Json::Value error = errorOf(info);
    const Json::Value& message = error[kExtendedInfo][0];
    (void)std::fprintf(stderr, "%d|%s|%s|%s|%u|%s|%s", isLoaded ? 1 : 0, problem.c_str(),
                       error["code"].asCString(), message["MessageId"].asCString(),
                       message["MessageArgs"].size(), message["Severity"].asCString(),
                       errorOf(ExtendedErrorInfoHandling())["code"].asCString());
    ::_exit(0);
}

TEST(ExtendedErrorDeathTest, unreadableRegistriesLeaveIdAndArguments)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(reportWithoutRegistries("/nonexistent"), testing::ExitedWithCode(0),
                "^0\\|/nonexistent/Base.1.18.json cannot be opened: No such file or directory; "
                "/nonexistent/Vexo.1.0.json cannot be opened: No such file or directory\\|"
                "Vexo.1.0.SYS403\\|Vexo.1.0.SYS403\\|2\\|Critical\\|Base.1.18.GeneralError$");
}

} // namespace
