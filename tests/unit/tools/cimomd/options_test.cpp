// The command line.
#include "options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;

using Arguments = std::vector<std::string>;

cli::Reading reading(const Arguments& arguments, cimomd::Options& options)
{
    const cli::Command program = cimomd::commandLine(options);
    return cli::read(program, arguments);
}

cimomd::Options parsed(const Arguments& arguments)
{
    cimomd::Options options;
    const cli::Reading result = reading(arguments, options);
    EXPECT_EQ(result.outcome, cli::Reading::Outcome::Run) << result.text;
    return options;
}

std::string optionsProblem(const Arguments& arguments)
{
    cimomd::Options options;
    const cli::Reading result = reading(arguments, options);
    EXPECT_EQ(result.outcome, cli::Reading::Outcome::Wrong);
    EXPECT_FALSE(result.text.empty());
    return result.text;
}

std::string printed(const Arguments& arguments)
{
    cimomd::Options options;
    const cli::Reading result = reading(arguments, options);
    EXPECT_EQ(result.outcome, cli::Reading::Outcome::Print);
    return result.text;
}

TEST(Options, OnlyTheRepositoryIsNeeded)
{
    const cimomd::Options options = parsed({"--repository", "dir"});
    EXPECT_EQ(options.repositoryDirectory, "dir");
    EXPECT_EQ(options.address, "127.0.0.1");
    EXPECT_EQ(options.port, 5988);
    EXPECT_THAT(optionsProblem({}), HasSubstr("--repository is missing"));
}

TEST(Options, ValuesAsNextArgumentOrAfterAnEqualsSign)
{
    const cimomd::Options options = parsed({"--listen=[::1]:0", "--repository=a=b"});
    EXPECT_EQ(options.address, "::1");
    EXPECT_EQ(options.port, 0);
    EXPECT_EQ(options.repositoryDirectory, "a=b");
    EXPECT_EQ(parsed({"--listen", "127.0.0.2:65535", "--repository", "r"}).port, 65535);
}

TEST(Options, HelpEndsTheReading)
{
    const std::string help = printed({"--help", "--nonsense"});
    EXPECT_TRUE(help.starts_with("usage: cimgate-cimomd ")) << help;
    EXPECT_THAT(help, HasSubstr("--listen"));
    EXPECT_THAT(help, HasSubstr("--repository"));
    EXPECT_EQ(printed({"-h"}), help);
}

TEST(Options, ListenNeedsANumericLoopbackAddressAndAPort)
{
    for (const char* text : {"5988", "127.0.0.1", "127.0.0.1:", "127.0.0.1:x", "127.0.0.1:65536",
                             "127.0.0.1:-1", "localhost:5988", "::1:5988", "[::1]"}) {
        EXPECT_THAT(optionsProblem({"--listen", text}), HasSubstr("for example 127.0.0.1:5988"))
            << text;
    }
    for (const char* text : {"0.0.0.0:5988", "192.168.0.1:5988", "[::]:5988"}) {
        EXPECT_THAT(optionsProblem({"--listen", text}), HasSubstr("only loopback")) << text;
    }
}

TEST(Options, UnknownOptionsAndMissingValuesAreNamed)
{
    EXPECT_THAT(optionsProblem({"--port", "1"}), HasSubstr("unknown option --port;"));
    EXPECT_THAT(optionsProblem({"dir"}), HasSubstr("unknown option dir;"));
    EXPECT_THAT(optionsProblem({"--repository"}), HasSubstr("--repository needs a value"));
    EXPECT_THAT(optionsProblem({"--listen="}), HasSubstr("--listen needs a value"));
}

} // namespace
