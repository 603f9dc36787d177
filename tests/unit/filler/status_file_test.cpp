#include "JsonText.h"
#include "TempDirectory.h"
#include "status_file.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using filler::ClassStatus;
using filler::classStatusOf;
using filler::readStatus;
using filler::Status;
using filler::statusOf;
using filler::Time;
using filler::toJson;
using filler::writeStatus;
using support::IsJson;
using support::json;

// 2024-05-01T04:12:07.250Z
constexpr Time kTime = Time(std::chrono::milliseconds(1714536727250));

ClassStatus fans()
{
    return {.name = "XCIM_Fan",
            .rows = 6,
            .isReady = true,
            .intervalS = 60,
            .refreshed = kTime,
            .durationMs = 40,
            .changed = 1,
            .failures = 2,
            .error = "away",
            .losses = {"Speed: a real is shown as a text"}};
}

Status status()
{
    return {.pid = 411,
            .started = kTime,
            .written = kTime + std::chrono::hours(1),
            .mapping = "/map.json",
            .cache = "/cache.db",
            .objectManager = "http://127.0.0.1:5988",
            .state = "waiting",
            .classes = {fans(), {.name = "XCIM_New"}}};
}

std::string contentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class StatusFile : public ::testing::Test
{
protected:
    void write(const std::string& text) const { std::ofstream(mPath, std::ios::binary) << text; }

    std::string readProblem() const
    {
        std::string problem;
        EXPECT_EQ(readStatus(mPath, problem), std::nullopt);
        return problem;
    }

    support::TempDirectory mDirectory;
    std::string mPath = mDirectory.File("cache.db.status");
    std::string mProblem;
};

TEST(StatusJson, HasUnitsInItsNamesAndTimesInUtc)
{
    EXPECT_THAT(toJson(fans()), IsJson(R"({
        "changed": 1, "duration_ms": 40, "error": "away", "failures": 2, "interval_s": 60,
        "losses": ["Speed: a real is shown as a text"], "name": "XCIM_Fan", "ready": true,
        "refreshed": "2024-05-01T04:12:07.250Z", "rows": 6})"));
    EXPECT_THAT(toJson(status())["written"], IsJson(R"("2024-05-01T05:12:07.250Z")"));
    EXPECT_THAT(toJson(ClassStatus())["refreshed"], IsJson("null"));
}

TEST(StatusJson, ReadsBackTheSame)
{
    EXPECT_EQ(classStatusOf(toJson(fans())), fans());
    EXPECT_EQ(statusOf(toJson(status())), status());
    const ClassStatus old = {.name = "a", .refreshed = Time(std::chrono::milliseconds(-1))};
    EXPECT_EQ(classStatusOf(toJson(old)), old) << toJson(old);
}

TEST(StatusJson, UnknownMembersArePassedOverAndOddOnesReadAsNone)
{
    EXPECT_EQ(classStatusOf(json(R"({"name": "A", "new": {"x": 1}})")), ClassStatus{.name = "A"});
    EXPECT_EQ(classStatusOf(json(R"({"name": 1, "rows": "6", "ready": "yes", "interval_s": -1,
                                     "refreshed": "yesterday", "duration_ms": 1e300, "changed": -1,
                                     "failures": 4294967296, "error": [], "losses": [1, "one"]})")),
              (ClassStatus{.name = "", .losses = {"one"}}));
    for (const char* odd : {"1", "[]", "null", R"({"classes": {}})", R"({"classes": "A"})"}) {
        EXPECT_EQ(statusOf(json(odd)), Status()) << odd;
    }
    for (const char* odd : {R"("2024-05-01T04:12:07Z")", R"("2024-05-01T04:12:07.250")",
                            R"("2024-05-01T04:12:07.250Z ")", R"("2024-13-01T04:12:07.250Z")"}) {
        Json::Value one(Json::objectValue);
        one["refreshed"] = json(odd);
        EXPECT_EQ(classStatusOf(one).refreshed, std::nullopt) << odd;
    }
}

