// The command line of a program: a description of what it takes, and one way to read, check and
// explain it.
//
//     unsigned int workers = 2;
//     const cli::Command program = {
//         .name = "baker",
//         .summary = "Bakes.",
//         .options = {{"--workers", "N", "bakers, 1 to 64", cli::number(workers, 1, 64)}},
//         .run = [&workers] { return bake(workers); },
//     };
//     return cli::run(program, {argv + 1, argv + argc});
//
// Values stand behind their option, "--workers 3", or in the same argument, "--workers=3". An
// option that is given twice counts as it stands last. Each program has -h, --help and --version
// besides; what follows them is not read.
#ifndef CLI_COMMAND_LINE_H_
#define CLI_COMMAND_LINE_H_

#include <charconv>
#include <functional>
#include <string>
#include <system_error>
#include <type_traits>
#include <vector>

namespace cli {

inline constexpr int kWrongUsage = 2; // exit status

// Takes a value that is not empty, each time that the option is given. Returns an empty text, or,
// where the value cannot be used, what to give instead: "give a number from 1 to 64".
using Reader = std::function<std::string(const std::string& value)>;

struct Value
{
    Reader read;
    std::string initial = {}; // what holds unless the option is given, for the help
};

struct Option
{
    std::string name;      // "--workers"
    std::string valueName; // "N"; empty for a flag, which stands alone
    std::string help;
    Value value;
    std::string fallback = {}; // the default in words, where it is not value.initial
    std::string needed = {};   // what it is for, where the program cannot do without it
};

// An argument that is no option. Each must be given.
struct Word
{
    std::string name;        // "ID"
    std::string description; // "an id"
    std::string& target;
};

struct Command
{
    std::string name;
    std::string summary; // what it does, in sentences
    std::vector<Option> options = {};
    std::vector<Word> words = {};
    std::vector<Command> commands = {}; // where there are any, one must be given
    std::string notes = {};             // the end of the help
    std::function<int()> run = {};      // returns the exit status
};

// What came of the arguments.
struct Reading
{
    enum class Outcome {
        Run,   // what was given is in its places
        Print, // text is what was asked for: help or version
        Wrong  // text is what is wrong, and what to do about it
    };

    Outcome outcome = Outcome::Run;
    const Command* command = nullptr; // the program, or that of its commands which was given
    std::string name = {};            // the command's, in full: "cimgate oem"
    std::string text = {};
};

// An option whose value is taken as it is.
Value text(std::string& target);

// A flag: the option alone makes it true.
Value flag(bool& target);

// What number() says of texts that are none.
std::string wantedNumber(const std::string& low, const std::string& high);

// An option whose value is a decimal number.
template <class Integer>
Value number(Integer& target, std::type_identity_t<Integer> low, std::type_identity_t<Integer> high)
{
    const auto read = [&target, low, high](const std::string& value) {
        const char* const end = value.data() + value.size();
        Integer given = 0;
        const auto [parsed, error] = std::from_chars(value.data(), end, given);
        if (error != std::errc() || parsed != end || given < low || given > high) {
            return wantedNumber(std::to_string(low), std::to_string(high));
        }
        target = given;
        return std::string();
    };
    return {read, std::to_string(target)};
}

// What --help prints of a command, without the line break at its end.
std::string helpText(const Command& command, const std::string& fullName);

// Reads the arguments, those behind the program's name. The result refers to the program.
Reading read(const Command& program, const std::vector<std::string>& arguments);

// What main does: opens /dev/null in place of those of the descriptors 0 to 2 that are closed, so
// that nothing else gets their numbers, reads the arguments, and runs the program or prints what is
// to be said. Returns the exit status.
int run(const Command& program, const std::vector<std::string>& arguments);

} // namespace cli

#endif
