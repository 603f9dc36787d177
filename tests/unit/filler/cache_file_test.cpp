#include "JsonText.h"
#include "TempDirectory.h"
#include "cache_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

namespace {

using filler::CacheFile;
using filler::Database;
using filler::DatabaseError;
using filler::Plan;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

constexpr const char* kFans =
    R"({"VexoFan": {"UniqueSelector": "DeviceID", "mappings": {"XCIM_Fan": {"is_cached": true,
    "properties": {"DeviceID": {"cim_type": "string"}, "Speed": {"cim_type": "uint32"}}}}}})";
constexpr const char* kFansWithState =
    R"({"VexoFan": {"UniqueSelector": "DeviceID", "mappings": {"XCIM_Fan": {
    "is_cached": true, "properties": {"DeviceID": {"cim_type": "string"}, "Speed": {"cim_type": "uint32"},
    "State": {"cim_type": "uint16"}}}}}})";

Plan planFor(const std::string& mapping)
{
    return filler::planOf(support::json(mapping), 60);
}

class FillerCacheFile : public testing::Test
{
protected:
    std::string path() const { return mDirectory.File("cache.db"); }

    // A file with the table of the plan's only class, ready, and one row.
    void fill(const Plan& plan, bool hasIntegerKey = false)
    {
        CacheFile file(path());
        file.prepare(plan);
        file.makeTable(plan.classes.front(), hasIntegerKey);
        file.setReady("XCIM_Fan");
        file.database().run("INSERT INTO Tbl_XCIM_Fan (DeviceID, Speed) VALUES ('a', 1)");
    }

    static std::vector<std::string> columns(CacheFile& file)
    {
        return file.database().listOf("SELECT name FROM pragma_table_info('Tbl_XCIM_Fan')");
    }

    support::TempDirectory mDirectory;
};

TEST_F(FillerCacheFile, NewOneHasWhatIsAlwaysThereAndFilesThatOthersMayRead)
{
    const mode_t mask = umask(077);
    {
        CacheFile file(path());
        EXPECT_EQ(file.database().textOf("PRAGMA journal_mode"), "wal");
        EXPECT_EQ(file.database().integerOf("SELECT count(*) FROM Tbl_CMPIReady"), 0);
    }
    umask(mask);
    for (const char* const suffix : {"", "-wal", "-shm"}) {
        struct stat status
        {};
        ASSERT_EQ(stat((path() + suffix).c_str(), &status), 0) << suffix;
        EXPECT_EQ(status.st_mode & 0777, 0644U) << suffix;
    }
}

TEST_F(FillerCacheFile, TableHasAColumnWithoutATypeForEachAndAUniqueKey)
{
    fill(planFor(kFans));
    CacheFile file(path());
    EXPECT_THAT(columns(file), ElementsAre("DeviceID", "Speed"));
    EXPECT_THAT(file.database().listOf("SELECT type FROM pragma_table_info('Tbl_XCIM_Fan')"),
                ElementsAre("", ""));
    EXPECT_THROW(file.database().run("INSERT INTO Tbl_XCIM_Fan (DeviceID) VALUES ('a')"),
                 DatabaseError);
    EXPECT_FALSE(file.hasIntegerKey(planFor(kFans).classes.front()));
}

TEST_F(FillerCacheFile, TextsFindTheNumbersOfAnIntegerKey)
{
    fill(planFor(kFans), true);
    CacheFile file(path());
    EXPECT_TRUE(file.hasIntegerKey(planFor(kFans).classes.front()));
    file.database().run("INSERT INTO Tbl_XCIM_Fan (DeviceID) VALUES (12)");
    filler::Statement find(file.database(), "SELECT DeviceID FROM Tbl_XCIM_Fan WHERE DeviceID = ?");
    find.bind(0, std::string("12"));
    EXPECT_TRUE(find.step());
}

TEST_F(FillerCacheFile, ReadinessIsFoundInAnyLetterCaseAndIsThereOnce)
{
    CacheFile file(path());
    EXPECT_FALSE(file.isReady("XCIM_Fan"));
    file.setReady("XCIM_Fan");
    file.setReady("xcim_fan");
    EXPECT_TRUE(file.isReady("XCIM_FAN"));
    EXPECT_THAT(file.database().listOf("SELECT ClassName FROM Tbl_CMPIReady"),
                ElementsAre("XCIM_Fan"));
}

TEST_F(FillerCacheFile, ClassThatGetsAColumnIsNotReadyAndKeepsItsRows)
{
    fill(planFor(kFans));
    CacheFile file(path());
    file.prepare(planFor(kFans));
    EXPECT_TRUE(file.isReady("XCIM_Fan"));
    file.prepare(planFor(kFansWithState));
    EXPECT_FALSE(file.isReady("XCIM_Fan"));
    EXPECT_THAT(columns(file), ElementsAre("DeviceID", "Speed", "State"));
    EXPECT_EQ(file.rowsOf("XCIM_Fan"), 1);
    // What is not wanted any more stays.
    file.setReady("XCIM_Fan");
    file.prepare(planFor(kFans));
    EXPECT_TRUE(file.isReady("XCIM_Fan"));
    EXPECT_THAT(columns(file), ElementsAre("DeviceID", "Speed", "State"));
}

TEST_F(FillerCacheFile, PreparingWhatIsThereWritesNothing)
{
    fill(planFor(kFans));
    CacheFile file(path());
    file.prepare(planFor(kFans));
    Database other(path());
    const int64_t before = other.integerOf("PRAGMA data_version");
    file.prepare(planFor(kFans));
    EXPECT_EQ(other.integerOf("PRAGMA data_version"), before);
}

