#include "InterfaceTest.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>

namespace {

std::string headers()
{
    std::string text;
    for (const char* name : {"cmcift.h", "cmci.h"}) {
        std::ifstream file(std::string("platform/cmpisfcc/include/CimClientLib/") + name);
        text.append(std::istreambuf_iterator(file), {});
    }
    return text;
}

// The first group of each match.
std::vector<std::string> allOf(const std::string& text, const char* pattern)
{
    const std::regex regex(pattern);
    std::vector<std::string> found;
    std::transform(std::sregex_iterator(text.begin(), text.end(), regex), std::sregex_iterator(),
                   std::back_inserter(found), [](const std::smatch& match) { return match[1]; });
    return found;
}

} // namespace

std::vector<std::string> declaredTables()
{
    return allOf(headers(), R"(\n\} (\w+FT);)");
}

std::vector<std::string> declaredFunctions(const std::string& table)
{
    const std::string text = headers();
    const std::size_t begin = text.find("typedef struct _" + table + "\n");
    const std::size_t end = text.find("} " + table + ";", begin);
    if (end == std::string::npos) {
        return {"there is no table " + table};
    }
    return allOf(text.substr(begin, end - begin), R"(\(\*(\w+)\)\()");
}
