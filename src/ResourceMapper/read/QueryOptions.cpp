// The request's query options, $select matching, and the SELECT text for a class's table.
#include "Log.h"
#include "ResourceMapper.h"
#include "ResourceMapper/mapping/Entry.h"
#include "SQLInterface/DataCache.h"

#include <array>
#include <cstdio>

using namespace cimgate; // NOLINT(google-build-using-namespace): most of what stands here

namespace {

constexpr size_t kMaxSelectBytes = 255;

// What a $select may always name although no property is called so.
constexpr std::array<std::string_view, 6> kAlwaysSelectable = {
    "Id", "Description", "Name", "@odata.id", "@odata.type", "@odata.context"};

bool isAlwaysSelectable(const std::string& item)
{
    for (const std::string_view name : kAlwaysSelectable) {
        if (item == name) {
            return true;
        }
    }
    return item.find(mapping::kActions) != std::string::npos;
}

std::string decimal(unsigned long value)
{
    char text[24];
    (void)std::snprintf(text, sizeof text, "%lu", value);
    return text;
}

} // namespace

bool ResourceMapper::isQueryOptionPresent(int option, unsigned long& value) const
{
    const auto bit = static_cast<unsigned int>(option);
    value = 0;
    if ((mURI.GetOptionMask() & bit) == 0) {
        return false;
    }
    value = mURI.GetOptionUInt32(bit);
    return true;
}

_ResourceMapperError ResourceMapper::isQueryOptionPresent(int option, Json::Value& list)
{
    const unsigned int mask = mURI.GetOptionMask();
    const auto bit = static_cast<unsigned int>(option);
    if ((mask & bit) == 0) {
        if ((mask & OL_OPTION_EXPAND) != 0) {
            LOG_AT(LOG_ERROR, "Expand query not supported");
            return failWith(RM_QUERY_NOT_SUPPORTED, "Expand");
        }
        if ((mask & OL_OPTION_FILTER) != 0) {
            LOG_AT(LOG_ERROR, "Filter query not supported");
            return failWith(RM_QUERY_NOT_SUPPORTED, "Filter");
        }
        return RM_OK;
    }
    const size_t length = mURI.GetOptionLength(bit);
    if (length < 1 || length > kMaxSelectBytes) {
        LOG_AT(LOG_ERROR, "Exceeded Length %d", static_cast<int>(length));
        return RM_INTERNAL_ERROR;
    }
    char value[kMaxSelectBytes + 1] = "";
    mURI.CopyOption(bit, value, sizeof value);
    std::string rest = std::string(value) + ",";
    for (size_t comma = rest.find(','); comma != std::string::npos; comma = rest.find(',')) {
        list.append(TrimWhiteSpace(rest.substr(0, comma)));
        rest.erase(0, comma + 1);
    }
    LOG_AT(LOG_FACT, "Select query: QParam (%s) ,  QParamLen (%d)", value,
           static_cast<int>(length));
    return RM_OK;
}

// The names in $select; what is refused is either an option not supported or an internal error.
_ResourceMapperError ResourceMapper::selectedNames(Json::Value& list)
{
    const _ResourceMapperError rc = isQueryOptionPresent(OL_OPTION_SELECT, list);
    return rc == RM_OK || rc == RM_QUERY_NOT_SUPPORTED ? rc : RM_INTERNAL_ERROR;
}

std::string ResourceMapper::TrimWhiteSpace(std::string text)
{
    const size_t first = text.find_first_not_of('+');
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of('+') - first + 1);
}

_ResourceMapperError ResourceMapper::MatchQueryParamAndPropList(Json::Value candidates,
                                                                Json::Value selectList,
                                                                Json::Value& matched,
                                                                bool& selectAll)
{
    return matchSelect(candidates, selectList, matched, selectAll);
}

