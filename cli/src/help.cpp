#include <cli/command_line.h>

#include <iterator>
#include <sstream>

namespace cli {

namespace {

constexpr size_t kLineLength = 80;
constexpr size_t kExplanationColumn = 30;

using Words = std::vector<std::string>;

Words wordsOf(const std::string& text)
{
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

// Lines that begin at the column; the caller has brought the first one there.
std::string inLines(const Words& words, size_t column)
{
    std::string lines;
    size_t length = column;
    for (const std::string& word : words) {
        if (length > column && length + 1 + word.size() > kLineLength) {
            lines += "\n" + std::string(column, ' ');
            length = column;
        } else if (length > column) {
            lines += ' ';
            ++length;
        }
        lines += word;
        length += word.size();
    }
    return lines;
}

std::string paragraph(const std::string& text)
{
    return inLines(wordsOf(text), 0);
}

std::string entry(const std::string& name, const Words& explanation)
{
    std::string line = "  " + name;
    if (line.size() < kExplanationColumn) {
        line.append(kExplanationColumn - line.size(), ' ');
    } else {
        line += "\n" + std::string(kExplanationColumn, ' ');
    }
    return line + inLines(explanation, kExplanationColumn) + "\n";
}

// What an option is for. Its default is not divided.
Words explanationOf(const Option& option)
{
    Words words = wordsOf(option.help);
    if (!option.fallback.empty()) {
        words.push_back("(default: " + option.fallback + ")");
    } else if (!option.value.initial.empty()) {
        words.push_back("(default " + option.value.initial + ")");
    }
    return words;
}

std::string usage(const Command& command, const std::string& fullName)
{
    std::string line = "usage: " + fullName;
    if (!command.commands.empty()) {
        return line + " COMMAND [ARGUMENT]...\n";
    }
    for (const Option& option : command.options) {
        if (!option.needed.empty()) {
            line += " " + option.name + " " + option.valueName;
        }
    }
    line += " [OPTION]...";
    for (const Word& word : command.words) {
        line += " " + word.name;
    }
    return line + "\n";
}

std::string entries(const Command& command)
{
    std::string text;
    for (const Command& one : command.commands) {
        text += entry(one.name, wordsOf(one.summary));
    }
    for (const Option& option : command.options) {
        const std::string value = option.valueName.empty() ? "" : " " + option.valueName;
        text += entry(option.name + value, explanationOf(option));
    }
    return text + entry("-h, --help", {"this text"}) +
           entry("--version", {"the program's version"});
}

} // namespace

std::string helpText(const Command& command, const std::string& fullName)
{
    return usage(command, fullName) + paragraph(command.summary) + "\n\n" + entries(command) +
           "\n" + paragraph(command.notes);
}

} // namespace cli
