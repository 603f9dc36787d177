// What it costs to fill the data cache, beside the floor that any filler has: the client's
// enumeration, and prepared INSERTs of the same rows into the same tables and indexes in one
// transaction.
//
//     filler_benchmark [REPETITIONS]         figures; status 1 where a target is missed
//     filler_benchmark --mapping             the mapping of what is filled, for cimgated
//     filler_benchmark --loop FILE           refreshes FILE without end, each time 1 % of its rows
#include "class_refresh.h"
#include "static_object_manager.h"
#include "stopwatch.h"

#include <CimClientLib/cimgate_local.h>
#include <JsonAccess.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>

namespace {

using bench::require;

constexpr int kInstances = 10000;
constexpr int kChangedEvery = 100;
constexpr int kRepetitions = 11;
constexpr double kTimeTarget = 1.3;
constexpr double kMemoryTarget = 1.3;
constexpr const char* kClass = "XCIM_Benchmark";

// As the rows that the library is measured with: texts, date-times, booleans, numbers, nulls.
Json::Value mapping()
{
    static const char* const kTypes[] = {"string", "datetime", "boolean", "uint32", "uint16"};
    Json::Value entry;
    entry["@odata.id"] = "/redfish/v1/Vexo/VexoBenchmark";
    entry["UniqueSelector"] = bench::propertyName(0);
    Json::Value& described = entry["mappings"][kClass];
    described["is_cached"] = true;
    for (int p = 0; p < bench::kInstanceProperties; ++p) {
        described["properties"][bench::propertyName(p)]["cim_type"] =
            kTypes[static_cast<size_t>(p) % std::size(kTypes)];
    }
    Json::Value all;
    all["VexoBenchmark"] = entry;
    return all;
}

void connectTo(const bench::StaticObjectManager& manager)
{
    require(cimgate_cmpisfcc_set_local_url(manager.url().c_str()) == 0, "the object manager's URL");
}

// A directory of its own.
class Directory
{
public:
    Directory()
    {
        char name[] = "/tmp/cimgate-bench-XXXXXX";
        require(mkdtemp(name) != nullptr, "a directory");
        mPath = name;
    }
    ~Directory() { std::filesystem::remove_all(mPath); }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    std::string file(const std::string& name) const { return mPath + "/" + name; }

private:
    std::string mPath;
};

// The filler with a file of its own.
class Filling
{
public:
    explicit Filling(const std::string& path) : mPlan(filler::planOf(mapping(), 60)), mFile(path)
    {
        mFile.prepare(mPlan);
    }

