#include "MessageRegistry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

namespace {

using Strings = std::vector<std::string>;

// A directory of the test's own.
class RegistryFile : public testing::Test
{
public:
    RegistryFile()
    {
        std::string pattern = testing::TempDir() + "registry-XXXXXX";
        mDirectory = ::mkdtemp(pattern.data());
    }
    ~RegistryFile() override { std::filesystem::remove_all(mDirectory); }
    RegistryFile(const RegistryFile&) = delete;
    RegistryFile& operator=(const RegistryFile&) = delete;

protected:
    void write(const std::string& text) const { std::ofstream(path(), std::ios::binary) << text; }
    std::string path() const { return mDirectory + "/Test.1.2.json"; }

    // Loads text as the registry's file and returns what is wrong with it.
    std::string problemOf(const std::string& text)
    {
        write(text);
        std::string problem = "not set";
        const bool isLoaded = mRegistry.load(mDirectory, problem);
        EXPECT_EQ(isLoaded, problem.empty());
        return problem;
    }

    std::string mDirectory;
    MessageRegistry mRegistry{"Test.1.2"};
};

std::string registryText(const std::string& messages, const std::string& version = "2.34.5")
{
    return R"({"RegistryPrefix": "Other", "RegistryVersion": ")" + version + R"(", "Messages": )" +
           messages + "}";
}

const char* const kGoodMessage = R"("Good": {"Message": "one %1", "MessageSeverity": "Warning",
    "NumberOfArgs": 1, "Resolution": "none", "ParamTypes": ["string"], "Future": [{}]})";

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

TEST_F(RegistryFile, givesWhatTheFileSaysOfAMessage)
{
    ASSERT_EQ("", problemOf(registryText("{" + std::string(kGoodMessage) + "}")));
    const RegistryMessage* message = mRegistry.find("Good");
    ASSERT_NE(nullptr, message);
    EXPECT_EQ("one %1", message->text);
    EXPECT_EQ("Warning", message->severity);
    EXPECT_EQ("none", message->resolution);
    EXPECT_EQ(1U, message->argumentCount);
    EXPECT_EQ("Other.2.34.Good", mRegistry.messageId("Good"));
}

TEST_F(RegistryFile, unknownKeyIsNullAndStillHasAnId)
{
    ASSERT_EQ("", problemOf(registryText("{}")));
    EXPECT_EQ(nullptr, mRegistry.find("Good"));
    EXPECT_EQ(nullptr, mRegistry.find(""));
    EXPECT_EQ("Other.2.34.Nope", mRegistry.messageId("Nope"));
}

TEST_F(RegistryFile, takesTheOldNameOfTheSeverity)
{
    ASSERT_EQ("", problemOf(registryText(
                      R"({"Old": {"Message": "m", "Severity": "OK", "NumberOfArgs": 0,
                          "Resolution": "r"}})")));
    EXPECT_EQ("OK", mRegistry.find("Old")->severity);
}

TEST_F(RegistryFile, takesAVersionOfTwoNumbers)
{
    ASSERT_EQ("", problemOf(registryText("{}", "7.8")));
    EXPECT_EQ("Other.7.8.K", mRegistry.messageId("K"));
}

TEST_F(RegistryFile, aMissingFileIsNamedWithItsCause)
{
    std::string problem;
    EXPECT_FALSE(mRegistry.load(mDirectory, problem));
    EXPECT_EQ(path() + " cannot be opened: No such file or directory", problem);
    EXPECT_EQ("Test.1.2.K", mRegistry.messageId("K"));
}

TEST_F(RegistryFile, aDirectoryIsNoRegistry)
{
    std::filesystem::create_directory(path());
    std::string problem;
    EXPECT_FALSE(mRegistry.load(mDirectory, problem));
    EXPECT_EQ(path() + " cannot be read", problem);
}

TEST_F(RegistryFile, anEndlessFileIsNoRegistry)
{
    std::filesystem::create_symlink("/dev/zero", path());
    std::string problem;
    EXPECT_FALSE(mRegistry.load(mDirectory, problem));
    EXPECT_EQ(path() + " is too long for a message registry", problem);
}