TEST(StatusJson, IsBounded)
{
    ClassStatus many = fans();
    many.losses.assign(25, "a\xC3\xA4" + std::string(500, 'b'));
    many.error = std::string(196, 'a') + "\xE2\x82\xAC" + "b";
    const ClassStatus read = classStatusOf(toJson(many));
    EXPECT_EQ(read.losses.size(), 20U);
    EXPECT_EQ(read.losses[0].size(), 200U);
    EXPECT_TRUE(read.losses[0].ends_with("bb..."));
    EXPECT_EQ(read.error, many.error) << "200 bytes fit";
    many.error += "c";
    EXPECT_EQ(classStatusOf(toJson(many)).error, std::string(196, 'a') + "...")
        << "without a part of a character";
}

TEST_F(StatusFile, IsReadBack)
{
    ASSERT_TRUE(writeStatus(mPath, status(), mProblem)) << mProblem;
    EXPECT_EQ(readStatus(mPath, mProblem), status());
}

TEST_F(StatusFile, IsForAllToReadWhateverTheMask)
{
    const mode_t former = umask(077);
    ASSERT_TRUE(writeStatus(mPath, status(), mProblem)) << mProblem;
    umask(former);
    struct stat file = {};
    ASSERT_EQ(stat(mPath.c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 07777U, 0644U);
}

TEST_F(StatusFile, IsReplacedUnderItsReaders)
{
    ASSERT_TRUE(writeStatus(mPath, Status(), mProblem)) << mProblem;
    const std::string former = contentOf(mPath);
    std::ifstream reader(mPath, std::ios::binary);
    ASSERT_TRUE(writeStatus(mPath, status(), mProblem)) << mProblem;
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), former);
    EXPECT_EQ(readStatus(mPath, mProblem), status());
}

TEST_F(StatusFile, WhatAKilledFillerHasLeftIsReplaced)
{
    std::ofstream(mPath + ".new") << "{\"cla";
    chmod((mPath + ".new").c_str(), 0400);
    EXPECT_TRUE(writeStatus(mPath, status(), mProblem)) << mProblem;
    EXPECT_FALSE(std::filesystem::exists(mPath + ".new"));
}

TEST_F(StatusFile, TheFormerOneStaysWhereTheDiskIsFull)
{
    ASSERT_TRUE(writeStatus(mPath, status(), mProblem)) << mProblem;
    rlimit former = {};
    getrlimit(RLIMIT_FSIZE, &former);
    const rlimit small = {.rlim_cur = 100, .rlim_max = former.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const bool isWritten = writeStatus(mPath, Status(), mProblem);
    setrlimit(RLIMIT_FSIZE, &former);
    (void)std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(isWritten);
    EXPECT_EQ(mProblem, mPath + ": File too large");
    EXPECT_EQ(readStatus(mPath, mProblem), status());
    EXPECT_FALSE(std::filesystem::exists(mPath + ".new"));
}

TEST_F(StatusFile, ADirectoryThatIsGoneIsTold)
{
    const std::string path = mDirectory.File("gone/cache.db.status");
    EXPECT_FALSE(writeStatus(path, status(), mProblem));
    EXPECT_EQ(mProblem, path + ": No such file or directory");
}

TEST_F(StatusFile, WhatIsNoStatusIsTold)
{
    EXPECT_EQ(readProblem(), mPath + ": No such file or directory");
    for (const std::string& text : {std::string(), std::string("[]"), std::string("{\"pid\": 1"),
                                    std::string(5000, '['), std::string("{} x")}) {
        write(text);
        EXPECT_EQ(readProblem(), mPath + ": it is no status of a filler") << text.substr(0, 10);
    }
    std::filesystem::remove(mPath);
    std::filesystem::create_directory(mPath);
    EXPECT_EQ(readProblem(), mPath + ": Is a directory");
}

} // namespace
