#include "check/fault.h"

namespace host::check {

namespace {

constexpr size_t kMaxQuotedBytes = 120;

std::string sentence(std::string phrase)
{
    if (!phrase.empty() && phrase.front() >= 'a' && phrase.front() <= 'z') {
        phrase.front() = static_cast<char>(phrase.front() - 'a' + 'A');
    }
    return "    " + phrase + ".\n";
}

std::string numbers(const Position& position, const char* beforeLine, const char* beforeColumn)
{
    std::string text;
    if (position.line != 0) {
        text += beforeLine + std::to_string(position.line);
    }
    if (position.column != 0) {
        text += beforeColumn + std::to_string(position.column);
    }
    return text;
}

} // namespace

std::string logLine(const Fault& fault)
{
    std::string line = fault.file + numbers(fault.position, ":", ":") + ": ";
    if (!fault.place.empty()) {
        line += fault.place + ": ";
    }
    return line + fault.finding.wrong + "; " + fault.finding.effect + "; " + fault.finding.remedy;
}

std::string paragraph(const Fault& fault)
{
    std::string where = numbers(fault.position, "line ", ", column ");
    where += (where.empty() || fault.place.empty() ? "" : ", ") + fault.place;
    const Finding& finding = fault.finding;
    return (where.empty() ? "" : "  " + where + ":\n") + sentence(finding.wrong) +
           sentence(finding.effect) + sentence(finding.remedy);
}

std::string quoted(std::string_view text)
{
    const bool isLong = text.size() > kMaxQuotedBytes;
    return '"' + std::string(text.substr(0, kMaxQuotedBytes)) + (isLong ? "...\"" : "\"");
}

} // namespace host::check