    filler::ClassRefresh::Outcome run() { return mRefresh.run(mPlan.classes.front()); }
    filler::CacheFile& file() { return mFile; }
    const filler::WantedClass& wanted() const { return mPlan.classes.front(); }
    filler::ObjectManager& manager() { return mManager; }

private:
    filler::Plan mPlan;
    filler::CacheFile mFile;
    filler::ObjectManager mManager;
    filler::ClassRefresh mRefresh{mFile, mManager, mPlan};
};

// ---- The floor ----

std::vector<std::string> names()
{
    std::vector<std::string> all;
    all.reserve(bench::kInstanceProperties);
    for (int p = 0; p < bench::kInstanceProperties; ++p) {
        all.push_back(bench::propertyName(p));
    }
    return all;
}

void enumerate(filler::ObjectManager& manager)
{
    filler::Instances instances = manager.instancesOf(kClass, names());
    int count = 0;
    while (instances.next() != nullptr) {
        ++count;
    }
    require(count == kInstances, "the number of instances");
}

using Rows = std::vector<std::vector<filler::Cell>>;

// The rows that the filler has made.
Rows rowsOf(filler::Database& database, const std::string& table)
{
    Rows rows;
    sqlite3_stmt* statement = nullptr;
    const std::string sql = "SELECT * FROM " + table;
    require(sqlite3_prepare_v2(database.handle(), sql.c_str(), -1, &statement, nullptr) ==
                SQLITE_OK,
            "the rows");
    while (sqlite3_step(statement) == SQLITE_ROW) {
        std::vector<filler::Cell> row;
        for (int i = 0; i < sqlite3_column_count(statement); ++i) {
            const int type = sqlite3_column_type(statement, i);
            filler::Cell cell;
            if (type == SQLITE_INTEGER) {
                cell = {filler::Cell::Kind::Integer, sqlite3_column_int64(statement, i), ""};
            } else if (type == SQLITE_TEXT) {
                cell = {filler::Cell::Kind::Text, 0,
                        reinterpret_cast<const char*>(sqlite3_column_text(statement, i))};
            }
            row.push_back(std::move(cell));
        }
        rows.push_back(std::move(row));
    }
    sqlite3_finalize(statement);
    return rows;
}

void insertAll(filler::Database& database, const std::string& table, const Rows& rows)
{
    filler::Transaction transaction(database);
    std::string marks;
    for (size_t i = 0; i < rows.front().size(); ++i) {
        marks += i == 0 ? "?" : ", ?";
    }
    filler::Statement insert(database, "INSERT INTO " + table + " VALUES (" + marks + ")");
    for (const auto& row : rows) {
        for (size_t i = 0; i < row.size(); ++i) {
            insert.bind(static_cast<int>(i), row[i]);
        }
        insert.run();
    }
    transaction.commit();
}

// ---- Measuring ----

struct Times
{
    std::vector<double> cpu;
    std::vector<double> wall;
};

void measure(Times& times, const std::function<void()>& run)
{
    const double cpu = bench::threadSeconds();
    const auto wall = std::chrono::steady_clock::now();
    run();
    times.wall.push_back(
        std::chrono::duration<double>(std::chrono::steady_clock::now() - wall).count());
    times.cpu.push_back(bench::threadSeconds() - cpu);
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

bool report(const char* name, double figure, double floor, const char* unit, double target)
{
    const double ratio = figure / floor;
    (void)std::printf("%-28s %8.1f %s  floor %8.1f %s  ratio %.2f", name, figure, unit, floor, unit,
                      ratio);
    if (target > 0) {
        (void)std::printf(" (at most %.1f)%s", target, ratio > target ? "  MISSED" : "");
    }
    (void)std::printf("\n");
    return target <= 0 || ratio <= target;
}

bool report(const char* name, const Times& figure, const Times& floor, double target)
{
    constexpr double kMs = 1e3;
    const std::string wall = std::string(name) + ", elapsed";
    const std::string cpu = std::string(name) + ", processor";
    const bool isMet =
        report(wall.c_str(), median(figure.wall) * kMs, median(floor.wall) * kMs, "ms", target);
    return report(cpu.c_str(), median(figure.cpu) * kMs, median(floor.cpu) * kMs, "ms", target) &&
           isMet;
}

// The most memory that a process of its own takes more for this than it had.
double peakOf(const std::function<void()>& run)
{
    const auto peak = [] {
        std::ifstream status("/proc/self/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("VmHWM:")) {
                return std::strtod(line.c_str() + std::strlen("VmHWM:"), nullptr);
            }
        }
        return 0.0;
    };
    int ends[2] = {-1, -1};
    require(pipe(ends) == 0, "a pipe");
    const pid_t child = fork();
    if (child == 0) {
        const double before = peak();
        run();
        const double after = peak() - before;
        _exit(write(ends[1], &after, sizeof after) == sizeof after ? 0 : 1);
    }
    close(ends[1]);
    double kilobytes = 0;
    const bool isRead = read(ends[0], &kilobytes, sizeof kilobytes) == sizeof kilobytes;
    close(ends[0]);
    (void)waitpid(child, nullptr, 0);
    require(isRead, "the peak of memory");
    return kilobytes / 1024;
}

int compare(int repetitions)
{
    const Directory directory;
    const bench::StaticObjectManager manager(bench::instancesAnswer(kInstances));
    const bench::StaticObjectManager changed(bench::instancesAnswer(kInstances, kChangedEvery));
    connectTo(manager);
    // Before this process has had as much itself.
    const double peak = peakOf([&] { (void)Filling(directory.file("peak.db")).run(); });
    const double clientPeak = peakOf([&] {
        filler::ObjectManager client;
        enumerate(client);
    });
    Times full;
    Times floor;
    Times client;
    Times same;
    Times few;
    Rows rows;
    for (int i = 0; i < repetitions; ++i) {
        Filling filling(directory.file("full" + std::to_string(i)));
        (void)filling.manager().declarationOf(kClass); // connected, as a filler mostly is
        measure(full, [&] { require(filling.run().rows == kInstances, "all rows"); });
        if (rows.empty()) {
            rows = rowsOf(filling.file().database(), "Tbl_XCIM_Benchmark");
        }
        Filling beside(directory.file("floor" + std::to_string(i)));
        beside.file().makeTable(beside.wanted(), false);
        (void)beside.manager().declarationOf(kClass);
        measure(floor, [&] {
            enumerate(beside.manager());
            insertAll(beside.file().database(), "Tbl_XCIM_Benchmark", rows);
        });
        measure(client, [&] { enumerate(beside.manager()); });
        measure(same, [&] { require(filling.run().changed == 0, "nothing changed"); });
        connectTo(changed);
        filling.manager().reconnect();
        measure(few, [&] {
            require(filling.run().changed == kInstances / kChangedEvery, "some rows changed");
        });
        connectTo(manager);
    }
    (void)std::printf("%d instances of %d properties\n", kInstances, bench::kInstanceProperties);
    bool isMet = report("full", full, floor, kTimeTarget);
    (void)report("unchanged / enumeration", same, client, 0);
    (void)report("1 % changed / enumeration", few, client, 0);
    isMet &= report("peak memory / client's", peak, clientPeak, "MiB", kMemoryTarget);
    return isMet ? EXIT_SUCCESS : EXIT_FAILURE;
}

int loop(const std::string& path)
{
    const bench::StaticObjectManager one(bench::instancesAnswer(kInstances));
    const bench::StaticObjectManager other(bench::instancesAnswer(kInstances, kChangedEvery));
    Filling filling(path);
    for (bool isOther = false;; isOther = !isOther) {
        connectTo(isOther ? other : one);
        filling.manager().reconnect();
        (void)filling.run();
        if (getppid() == 1) {
            return EXIT_SUCCESS;
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    try {
        if (argc == 2 && std::strcmp(argv[1], "--mapping") == 0) {
            std::cout << cimgate::writeJson(mapping());
            return EXIT_SUCCESS;
        }
        if (argc == 3 && std::strcmp(argv[1], "--loop") == 0) {
            return loop(argv[2]);
        }
        const long repetitions = argc == 2 ? std::strtol(argv[1], nullptr, 10) : kRepetitions;
        return compare(std::max(1, static_cast<int>(repetitions)));
    } catch (const std::exception& problem) {
        (void)std::fprintf(stderr, "%s: %s\n", argv[0], problem.what());
        return EXIT_FAILURE;
    }
}