TEST_F(RegistryFile, aDamagedFileGivesAProblemOfOneLine)
{
    const std::string good = registryText("{" + std::string(kGoodMessage) + "}");
    const Strings damaged{
        "",
        " ",
        "{",
        "null",
        "[]",
        "1",
        "\"x\"",
        good + "x",
        "// comment\n" + good,
        good.substr(0, good.size() / 2),
        std::string("\xFF\xFE\0{", 4),
        std::string(100000, '['),
        R"({"RegistryPrefix": "A", "RegistryPrefix": "A"})",
        "{}",
        R"({"RegistryPrefix": 1, "RegistryVersion": "1.0.0", "Messages": {}})",
        R"({"RegistryPrefix": "", "RegistryVersion": "1.0.0", "Messages": {}})",
        R"({"RegistryPrefix": "A.B", "RegistryVersion": "1.0.0", "Messages": {}})",
        R"({"RegistryPrefix": "A", "RegistryVersion": 1.0, "Messages": {}})",
        R"({"RegistryPrefix": "A", "RegistryVersion": "1.0.0"})",
        R"({"RegistryPrefix": "A", "RegistryVersion": "1.0.0", "Messages": []})",
        R"({"RegistryPrefix": "A", "RegistryVersion": "1.0.0", "Messages": "x"})"};
    for (const std::string& text : damaged) {
        const std::string problem = problemOf(text);
        EXPECT_TRUE(problem.starts_with(path() + " ")) << text << "\n" << problem;
        EXPECT_FALSE(contains(problem, "\n")) << problem;
        EXPECT_EQ(nullptr, mRegistry.find("Good"));
        EXPECT_EQ("Test.1.2.K", mRegistry.messageId("K"));
    }
}

TEST_F(RegistryFile, aVersionMustBeNumbers)
{
    for (const char* version :
         {"", "1", "1.", ".1", "1..0", "a.b.c", "1.x.0", "-1.0.0", "v1.0.0"}) {
        EXPECT_TRUE(contains(problemOf(registryText("{}", version)), "RegistryVersion")) << version;
    }
}

TEST_F(RegistryFile, aDamagedMessageIsLeftOutAndTheOthersStay)
{
    const Strings damaged{
        "null",
        "1",
        "[]",
        "\"x\"",
        "{}",
        R"({"MessageSeverity": "OK", "NumberOfArgs": 0, "Resolution": "r"})",
        R"({"Message": 1, "MessageSeverity": "OK", "NumberOfArgs": 0, "Resolution": "r"})",
        R"({"Message": "m", "NumberOfArgs": 0, "Resolution": "r"})",
        R"({"Message": "m", "MessageSeverity": [], "NumberOfArgs": 0, "Resolution": "r"})",
        R"({"Message": "m", "MessageSeverity": "OK", "NumberOfArgs": 0})",
        R"({"Message": "m", "MessageSeverity": "OK", "NumberOfArgs": 0, "Resolution": {}})",
        R"({"Message": "m", "MessageSeverity": "OK", "Resolution": "r"})",
        R"({"Message": "m", "MessageSeverity": "OK", "NumberOfArgs": "1", "Resolution": "r"})",
        R"({"Message": "m", "MessageSeverity": "OK", "NumberOfArgs": -1, "Resolution": "r"})",
        R"({"Message": "m", "MessageSeverity": "OK", "NumberOfArgs": 0.5, "Resolution": "r"})",
        R"({"Message": "m", "MessageSeverity": "OK", "NumberOfArgs": 100, "Resolution": "r"})",
        R"({"Message": "m", "MessageSeverity": "OK", "NumberOfArgs": 4000000000,
            "Resolution": "r"})"};
    for (const std::string& entry : damaged) {
        const std::string text = registryText(R"({"Bad": )" + entry + ", " + kGoodMessage + "}");
        EXPECT_EQ(path() + " has a damaged message: Bad", problemOf(text)) << entry;
        EXPECT_EQ(nullptr, mRegistry.find("Bad")) << entry;
        EXPECT_NE(nullptr, mRegistry.find("Good")) << entry;
        EXPECT_EQ("Other.2.34.Bad", mRegistry.messageId("Bad"));
    }
}

TEST(FillArguments, putsEachArgumentWhereItsNumberStands)
{
    EXPECT_EQ("b, a and b", fillArguments("%2, %1 and %2", {"a", "b"}));
    EXPECT_EQ("ab", fillArguments("%1%2", {"a", "b"}));
    EXPECT_EQ("", fillArguments("%1", {""}));
    EXPECT_EQ("", fillArguments("", {"a"}));
}

