#include "compose/query.h"

#include "error_body.h"
#include "host_limits.h"
#include "query_options.h"

#include <JsonAccess.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace host::compose {

namespace {

constexpr std::string_view kOnly = "only";
constexpr const char* kExpandName = "$expand";
constexpr std::string_view kLevels = "($levels=";

std::string textOfOption(const odata::URI& uri, unsigned int option)
{
    std::string text(uri.GetOptionLength(option) + 1, '\0');
    text.resize(std::min(uri.CopyOption(option, text.data(), text.size()), text.size() - 1));
    return text;
}

bool hasOption(const odata::URI& uri, unsigned int option)
{
    return (uri.GetOptionMask() & option) != 0;
}

bool hasOnly(std::string_view target)
{
    const size_t begin = target.find('?');
    std::string_view rest = begin == std::string_view::npos ? "" : target.substr(begin + 1);
    while (!rest.empty()) {
        const std::string_view parameter = rest.substr(0, rest.find('&'));
        if (parameter.substr(0, parameter.find('=')) == kOnly) {
            return true;
        }
        rest.remove_prefix(std::min(rest.size(), parameter.size() + 1));
    }
    return false;
}

httpd::Response malformed(const std::string& value, const char* name)
{
    return errorResponse(httpd::kBadRequest, "QueryParameterValueFormatError", value, name);
}

// ".", "*" or "~", and "($levels=N)" behind it.
std::variant<Expand, httpd::Response> expandOf(const std::string& text)
{
    Expand expand;
    expand.isOfLinks = text.starts_with('*') || text.starts_with('~');
    expand.isOfOthers = text.starts_with('*') || text.starts_with('.');
    if (!expand.isOfLinks && !expand.isOfOthers) {
        return malformed(text, kExpandName);
    }
    std::string_view rest = std::string_view(text).substr(1);
    if (rest.empty()) {
        return expand;
    }
    if (!rest.starts_with(kLevels) || !rest.ends_with(')')) {
        return malformed(text, kExpandName);
    }
    rest.remove_prefix(kLevels.size());
    rest.remove_suffix(1);
    const bool isNumber = !rest.empty() && rest.find_first_not_of("0123456789") == rest.npos;
    if (!isNumber) {
        return malformed(text, kExpandName);
    }
    if (rest.size() > 1 || rest.front() == '0' ||
        static_cast<unsigned int>(rest.front() - '0') > kMaxExpandLevels) {
        return errorResponse(httpd::kBadRequest, "QueryParameterOutOfRange", std::string(rest),
                             "$levels", "1-" + std::to_string(kMaxExpandLevels));
    }
    expand.levels = static_cast<unsigned int>(rest.front() - '0');
    return expand;
}

std::vector<std::string> itemsOf(std::string_view list)
{
    std::vector<std::string> items;
    while (!list.empty()) {
        const std::string_view item = list.substr(0, list.find(','));
        if (!item.empty()) {
            items.emplace_back(item);
        }
        list.remove_prefix(std::min(list.size(), item.size() + 1));
    }
    return items;
}

bool namesTheResource(std::string_view name)
{
    return name.starts_with("@odata.");
}

// What is wanted of one value: all of it, or what stands below some of its members.
struct Wanted
{
    bool isAll = false;
    std::map<std::string, Wanted, std::less<>> members;
};

Wanted wantedBy(const std::vector<std::string>& paths)
{
    Wanted wanted;
    for (const std::string& path : paths) {
        Wanted* at = &wanted;
        std::string_view rest = path;
        while (!rest.empty() && rest != "*") {
            const std::string_view name = rest.substr(0, rest.find('/'));
            at = &at->members[std::string(name)];
            rest.remove_prefix(std::min(rest.size(), name.size() + 1));
        }
        at->isAll = true;
    }
    return wanted;
}

// found: the paths that there are.
void narrow(Json::Value& value, const Wanted& wanted, const std::string& path,
            std::set<std::string>& found)
{
    found.insert(path);
    if (value.isArray()) {
        for (Json::Value& element : value) {
            narrow(element, wanted, path, found);
        }
        return;
    }
    if (!value.isObject()) {
        return;
    }
    const std::string below = path.empty() ? "" : path + "/";
    for (const std::string& name : value.getMemberNames()) {
        const auto member = wanted.members.find(name);
        if (member != wanted.members.end()) {
            narrow(value[name], member->second, below + name, found);
        } else if (!wanted.isAll && !namesTheResource(name)) {
            value.removeMember(name);
        }
    }
}

} // namespace

std::variant<Query, httpd::Response> readQuery(std::string_view target, const odata::URI& uri)
{
    if (auto refused = refusalOfOptions(uri, OL_OPTION_FILTER | OL_OPTION_TOP | OL_OPTION_SKIP)) {
        return std::move(*refused);
    }
    Query query;
    query.isOnly = hasOnly(target);
    if (hasOption(uri, OL_OPTION_EXPAND)) {
        auto expand = expandOf(textOfOption(uri, OL_OPTION_EXPAND));
        if (auto* refused = std::get_if<httpd::Response>(&expand)) {
            return std::move(*refused);
        }
        query.expand = std::get<Expand>(expand);
    }
    if (hasOption(uri, OL_OPTION_SELECT)) {
        const std::string text = textOfOption(uri, OL_OPTION_SELECT);
        query.select = itemsOf(text);
        if (query.select.empty()) {
            return malformed(text, "$select");
        }
    }
    return query;
}

std::string select(Json::Value& body, const std::vector<std::string>& paths)
{
    std::set<std::string> found;
    narrow(body, wantedBy(paths), "", found);
    const auto isMissing = [&found](const std::string& path) {
        const bool isWhole = path == "*" || path.ends_with("/*");
        const size_t shorter = isWhole ? std::min<size_t>(2, path.size()) : 0;
        return !found.contains(path.substr(0, path.size() - shorter));
    };
    const auto missing = std::find_if(paths.begin(), paths.end(), isMissing);
    return missing == paths.end() ? "" : *missing;
}

} // namespace host::compose
