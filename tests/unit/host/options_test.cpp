// The command line.
#include "options.h"

#include <ResourceMapper.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httpd/listen_address.h>

#include <thread>

namespace {

using testing::HasSubstr;

using Arguments = std::vector<std::string>;

cli::Reading reading(const Arguments& arguments, host::Options& options)
{
    const cli::Command program = host::commandLine(options);
    return cli::read(program, arguments);
}

host::Options parsed(const Arguments& arguments)
{
    host::Options options;
    const cli::Reading result = reading(arguments, options);
    EXPECT_EQ(result.outcome, cli::Reading::Outcome::Run) << result.text;
    return options;
}

std::string problemOf(const Arguments& arguments)
{
    host::Options options;
    const cli::Reading result = reading(arguments, options);
    EXPECT_EQ(result.outcome, cli::Reading::Outcome::Wrong);
    EXPECT_FALSE(result.text.empty());
    return result.text;
}

std::string printed(const Arguments& arguments)
{
    host::Options options;
    const cli::Reading result = reading(arguments, options);
    EXPECT_EQ(result.outcome, cli::Reading::Outcome::Print);
    return result.text;
}

TEST(Options, Defaults)
{
    const host::Options options = parsed({});
    EXPECT_EQ(options.address, "127.0.0.1");
    EXPECT_EQ(options.port, 8000);
    EXPECT_EQ(options.rmfPath, "/usr/share/cimgate/resourcemapping.json");
    EXPECT_EQ(options.cachePath, "/var/run/cmpidatacache/CMPI_DataCache.db");
    EXPECT_EQ(options.registryDirectory, "");
    EXPECT_EQ(options.oemEndpoint, "");
    EXPECT_EQ(options.workers, std::max(2U, std::thread::hardware_concurrency()));
    EXPECT_EQ(options.logLevel, 1);
    EXPECT_EQ(options.requestTimeoutS, 30U);
    EXPECT_FALSE(options.isVerbatim);
}

TEST(Options, ValuesAsNextArgumentOrAfterAnEqualsSign)
{
    const host::Options options =
        parsed({"--listen", "127.0.0.2:0", "--rmf=a=b.json", "--cache", "c.db", "--registries", "r",
                "--auth", "none", "--workers=3", "--log-level", "4", "--request-timeout", "2",
                "--verbatim"});
    EXPECT_EQ(options.address, "127.0.0.2");
    EXPECT_EQ(options.port, 0);
    EXPECT_EQ(options.rmfPath, "a=b.json");
    EXPECT_EQ(options.cachePath, "c.db");
    EXPECT_EQ(options.registryDirectory, "r");
    EXPECT_EQ(options.workers, 3U);
    EXPECT_EQ(options.logLevel, 4);
    EXPECT_EQ(options.requestTimeoutS, 2U);
    EXPECT_TRUE(options.isVerbatim);
}

TEST(Options, UserIsOneOfThisMachine)
{
    EXPECT_FALSE(parsed({}).user);
    const auto user = parsed({"--user", "root", "--access-log", "-"}).user;
    ASSERT_TRUE(user);
    EXPECT_EQ(user->name, "root");
    EXPECT_EQ(user->uid, 0U);
    EXPECT_EQ(user->gid, 0U);
    EXPECT_THAT(problemOf({"--user", "nobody-of-this-name"}), HasSubstr("a user of this machine"));
}

TEST(Options, HelpEndsTheReading)
{
    const std::string help = printed({"--workers", "1", "--help", "--nonsense"});
    EXPECT_TRUE(help.starts_with("usage: cimgated ")) << help;
    EXPECT_EQ(printed({"-h"}), help);
}

TEST(Options, HelpNamesEveryOption)
{
    for (const char* name : {"--listen", "--rmf", "--cache", "--registries", "--oem-endpoint",
                             "--auth", "--workers", "--log-level", "--request-timeout",
                             "--access-log", "--user", "--cim", "--help", "-h", "--version"}) {
        EXPECT_THAT(printed({"-h"}), HasSubstr(name));
    }
}

TEST(Options, VersionNamesTheProgram)
{
    EXPECT_TRUE(printed({"--version"}).starts_with("cimgated "));
}

TEST(Options, TheLastOfSeveralCounts)
{
    EXPECT_EQ(parsed({"--workers", "3", "--log-level", "2", "--workers=4"}).workers, 4U);
    EXPECT_EQ(parsed({"--listen", "127.0.0.2:1", "--listen", "[::1]:2"}).address, "::1");
}

TEST(Options, IPv6AddressesStandInBrackets)
{
    const host::Options options = parsed({"--listen", "[::1]:443"});
    EXPECT_EQ(options.address, "::1");
    EXPECT_EQ(options.port, 443);
    EXPECT_THAT(problemOf({"--listen", "::1:443"}), HasSubstr("[::1]:8000"));
    EXPECT_THAT(problemOf({"--listen", "[127.0.0.1]:443"}), HasSubstr("127.0.0.1:8000"));
}

TEST(Options, ListenNeedsANumericAddressAndAPort)
{
    for (const char* text : {"8000", "127.0.0.1", "127.0.0.1:", "127.0.0.1:x", "127.0.0.1:65536",
                             "127.0.0.1:-1", "localhost:8000", ":8000", "[::1:8000", "[::1]"}) {
        EXPECT_THAT(problemOf({"--listen", text}), HasSubstr("for example 127.0.0.1:8000")) << text;
    }
}

TEST(Options, OnlyLoopbackWithoutAuthentication)
{
    for (const char* text : {"0.0.0.0:8000", "192.168.0.1:80", "128.0.0.1:80", "[::]:80",
                             "[fe80::1]:80", "[::ffff:10.0.0.1]:80"}) {
        EXPECT_THAT(problemOf({"--listen", text}), HasSubstr("loopback")) << text;
    }
}

// The kernel's limit for the path of a socket.
constexpr size_t kLongestPath = 107;

TEST(Options, OemEndpointIsAnAbsolutePath)
{
    const std::string longest = "ipc:///" + std::string(kLongestPath - 1, 'x');
    for (const std::string& text : {std::string("ipc:///run/cimgate/oem.sock"),
                                    std::string("ipc:///a=b"), std::string("ipc:///x"), longest}) {
        EXPECT_EQ(parsed({"--oem-endpoint", text}).oemEndpoint, text);
        EXPECT_EQ(parsed({"--oem-endpoint=" + text}).oemEndpoint, text);
    }
}

TEST(Options, OtherOemEndpointsAreRefused)
{
    const std::string tooLong = "ipc:///" + std::string(kLongestPath, 'x');
    for (const std::string& text :
         {std::string("/run/cimgate/oem.sock"), std::string("ipc://"), std::string("ipc:"),
          std::string("ipc://oem.sock"), std::string("ipc://./oem.sock"), std::string("ipc://*"),
          std::string("ipc://@oem"), std::string("IPC:///oem.sock"),
          std::string(" ipc:///oem.sock"), std::string("ipc:/oem.sock"),
          std::string("tcp://127.0.0.1:5555"), std::string("inproc://oem"),
          std::string("ws:///oem.sock"), tooLong}) {
        EXPECT_EQ(problemOf({"--oem-endpoint", text}),
                  "--oem-endpoint " + text +
                      ": give ipc:// and an absolute path of at most 107 bytes, for example "
                      "ipc:///run/cimgate/oem.sock");
    }
}

TEST(Options, OtherAuthenticationIsRefused)
{
    EXPECT_THAT(problemOf({"--auth", "users.json"}), HasSubstr("\"none\""));
}

TEST(Options, NumbersHaveRanges)
{
    EXPECT_EQ(parsed({"--workers", "1"}).workers, 1U);
    EXPECT_EQ(parsed({"--workers", "64"}).workers, 64U);
    EXPECT_EQ(parsed({"--log-level", "0"}).logLevel, 0);
    EXPECT_EQ(parsed({"--request-timeout", "3600"}).requestTimeoutS, 3600U);
    for (const char* text : {"0", "65", "two", "2x", "-2", " 2", "4294967298"}) {
        EXPECT_THAT(problemOf({"--workers", text}), HasSubstr("from 1 to 64")) << text;
    }
    EXPECT_THAT(problemOf({"--log-level", "5"}), HasSubstr("from 0 to 4"));
    EXPECT_THAT(problemOf({"--request-timeout", "0"}), HasSubstr("from 1 to 3600"));
    EXPECT_THAT(problemOf({"--request-timeout", "3601"}), HasSubstr("from 1 to 3600"));
}

TEST(Options, UnknownOptionsAreNamed)
{
    for (const char* name : {"--port", "-x", "file"}) {
        EXPECT_THAT(problemOf({name}), HasSubstr("unknown option " + std::string(name) + ";"));
        EXPECT_THAT(problemOf({name, "value"}), HasSubstr("--help"));
    }
    EXPECT_THAT(problemOf({"--nonsense=1"}), HasSubstr("unknown option --nonsense;"));
}

TEST(Options, MissingValuesAreNamed)
{
    EXPECT_THAT(problemOf({"--cache"}), HasSubstr("--cache needs a value"));
    EXPECT_THAT(problemOf({"--cache="}), HasSubstr("--cache needs a value"));
    EXPECT_THAT(problemOf({"--rmf", ""}), HasSubstr("--rmf needs a value"));
    EXPECT_EQ(problemOf({"--oem-endpoint"}),
              "--oem-endpoint needs a value; cimgated --help lists the options");
}

TEST(Options, Urls)
{
    EXPECT_EQ(httpd::urlOf("127.0.0.1", 8000), "http://127.0.0.1:8000");
    EXPECT_EQ(httpd::urlOf("::1", 80), "http://[::1]:80");
}

} // namespace