_ResourceMapperError ResourceMapper::matchSelect(const Json::Value& candidates,
                                                 const Json::Value& selectList,
                                                 Json::Value& matched, bool& selectAll)
{
    LOG_SCOPE_AS("MatchQueryParamAndPropList");
    if (selectList.empty()) {
        return RM_OK;
    }
    mShowLinks = false;
    for (const Json::Value& selected : selectList) {
        const std::string item = textOf(selected);
        if (item == "*") {
            selectAll = true;
            mShowLinks = mShowLinks || !mIsCollection;
            continue;
        }
        std::string rejected = item;
        const bool isLink = !mIsCollection && item.find(mapping::kLinks) != std::string::npos;
        const bool found =
            isLink ? matchLinks(rejected) : matchProperties(item, candidates, matched);
        // A link that the mapping lacks is refused by its own name, anything else by the item.
        if (!found && (rejected != item || !isAlwaysSelectable(item))) {
            return failWith(RM_PROPERTY_UNKNOWN, rejected);
        }
    }
    return RM_OK;
}

// Picks the link that item ("Links", "Links/<name>", "Links/<name>/<member>") names. Where the
// mapping has links but not this one, item becomes the text after its first '/'.
bool ResourceMapper::matchLinks(std::string& item)
{
    mShowLinks = true;
    if (!hasMember(mResourceObj, mapping::kLinks)) {
        return false;
    }
    const size_t slash = item.find('/');
    if (slash == std::string::npos) {
        return true;
    }
    const Json::Value& links = memberOf(mResourceObj, mapping::kLinks);
    const std::string wanted = item.substr(slash + 1);
    if (hasMember(links, wanted)) {
        LOG_AT(LOG_FACT, "Links select %s", wanted.c_str());
        mSelectedLinks.append(wanted);
        return true;
    }
    const size_t second = wanted.find('/');
    const std::string link = wanted.substr(0, second);
    if (second != std::string::npos && hasMember(links, link) && memberOf(links, link).isObject() &&
        hasMember(memberOf(links, link), wanted.substr(second + 1))) {
        LOG_AT(LOG_FACT, "Links select %s", link.c_str());
        mSelectedLinks.append(link);
        return true;
    }
    item = wanted;
    return false;
}

// Appends the candidates that item names. An alias is selectable only where it begins with the
// property's own name; clients rely on the names that this leaves.
bool ResourceMapper::matchProperties(const std::string& item, const Json::Value& candidates,
                                     Json::Value& matched) const
{
    const Json::Value& properties = mapping::propertiesOf(mResourceObj, mCimClass);
    bool found = false;
    for (const Json::Value& candidate : candidates) {
        const std::string name = textOf(candidate);
        if (!item.starts_with(name)) {
            continue;
        }
        const std::string alias = textOf(memberOf(properties, name), mapping::kAlias);
        if (item == (alias.empty() ? name : alias)) {
            matched.append(name);
            found = true;
        }
    }
    return found;
}

std::string ResourceMapper::GetSelectQuery(std::string cimClass, unsigned long limit,
                                           unsigned long offset, std::string key,
                                           std::string extraClause) const
{
    LOG_SCOPE();
    const Json::Value& properties = mapping::propertiesOf(mResourceObj, cimClass);
    const std::string unique = textOf(mResourceObj, mapping::kUniqueSelector);
    std::string columns;
    for (auto property = properties.begin(); property != properties.end(); ++property) {
        columns += columns.empty() ? "" : ",";
        columns += nameOf(property);
    }
    if (!unique.empty()) {
        columns += (columns.empty() ? "" : ",") + unique;
    }
    if (columns.empty()) {
        return {};
    }
    std::string query = "select ";
    query.append(columns).append(" from ").append(Table_Prefix).append(cimClass);
    if (limit != 0 || offset != 0) {
        query += limit != 0 ? " LIMIT " + decimal(limit) : "";
        query += offset != 0 ? " OFFSET " + decimal(offset) : "";
    } else if (!key.empty()) {
        query += " where " + unique + " = ?";
    } else {
        query += extraClause;
    }
    return query;
}
