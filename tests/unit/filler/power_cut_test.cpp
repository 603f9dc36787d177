#include "PowerCut.h"
#include "TempDirectory.h"
#include "cache_file.h"
#include "table.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

using filler::CacheFile;
using filler::Cell;
using filler::Database;

constexpr int kRows = 100;
constexpr int kGenerations = 60;
constexpr int kCuts = 150;

// Some pages, so that the log is taken into the file every few refreshes.
Cell cellOf(int generation)
{
    return {Cell::Kind::Text, 0, std::to_string(generation) + std::string(2000, 'x')};
}

void refresh(Database& database, int generation)
{
    filler::Transaction transaction(database);
    filler::TableRefresh table(database, "T", {"k", "v"}, {0});
    for (int row = 0; row < kRows; ++row) {
        EXPECT_TRUE(table.put({{Cell::Kind::Integer, row, ""}, cellOf(generation)}));
    }
    table.removeOthers();
    transaction.commit();
}

// What a new process finds on the disk: the generation of all rows.
int generationIn(const std::map<std::string, std::string>& files)
{
    const support::TempDirectory directory;
    for (const auto& [name, content] : files) {
        const std::string file = name.substr(name.rfind('/') + 1);
        if (!file.ends_with("-shm")) {
            std::ofstream(directory.File(file), std::ios::binary) << content;
        }
    }
    CacheFile file(directory.File("cache.db"));
    Database& database = file.database();
    EXPECT_EQ(database.textOf("PRAGMA integrity_check"), "ok");
    EXPECT_EQ(database.integerOf("SELECT count(*) FROM T"), kRows);
    EXPECT_EQ(database.integerOf("SELECT count(DISTINCT v) FROM T"), 1);
    return static_cast<int>(database.integerOf("SELECT CAST(v AS INTEGER) FROM T LIMIT 1"));
}

TEST(FillerPowerCut, LosesWholeRefreshesAtMost)
{
    const support::TempDirectory directory;
    const unsigned int seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::minstd_rand random(seed);
    const std::string path = directory.File("cache.db");
    {
        CacheFile file(path);
        file.database().run("CREATE TABLE T (k UNIQUE, v)");
        refresh(file.database(), 0);
        file.database().run("PRAGMA wal_checkpoint(TRUNCATE)");
    }
    std::vector<std::map<std::string, std::string>> cuts;
    std::vector<int> latest; // of each cut, the generation that was being written
    {
        PowerCutFileSystem system;
        CacheFile file(path);
        int generation = 0;
        system.beforeWrite = [&] {
            if (random() % 60 == 0 && cuts.size() < kCuts) {
                cuts.push_back(system.afterCut(random));
                latest.push_back(generation);
            }
        };
        for (generation = 1; generation <= kGenerations; ++generation) {
            refresh(file.database(), generation);
        }
        system.beforeWrite = nullptr;
    }
    EXPECT_GT(cuts.size(), 30U);
    int lost = 0;
    for (size_t i = 0; i < cuts.size(); ++i) {
        const int found = generationIn(cuts[i]);
        EXPECT_LE(found, latest[i]);
        lost += found < latest[i] - 1 ? 1 : 0;
    }
    EXPECT_GT(lost, 0) << "nothing was lost: the cuts cut nothing";
}

} // namespace
