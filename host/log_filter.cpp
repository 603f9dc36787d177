#include "log_filter.h"

#include "host_limits.h"
#include "line_budget.h"
#include "log.h"
#include "repeated_lines.h"

#include <unistd.h>
#include <vexodlog.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <new>
#include <string_view>
#include <vector>

namespace host {

namespace {

using std::chrono::steady_clock;

constexpr int kLibraryModule = 139;

// From this level on everything is wanted.
constexpr int kVerboseLevel = 2;

// What the library says at the level of errors while requests go well: of the look-up that only
// loads the mapping file, in every request; of a value that is shown as it is; of a CIM session
// that has done its work.
constexpr std::string_view kExpected[] = {
    "Resource not found in RMF",
    "Value map not present in RMF",
    "Releasing sfcbd connection handle",
};

struct State
{
    int level = 1;
    LibraryErrorListener listener = nullptr;
    RepeatedLines repeated;
    pid_t process = 0; // the one whose lines are counted
    LineBudget budget; // of all processes
    pid_t first = 0;   // which answers for the budget
    steady_clock::time_point renewal{};
};

State& state()
{
    static State state;
    return state;
}

// What a parent has held back is the parent's to tell.
RepeatedLines& repeatedLines()
{
    State& own = state();
    if (own.process != getpid()) {
        own.process = getpid();
        own.repeated = {};
    }
    return own.repeated;
}

// "0012.345:[File.cpp.42 function] message" without the time.
std::string_view withoutTime(std::string_view text)
{
    const size_t caller = text.find('[');
    return caller == std::string_view::npos ? text : text.substr(caller);
}

bool isExpected(std::string_view message)
{
    constexpr std::string_view kCallersEnd = "] ";
    const size_t text = message.find(kCallersEnd);
    return text != std::string_view::npos &&
           std::find(std::begin(kExpected), std::end(kExpected),
                     message.substr(text + kCallersEnd.size())) != std::end(kExpected);
}

std::string numbersOf(const LogLine& line)
{
    return std::to_string(line.module) + ' ' + std::to_string(line.severity) + ' ';
}

void tell(const std::vector<RepeatedLines::HeldBack>& heldBack)
{
    for (const auto& [line, times] : heldBack) {
        const std::string text = numbersOf(line) + line.text + " (" + std::to_string(times) +
                                 (times == 1 ? " more time)" : " more times)");
        (void)vexoPutTextAs(line.severity, text.c_str());
    }
}

void renewBudget()
{
    state().renewal = steady_clock::now() + kRepeatWindow;
    for (const auto& [kind, lines] : state().budget.renew()) {
        (void)vexoPutTextAs(VEXO_ERROR,
                            (kind + " (" + std::to_string(lines) + " more like it)").c_str());
    }
}

bool renewsBudget()
{
    return state().first == getpid();
}

// What a line says of the place in the library that it comes from, or of the kind that the host
// gives it.
std::string kindOf(const LogLine& line)
{
    constexpr const char* kCallersEnd = "] ";
    const std::string kind = line.module == kLibraryModule
                                 ? line.text.substr(0, line.text.find(kCallersEnd)) + "] ..."
                                 : kindOfCurrentLine();
    return kind.empty() ? "" : numbersOf(line) + kind;
}

bool isWithinBudget(const LogLine& line)
{
    const std::string kind = kindOf(line);
    return kind.empty() || state().budget.admits(kind);
}

bool isNew(const LogLine& line)
{
    const auto now = steady_clock::now();
    if (repeatedLines().holdsBack(line, now) || !isWithinBudget(line)) {
        return false;
    }
    repeatedLines().written(line, now);
    return true;
}

bool isKept(const LogLine& line)
{
    const bool isLibrarys = line.module == kLibraryModule;
    if (isLibrarys && isExpected(line.text)) {
        return state().level >= kVerboseLevel;
    }
    if (isLibrarys && line.severity <= VEXO_ERROR && state().listener != nullptr) {
        state().listener(line.text);
    }
    if (line.severity > state().level + 1) {
        return false;
    }
    if (state().level >= kVerboseLevel) {
        return true;
    }
    tellRepeats();
    return isNew(line);
}

int filter(int severity, int module, const char* text)
{
    try {
        const std::string_view whole(text);
        const std::string_view message = module == kLibraryModule ? withoutTime(whole) : whole;
        return isKept({severity, module, std::string(message)}) ? 1 : 0;
    } catch (const std::bad_alloc&) {
        return 1;
    }
}

} // namespace

void startLog(int level)
{
    state().level = level;
    state().first = getpid();
    state().renewal = steady_clock::now() + kRepeatWindow;
    // Errors come this far at every level: they say why a request has failed.
    vexoSetThreshold(std::max<int>(level + 1, VEXO_ERROR));
    vexoSetStamp(VEXO_STAMP_AUTO);
    vexoSetFilter(filter);
}

void setLibraryErrorListener(LibraryErrorListener listener)
{
    state().listener = listener;
}

int msUntilRepeats()
{
    using std::chrono::milliseconds;
    const auto due = repeatedLines().nextDue();
    if (!due) {
        return -1;
    }
    const auto now = steady_clock::now();
    return *due <= now ? 0 : static_cast<int>(std::chrono::ceil<milliseconds>(*due - now).count());
}

void tellRepeats()
{
    const auto now = steady_clock::now();
    tell(repeatedLines().takeDue(now));
    if (renewsBudget() && now >= state().renewal) {
        renewBudget();
    }
}

void tellAllRepeats()
{
    tell(repeatedLines().takeAll());
    if (renewsBudget()) {
        renewBudget();
    }
}

} // namespace host