TEST(FillArguments, leavesAnyOtherPercentSign)
{
    for (const std::string text :
         {"%", "100%", "%%", "% 1", "%x", "%0", "%01", "%3", "%9999", "%-1"}) {
        EXPECT_EQ(text, fillArguments(text, {"a", "b"}));
        EXPECT_EQ(text, fillArguments(text, {}));
    }
    EXPECT_EQ("%a", fillArguments("%%1", {"a"}));
}

TEST(FillArguments, insertsAnArgumentOnce)
{
    EXPECT_EQ("%2 %1", fillArguments("%1 %2", {"%2", "%1"}));
    EXPECT_EQ("%b", fillArguments("%1%2", {"%", "b"}));
}

TEST(FillArguments, readsTheLongestNumberThatAnArgumentHas)
{
    Strings nine;
    for (int i = 1; i <= 9; ++i) {
        nine.push_back("<" + std::to_string(i) + ">");
    }
    EXPECT_EQ("<1>0 <9>9", fillArguments("%10 %99", nine));
    Strings twelve = nine;
    twelve.insert(twelve.end(), {"<10>", "<11>", "<12>"});
    EXPECT_EQ("<10> <1>3 <12>0 <9>", fillArguments("%10 %13 %120 %9", twelve));
}

TEST(FillArguments, takesAnyNumber)
{
    EXPECT_EQ("a8446744073709551617", fillArguments("%18446744073709551617", {"a"}));
}

// ---- The registries that this system brings along ----

class BundledRegistry : public testing::TestWithParam<std::string>
{
protected:
    Json::Value root() const
    {
        std::ifstream file(std::string(CIMGATE_REGISTRY_DIR "/") + GetParam() + ".json");
        Json::Value value;
        file >> value;
        return value;
    }
};

TEST_P(BundledRegistry, isReadWithoutAProblem)
{
    MessageRegistry registry(GetParam());
    std::string problem;
    EXPECT_TRUE(registry.load(CIMGATE_REGISTRY_DIR, problem)) << problem;
    EXPECT_EQ(GetParam() + ".K", registry.messageId("K"));
}

TEST_P(BundledRegistry, hasTheStandardFormat)
{
    const Json::Value registry = root();
    EXPECT_EQ("#MessageRegistry.v1_6_2.MessageRegistry", registry["@odata.type"].asString());
    EXPECT_EQ(GetParam() + ".0", registry["Id"].asString());
    EXPECT_EQ(registry["Id"].asString(),
              registry["RegistryPrefix"].asString() + '.' + registry["RegistryVersion"].asString());
    for (const char* member : {"Name", "Language", "Description", "OwningEntity"}) {
        EXPECT_NE("", registry[member].asString()) << member;
    }
}

// The numbers of the placeholders in a text.
std::set<std::string> placeholdersIn(const std::string& text)
{
    std::set<std::string> numbers;
    for (size_t i = text.find('%'); i != std::string::npos; i = text.find('%', i + 1)) {
        numbers.insert(text.substr(i + 1, 1));
    }
    return numbers;
}

TEST_P(BundledRegistry, messagesAreWhole)
{
    static const std::set<std::string> kSeverities{"OK", "Warning", "Critical"};
    const Json::Value messages = root()["Messages"];
    for (const std::string& key : messages.getMemberNames()) {
        SCOPED_TRACE(key);
        const Json::Value& message = messages[key];
        EXPECT_TRUE(
            std::all_of(key.begin(), key.end(), [](unsigned char c) { return std::isalnum(c); }));
        for (const char* member : {"Description", "Message", "Resolution"}) {
            EXPECT_TRUE(message[member].asString().ends_with('.')) << member;
        }
        EXPECT_TRUE(kSeverities.contains(message["MessageSeverity"].asString()));
        EXPECT_EQ(message["MessageSeverity"], message["Severity"]);
        const unsigned int count = message["NumberOfArgs"].asUInt();
        EXPECT_EQ(count, message["ParamTypes"].size());
        EXPECT_EQ(count, message["ArgDescriptions"].size());
        std::set<std::string> expected;
        for (unsigned int i = 1; i <= count; ++i) {
            expected.insert(std::to_string(i));
        }
        EXPECT_EQ(expected, placeholdersIn(message["Message"].asString()));
    }
}

INSTANTIATE_TEST_SUITE_P(Files, BundledRegistry, testing::Values("Base.1.18", "Vexo.1.0"),
                         [](const auto& instance) { return instance.param.substr(0, 4); });

