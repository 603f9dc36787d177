#include "ResourceMapper/read/QueryOptions.h"

#include "ListText.h"
#include "Log.h"
#include "MessageArguments.h"
#include "ResourceMapper/mapping/CachedClasses.h"
#include "ResourceMapper/mapping/Entry.h"
#include "SQLInterface/DataCache.h"

#include <array>
#include <cstdio>

namespace cimgate {

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

// Picks the link that item ("Links", "Links/<name>", "Links/<name>/<member>") names. Where the
// mapping has links but not this one, item becomes the text after its first '/'.
bool matchLinks(ResourceMapper& mapper, std::string& item)
{
    mapper.mShowLinks = true;
    if (!hasMember(mapper.mResourceObj, mapping::kLinks)) {
        return false;
    }
    const size_t slash = item.find('/');
    if (slash == std::string::npos) {
        return true;
    }
    const Json::Value& links = memberOf(mapper.mResourceObj, mapping::kLinks);
    const std::string wanted = item.substr(slash + 1);
    if (hasMember(links, wanted)) {
        LOG_AT(LOG_FACT, "Links select %s", wanted.c_str());
        writableArray(mapper.mSelectedLinks).append(wanted);
        return true;
    }
    const size_t second = wanted.find('/');
    const std::string link = wanted.substr(0, second);
    if (second != std::string::npos && hasMember(links, link) && memberOf(links, link).isObject() &&
        hasMember(memberOf(links, link), wanted.substr(second + 1))) {
        LOG_AT(LOG_FACT, "Links select %s", link.c_str());
        writableArray(mapper.mSelectedLinks).append(link);
        return true;
    }
    item = wanted;
    return false;
}

// Appends the candidates that item names. An alias is selectable only where it begins with the
// property's own name; clients rely on the names that this leaves.
bool matchProperties(const ResourceMapper& mapper, const std::string& item,
                     const Json::Value& candidates, Json::Value& matched)
{
    const Json::Value& properties = mapping::propertiesOf(mapper.mResourceObj, mapper.mCimClass);
    bool found = false;
    for (const Json::Value& candidate : candidates) {
        const std::string name = textOf(candidate);
        if (!item.starts_with(name)) {
            continue;
        }
        const std::string alias = textOf(memberOf(properties, name), mapping::kAlias);
        if (item == (alias.empty() ? name : alias)) {
            writableArray(matched).append(name);
            found = true;
        }
    }
    return found;
}

} // namespace

bool numericOption(const odata::URI& uri, int option, unsigned long& value)
{
    const auto bit = static_cast<unsigned int>(option);
    value = 0;
    if ((uri.GetOptionMask() & bit) == 0) {
        return false;
    }
    value = uri.GetOptionUInt32(bit);
    return true;
}

_ResourceMapperError listOption(ResourceMapper& mapper, int option, Json::Value& list)
{
    LOG_NAME("isQueryOptionPresent");
    const unsigned int mask = mapper.mURI.GetOptionMask();
    const auto bit = static_cast<unsigned int>(option);
    if ((mask & bit) == 0) {
        if ((mask & OL_OPTION_EXPAND) != 0) {
            LOG_AT(LOG_ERROR, "Expand query not supported");
            return failWith(mapper.mErrorArgs, RM_QUERY_NOT_SUPPORTED, "Expand");
        }
        if ((mask & OL_OPTION_FILTER) != 0) {
            LOG_AT(LOG_ERROR, "Filter query not supported");
            return failWith(mapper.mErrorArgs, RM_QUERY_NOT_SUPPORTED, "Filter");
        }
        return RM_OK;
    }
    const size_t length = mapper.mURI.GetOptionLength(bit);
    if (length < 1 || length > kMaxSelectBytes) {
        LOG_AT(LOG_ERROR, "Exceeded Length %d", static_cast<int>(length));
        return RM_INTERNAL_ERROR;
    }
    char value[kMaxSelectBytes + 1] = "";
    mapper.mURI.CopyOption(bit, value, sizeof value);
    for (const std::string_view item : itemsOf(value)) {
        writableArray(list).append(std::string(trimmed(item)));
    }
    LOG_AT(LOG_FACT, "Select query: QParam (%s) ,  QParamLen (%d)", value,
           static_cast<int>(length));
    return RM_OK;
}

_ResourceMapperError selectedNames(ResourceMapper& mapper, Json::Value& list)
{
    const _ResourceMapperError rc = listOption(mapper, OL_OPTION_SELECT, list);
    return rc == RM_OK || rc == RM_QUERY_NOT_SUPPORTED ? rc : RM_INTERNAL_ERROR;
}

std::string_view trimmed(std::string_view text)
{
    const size_t first = text.find_first_not_of('+');
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of('+') - first + 1);
}

_ResourceMapperError matchSelect(ResourceMapper& mapper, const Json::Value& candidates,
                                 const Json::Value& selectList, Json::Value& matched,
                                 bool& selectAll)
{
    LOG_SCOPE_AS("MatchQueryParamAndPropList");
    if (selectList.empty()) {
        return RM_OK;
    }
    mapper.mShowLinks = false;
    for (const Json::Value& selected : selectList) {
        const std::string item = textOf(selected);
        if (item == "*") {
            selectAll = true;
            mapper.mShowLinks = mapper.mShowLinks || !mapper.mIsCollection;
            continue;
        }
        std::string rejected = item;
        const bool isLink =
            !mapper.mIsCollection && item.find(mapping::kLinks) != std::string::npos;
        const bool found = isLink ? matchLinks(mapper, rejected)
                                  : matchProperties(mapper, item, candidates, matched);
        // A link that the mapping lacks is refused by its own name, anything else by the item.
        if (!found && (rejected != item || !isAlwaysSelectable(item))) {
            return failWith(mapper.mErrorArgs, RM_PROPERTY_UNKNOWN, rejected);
        }
    }
    return RM_OK;
}

std::string selectQuery(const Json::Value& entry, const std::string& cimClass, const Rows& rows)
{
    LOG_SCOPE_AS("GetSelectQuery");
    std::string columns;
    for (const std::string& column : mapping::columnsOf(entry, cimClass)) {
        columns += (columns.empty() ? "" : ",") + column;
    }
    if (columns.empty()) {
        return {};
    }
    std::string query = "select ";
    query.append(columns).append(" from ").append(Table_Prefix).append(cimClass);
    if (rows.limit != 0 || rows.offset != 0) {
        query += rows.limit != 0 ? " LIMIT " + decimal(rows.limit) : "";
        query += rows.offset != 0 ? " OFFSET " + decimal(rows.offset) : "";
    } else if (!rows.key.empty()) {
        query += " where " + textOf(entry, mapping::kUniqueSelector) + " = ?";
    } else {
        query += rows.condition;
    }
    return query;
}

} // namespace cimgate
