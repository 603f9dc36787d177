#include "ResourceMapper/read/MappedResources.h"

#include "Log.h"
#include "ResourceMapper/mapping/Entry.h"
#include "ResourceMapper/mapping/MappingFile.h"
#include "ResourceMapper/mapping/UriResolution.h"
#include "ResourceMapper/read/Instances.h"
#include "SQLInterface/DataCache.h"

#include <regex.h>

#include <array>
#include <optional>
#include <string>

namespace cimgate {

namespace {

// The whole match and the groups that can be asked for.
constexpr size_t kMatches = 5;

using Matches = std::array<regmatch_t, kMatches>;

// What finds the instance of an embedded resource.
struct InstanceKey
{
    std::string text;
    bool isCondition; // SQL, instead of the value of the key
};

// A compiled expression that frees itself.
class Expression
{
public:
    explicit Expression(const std::string& text)
        : mIsCompiled(regcomp(&mRegex, text.c_str(), REG_EXTENDED | REG_ICASE) == 0)
    {}
    ~Expression()
    {
        if (mIsCompiled) {
            regfree(&mRegex);
        }
    }
    Expression(const Expression&) = delete;
    Expression& operator=(const Expression&) = delete;

    [[nodiscard]] bool isCompiled() const { return mIsCompiled; }
    bool match(const std::string& text, Matches& matches) const
    {
        return regexec(&mRegex, text.c_str(), matches.size(), matches.data(), 0) == 0;
    }

private:
    regex_t mRegex = {};
    bool mIsCompiled;
};

bool isMatched(const regmatch_t& match)
{
    return match.rm_so >= 0;
}

std::string partOf(const std::string& id, const regmatch_t& match)
{
    return id.substr(static_cast<size_t>(match.rm_so),
                     static_cast<size_t>(match.rm_eo - match.rm_so));
}

// Of a placeholder, "#p1" and so on, the first counts.
void fillPlaceholder(std::string& query, const std::string& placeholder, const std::string& part)
{
    const size_t at = query.find(placeholder);
    if (at != std::string::npos) {
        query.replace(at, placeholder.size(), part);
    }
}

void fillFromMatches(std::string& query, const Matches& matches, const std::string& id)
{
    for (size_t i = 1; i < matches.size() && isMatched(matches[i]); ++i) {
        const std::string placeholder = "#p" + std::to_string(i);
        const std::string part = partOf(id, matches[i]);
        LOG_AT(LOG_FACT, "matched part for %s is %s", placeholder.c_str(), part.c_str());
        fillPlaceholder(query, placeholder, part);
    }
}

std::optional<Matches> matchesOf(const std::string& regex, const std::string& id)
{
    const Expression expression(regex);
    if (!expression.isCompiled()) {
        LOG_AT(LOG_ERROR, "REGEX Compilation failed for '%s'", regex.c_str());
        return std::nullopt;
    }
    Matches matches{};
    if (!expression.match(id, matches)) {
        LOG_AT(LOG_ERROR, "REGEX Failed! Ignore and continue!");
        return std::nullopt;
    }
    return matches;
}

std::optional<InstanceKey> keyByRegex(const std::string& regex, std::string query,
                                      const std::string& id)
{
    const std::optional<Matches> matches = matchesOf(regex, id);
    if (!matches) {
        return std::nullopt;
    }
    if (!query.empty()) {
        LOG_AT(LOG_FACT, "Query + Regex");
        fillFromMatches(query, *matches, id);
        return InstanceKey{query, true};
    }
    LOG_AT(LOG_FACT, "Only Regex");
    if (!isMatched((*matches)[1])) {
        LOG_AT(LOG_ERROR, "Failed to match regex");
        return std::nullopt;
    }
    const std::string transformed = partOf(id, (*matches)[1]);
    LOG_AT(LOG_FACT, "ID Transformed");
    LOG_AT(LOG_FACT, "%s-->%s", id.c_str(), transformed.c_str());
    return InstanceKey{transformed, false};
}

// Nothing where the container's id does not match the resource's expression: the container has no
// such instance then.
std::optional<InstanceKey> keyOf(const std::string& regex, std::string query, const std::string& id)
{
    if (!regex.empty()) {
        return keyByRegex(regex, std::move(query), id);
    }
    if (query.empty()) {
        return InstanceKey{id, false};
    }
    LOG_AT(LOG_FACT, "Only Query");
    fillPlaceholder(query, "#p1", id);
    return InstanceKey{query, true};
}

void readEmbedded(ResourceMapper& mapper, const InstanceKey& key, Json::Value& result)
{
    if (key.isCondition) {
        queryCachedInstances(mapper, result, " where " + key.text + noCase);
    } else {
        mapper.mInstanceId = key.text;
        (void)readCachedInstance(mapper, result); // has logged what it cannot read
    }
}

// Reads one instance of the resource that has been loaded, and puts it into out where there is one.
_ResourceMapperError embed(ResourceMapper& mapper, const std::string& name, const InstanceKey& key,
                           Json::Value& out)
{
    if (!key.isCondition) {
        parseSelectors(mapper, key.text);
    }
    if (!isCached(mapper)) {
        return RM_DATA_NOT_CACHED;
    }
    LOG_AT(LOG_FACT, "Resource is cached, using embedded DB");
    Json::Value result;
    readEmbedded(mapper, key, result);
    if (result.empty()) {
        LOG_AT(LOG_FACT, "No embedded data for %s", name.c_str());
    } else {
        writableObject(out)[name] = std::move(result);
        LOG_AT(LOG_FACT, "Setting embedded data for %s", name.c_str());
    }
    return RM_OK;
}

} // namespace

_ResourceMapperError readEmbeddedData(ResourceMapper& mapper, const char* container, const char* id,
                                      Json::Value& out)
{
    LOG_SCOPE_AS("GetMappedResources");
    const _ResourceMapperError err = checkResource(mapper, container, true);
    RM_ASSERT(RM_OK == err);
    // A copy: each embedded resource takes the place of the container's entry.
    const Json::Value instances = objectOf(memberOf(mapper.mResourceObj, mapping::kInstances));
    _ResourceMapperError rc = RM_OK;
    for (auto entry = instances.begin(); entry != instances.end() && rc == RM_OK; ++entry) {
        const std::string name = entry.name();
        LOG_AT(LOG_FACT, "Got Key %s", name.c_str());
        const std::string regex = textOf(*entry, mapping::kKeyRegex);
        LOG_AT(LOG_FACT, "Regex=%s", regex.c_str());
        const std::string query = textOf(*entry, mapping::kQueryClause);
        LOG_AT(LOG_FACT, "Query=%s", query.c_str());
        LOG_AT(LOG_FACT, "Fetching Data for Instance %s of %s for container %s", id, name.c_str(),
               container);
        if (checkResource(mapper, name, false) != RM_OK) {
            LOG_AT(LOG_ERROR, "CheckResource Failed for %s. Ignored!", name.c_str());
        } else if (const auto key = keyOf(regex, query, id)) {
            rc = embed(mapper, name, *key, out);
        }
    }
    return rc;
}

} // namespace cimgate