struct KnownMessage
{
    const char* key;
    size_t argumentCount;
    const char* severity;
};

void expectMessages(const char* name, const std::vector<KnownMessage>& expected)
{
    MessageRegistry registry(name);
    std::string problem;
    ASSERT_TRUE(registry.load(CIMGATE_REGISTRY_DIR, problem)) << problem;
    for (const KnownMessage& known : expected) {
        const RegistryMessage* message = registry.find(known.key);
        ASSERT_NE(nullptr, message) << known.key;
        EXPECT_EQ(known.argumentCount, message->argumentCount) << known.key;
        EXPECT_EQ(known.severity, message->severity) << known.key;
    }
}

// Argument counts and severities are those of the standard Base registry 1.18, so that clients that
// hold a copy of it read our arguments rightly.
TEST(BundledBaseRegistry, agreesWithTheStandard)
{
    expectMessages("Base.1.18", {{"Success", 0, "OK"},
                                 {"GeneralError", 0, "Critical"},
                                 {"Created", 0, "OK"},
                                 {"InternalError", 0, "Critical"},
                                 {"ResourceMissingAtURI", 1, "Critical"},
                                 {"ResourceNotFound", 2, "Critical"},
                                 {"MalformedJSON", 0, "Critical"},
                                 {"UnrecognizedRequestBody", 0, "Warning"},
                                 {"PropertyValueTypeError", 2, "Warning"},
                                 {"PropertyUnknown", 1, "Warning"},
                                 {"PropertyValueNotInList", 2, "Warning"},
                                 {"PropertyMissing", 1, "Warning"},
                                 {"ActionNotSupported", 1, "Critical"},
                                 {"QueryParameterValueFormatError", 2, "Warning"},
                                 {"QueryParameterOutOfRange", 3, "Warning"},
                                 {"QueryParameterUnsupported", 1, "Warning"},
                                 {"QueryNotSupported", 0, "Warning"},
                                 {"QueryCombinationInvalid", 0, "Warning"},
                                 {"InvalidURI", 1, "Critical"},
                                 {"NoValidSession", 0, "Critical"},
                                 {"InsufficientPrivilege", 0, "Critical"},
                                 {"AccessDenied", 1, "Critical"},
                                 {"ResourceAtUriUnauthorized", 2, "Critical"},
                                 {"SessionLimitExceeded", 0, "Critical"},
                                 {"OperationNotAllowed", 0, "Critical"},
                                 {"PreconditionFailed", 0, "Critical"},
                                 {"PreconditionRequired", 0, "Critical"},
                                 {"PayloadTooLarge", 0, "Critical"},
                                 {"HeaderInvalid", 1, "Critical"},
                                 {"ServiceTemporarilyUnavailable", 1, "Critical"},
                                 {"OperationTimeout", 0, "Warning"}});
}

TEST(BundledBaseRegistry, saysWhatItAddsToTheStandard)
{
    std::ifstream file(CIMGATE_REGISTRY_DIR "/Base.1.18.json");
    Json::Value root;
    file >> root;
    for (const char* key :
         {"NotAcceptable", "UnsupportedMediaType", "HeaderTooLong", "HttpVersionNotSupported"}) {
        EXPECT_TRUE(root["Messages"][key]["Description"].asString().starts_with(
            "An addition of this system: "))
            << key;
        EXPECT_EQ(0U, root["Messages"][key]["NumberOfArgs"].asUInt()) << key;
    }
}

TEST(BundledProductRegistry, hasTheMessagesOfTheMapper)
{
    expectMessages("Vexo.1.0", {{"SYS402", 0, "Critical"},
                                {"SYS403", 1, "Critical"},
                                {"SYS405", 0, "Critical"},
                                {"SYS407", 2, "Warning"},
                                {"SYS413", 0, "OK"},
                                {"SYS414", 0, "OK"},
                                {"SYS417", 3, "Warning"},
                                {"SYS419", 1, "Critical"},
                                {"SYS425", 2, "Warning"},
                                {"SYS426", 2, "Warning"},
                                {"SYS428", 1, "Warning"},
                                {"SYS429", 1, "Warning"},
                                {"SYS446", 0, "Critical"},
                                {"SYS451", 1, "Warning"},
                                {"SYS500", 0, "Critical"},
                                {"KTX0506", 0, "Critical"}});
}

} // namespace
