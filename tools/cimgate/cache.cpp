#include "cache.h"

#include <cache_files.h>
#include <fcntl.h>
#include <service/file_descriptor.h>
#include <status_file.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <vector>

namespace cache {

namespace {

using filler::ClassStatus;
using filler::Status;
using std::chrono::seconds;

struct Options
{
    std::string cache = filler::kDefaultCache;
    bool isJson = false;
};

enum class Filler { Runs, Rests, Unknown };

int complain(const std::string& problem)
{
    (void)std::fprintf(stderr, "cimgate cache: %s\n", problem.c_str());
    return EXIT_FAILURE;
}

// A filler holds its lock as long as it runs.
Filler fillerOf(const std::string& cache)
{
    const service::FileDescriptor file(
        open(filler::lockFileOf(cache).c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen()) {
        return errno == ENOENT ? Filler::Rests : Filler::Unknown;
    }
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (fcntl(file.get(), F_GETLK, &lock) != 0) {
        return Filler::Unknown;
    }
    return lock.l_type == F_UNLCK ? Filler::Rests : Filler::Runs;
}

seconds ageOf(filler::Time time, filler::Time now)
{
    return std::max(std::chrono::floor<seconds>(now - time), seconds(0));
}

std::string durationText(seconds duration)
{
    struct Unit
    {
        seconds length;
        const char* name;
    };
    constexpr std::array<Unit, 3> kUnits = {{{std::chrono::hours(24), " d"},
                                             {std::chrono::hours(1), " h"},
                                             {std::chrono::minutes(1), " min"}}};
    for (const Unit& unit : kUnits) {
        if (duration >= 2 * unit.length) { // "90 s" tells more than "1 min"
            return std::to_string(duration / unit.length) + unit.name;
        }
    }
    return std::to_string(duration.count()) + " s";
}

// The object manager's words may be in it, and a terminal obeys control characters.
std::string onOneLine(std::string text)
{
    std::replace_if(
        text.begin(), text.end(),
        [](char byte) { return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F; }, ' ');
    return text;
}

bool isFailing(const ClassStatus& one)
{
    return one.failures > 0;
}

bool isAllWell(const Status& status)
{
    return std::all_of(status.classes.begin(), status.classes.end(),
                       [](const ClassStatus& one) { return one.isReady && !isFailing(one); });
}

std::string jsonText(const Status& status, Filler filler, filler::Time now)
{
    Json::Value json = toJson(status);
    json["running"] =
        filler == Filler::Unknown ? Json::Value() : Json::Value(filler == Filler::Runs);
    for (Json::ArrayIndex i = 0; i < json["classes"].size(); ++i) {
        const std::optional<filler::Time>& refreshed = status.classes[i].refreshed;
        json["classes"][i]["age_s"] =
            refreshed ? Json::Value(Json::Int64{ageOf(*refreshed, now).count()}) : Json::Value();
    }
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    return Json::writeString(builder, json) + "\n";
}

std::string headText(const Status& status, const std::string& cache, Filler filler,
                     filler::Time now)
{
    std::string state =
        "does not run, and has told this " + durationText(ageOf(status.written, now)) + " ago";
    if (filler == Filler::Runs) {
        state = "runs, process " + std::to_string(status.pid) + ", " + onOneLine(status.state);
    } else if (filler == Filler::Unknown) {
        state = filler::lockFileOf(cache) + " does not tell whether it runs";
    }
    const std::string source =
        status.objectManager.empty() ? "the local one" : onOneLine(status.objectManager);
    return "data cache      " + cache + "\nobject manager  " + source + "\ncimgate-cached  " +
           state + "\n\n";
}

struct Row
{
    std::string name;
    std::string rows;
    std::string ready;
    std::string age;
    std::string interval;
    std::string error; // what stands last may be of any length
};

Row rowOf(const ClassStatus& one, filler::Time now)
{
    std::string error = isFailing(one) ? onOneLine(one.error) : "";
    if (one.failures > 1) {
        error += " (" + std::to_string(one.failures) + " times)";
    }
    return {.name = onOneLine(one.name),
            .rows = std::to_string(one.rows),
            .ready = one.isReady ? "yes" : "no",
            .age = one.refreshed ? durationText(ageOf(*one.refreshed, now)) : "-",
            .interval = durationText(seconds(one.intervalS)),
            .error = error};
}

// The rows in columns; numbers stand on the right of theirs.
std::string tableText(const std::vector<Row>& rows)
{
    const auto widthOf = [&rows](std::string Row::*column) {
        size_t width = 0;
        for (const Row& row : rows) {
            width = std::max(width, (row.*column).size());
        }
        return width;
    };
    const auto space = [](size_t width, const std::string& text) {
        return std::string(width - text.size(), ' ');
    };
    const size_t name = widthOf(&Row::name);
    const size_t count = widthOf(&Row::rows);
    const size_t ready = widthOf(&Row::ready);
    const size_t age = widthOf(&Row::age);
    const size_t interval = widthOf(&Row::interval);
    std::string text;
    for (const Row& row : rows) {
        text += row.name + space(name, row.name) + "  " + space(count, row.rows) + row.rows + "  " +
                row.ready + space(ready, row.ready) + "  " + space(age, row.age) + row.age + "  " +
                space(interval, row.interval) + row.interval +
                (row.error.empty() ? "" : "  " + row.error) + "\n";
    }
    return text;
}

std::string lossesText(const Status& status)
{
    std::string text;
    for (const ClassStatus& one : status.classes) {
        for (const std::string& loss : one.losses) {
            text += "  " + onOneLine(one.name + ": " + loss) + "\n";
        }
    }
    return text.empty() ? "" : "\nNot stored as it is:\n" + text;
}

std::string classesText(const Status& status, filler::Time now)
{
    std::vector<Row> rows = {{"CLASS", "ROWS", "READY", "AGE", "EVERY", "ERROR"}};
    rows.reserve(status.classes.size() + 1);
    for (const ClassStatus& one : status.classes) {
        rows.push_back(rowOf(one, now));
    }
    return tableText(rows) + lossesText(status);
}

// What to do where there is no status to be had from this file.
std::string adviceFor(const std::string& statusFile)
{
    const bool isForbidden = access(statusFile.c_str(), R_OK) != 0 && errno == EACCES;
    return isForbidden ? "ask as a user who may read this file and search its directory"
                       : "start cimgate-cached with this --cache, or name the one that it fills";
}

int run(const Options& options)
{
    const std::string statusFile = filler::statusFileOf(options.cache);
    std::string problem;
    const auto status = filler::readStatus(statusFile, problem);
    if (!status) {
        return complain(problem + "; " + adviceFor(statusFile));
    }
    const Filler filler = fillerOf(options.cache);
    const auto now = std::chrono::system_clock::now();
    const std::string text =
        options.isJson ? jsonText(*status, filler, now)
                       : headText(*status, options.cache, filler, now) + classesText(*status, now);
    if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
        return complain("cannot write to standard output");
    }
    return isAllWell(*status) ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

cli::Command command()
{
    const auto options = std::make_shared<Options>();
    return {
        .name = "cache",
        .summary = "Tells how the data cache stands, as cimgate-cached has last told: its classes, "
                   "their rows, since when they are like those of the object manager, how often "
                   "they are asked for, and what failed.",
        .options = {{"--cache", "FILE", "the data cache", cli::text(options->cache)},
                    {"--json", "", "the same for programs", cli::flag(options->isJson)}},
        .notes = "Exit status: 0 all classes are ready and none is failing, 1 one is not, or there "
                 "is nothing to tell (standard error says why), 2 wrong usage.",
        .run = [options] { return run(*options); },
    };
}

} // namespace cache