TEST_F(FillerCacheFile, AnotherKeyOfTheMappingGetsItsIndex)
{
    fill(planFor(kFans));
    CacheFile file(path());
    const Plan plan = planFor(
        R"({"VexoFan": {"UniqueSelector": "Speed", "mappings": {"XCIM_Fan": {"is_cached": true,
        "properties": {"DeviceID": {"cim_type": "string"}, "Speed": {"cim_type": "uint32"}}}}}})");
    file.prepare(plan);
    EXPECT_THAT(file.database().textOf(
                    "SELECT sql FROM sqlite_master WHERE name = 'Idx_Tbl_XCIM_Fan__key'"),
                HasSubstr("(\"Speed\")"));
}

TEST_F(FillerCacheFile, ConditionsOfContainersFindTheirRowsByAnIndex)
{
    const Plan plan = planFor(
        R"({"VexoFan": {"UniqueSelector": "DeviceID", "mappings": {"XCIM_Fan": {"is_cached": true,
        "properties": {"DeviceID": {"cim_type": "string"}, "Slot": {"cim_type": "uint32"},
        "Side": {"cim_type": "string"}}}}},
        "FanOem": {"instances": {"VexoFan": {"QueryClause": "Slot = #p1 AND Side = '#p2'"}}},
        "SideOem": {"instances": {"VexoFan": {"QueryClause": "Side = '#p1'"}}},
        "WrongOem": {"instances": {"VexoFan": {"QueryClause": "None = '#p1'"}}}})");
    CacheFile file(path());
    file.prepare(plan);
    file.makeTable(plan.classes.front(), false);
    file.indexConditions(plan);
    for (const char* const condition : {"Slot = 3 AND Side = 'left' COLLATE NOCASE",
                                        "Side = 'left' COLLATE NOCASE", "DeviceID = 'a'"}) {
        filler::Statement explained(
            file.database(),
            std::string("EXPLAIN QUERY PLAN SELECT * FROM Tbl_XCIM_Fan WHERE ") + condition);
        ASSERT_TRUE(explained.step());
        EXPECT_THAT(explained.textAt(3), HasSubstr("SEARCH")) << condition;
    }
}

TEST_F(FillerCacheFile, FileOfAnotherProgramIsLeftAlone)
{
    Database(path()).run("CREATE TABLE Theirs (a)");
    try {
        const CacheFile file(path());
        FAIL();
    } catch (const DatabaseError& error) {
        EXPECT_THAT(error.what(), HasSubstr("another program has made it"));
    }
    Database theirs(path());
    EXPECT_EQ(theirs.textOf("PRAGMA journal_mode"), "delete");
    EXPECT_THAT(theirs.listOf("SELECT name FROM sqlite_master"), ElementsAre("Theirs"));
}

TEST_F(FillerCacheFile, EmptyFileIsTaken)
{
    std::ofstream(path()).close();
    CacheFile file(path());
    EXPECT_FALSE(file.isReady("XCIM_Fan"));
}

TEST_F(FillerCacheFile, FileThatIsNoDatabaseIsLeftAlone)
{
    const std::string content(4096, 'x');
    std::ofstream(path()) << content;
    EXPECT_THROW(CacheFile{path()}, DatabaseError);
    std::ifstream in(path());
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), content);
}

// ---- Compacting ----

TEST_F(FillerCacheFile, CompactingRemovesTablesAndColumnsThatAreNotWanted)
{
    fill(planFor(kFansWithState));
    {
        CacheFile file(path());
        file.database().run("CREATE TABLE Tbl_XCIM_Old (a)");
        file.setReady("XCIM_Old");
    }
    EXPECT_THAT(filler::compact(path(), planFor(kFans)),
                UnorderedElementsAre("Tbl_XCIM_Old", "Tbl_XCIM_Fan.State"));
    CacheFile file(path());
    file.prepare(planFor(kFans));
    EXPECT_THAT(columns(file), ElementsAre("DeviceID", "Speed"));
    EXPECT_FALSE(file.isReady("XCIM_Old"));
    EXPECT_TRUE(file.isReady("XCIM_Fan"));
    EXPECT_EQ(file.rowsOf("XCIM_Fan"), 1);
    EXPECT_EQ(file.database().textOf("PRAGMA journal_mode"), "wal");
    EXPECT_EQ(file.database().integerOf(
                  "SELECT count(*) FROM sqlite_master WHERE name = 'Idx_Tbl_XCIM_Fan__key'"),
              1);
}

TEST_F(FillerCacheFile, CompactingRemovesATableWhoseKeyHasAnotherTypeThanTheMappingNowSays)
{
    fill(planFor(kFans), true);
    EXPECT_THAT(filler::compact(path(), planFor(kFans)), ElementsAre("Tbl_XCIM_Fan"));
}

TEST_F(FillerCacheFile, CompactingIsRefusedWhileSomebodyHasTheFileOpen)
{
    fill(planFor(kFansWithState));
    Database reader(path());
    EXPECT_EQ(reader.integerOf("SELECT count(*) FROM Tbl_XCIM_Fan"), 1);
    try {
        (void)filler::compact(path(), planFor(kFans));
        FAIL();
    } catch (const DatabaseError& error) {
        EXPECT_THAT(error.what(), HasSubstr("stop it first"));
    }
    EXPECT_EQ(reader.integerOf("SELECT count(State) FROM Tbl_XCIM_Fan"), 0);
}

} // namespace
