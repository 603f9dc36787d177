#include "compose/composer.h"

#include "host_limits.h"
#include "worker/current_request.h"

#include <ExtendedErrorInfoHandling.h>
#include <JsonAccess.h>
#include <odata/odata.h>

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

namespace host::compose {

namespace {

using service_file::Source;

using service_file::kMembers;
constexpr const char* kCount = "Members@odata.count";
constexpr const char* kNextLink = "Members@odata.nextLink";
constexpr const char* kStatus = "Status";
constexpr const char* kState = "State";
constexpr const char* kExtendedInfo = "@Message.ExtendedInfo";

// "Status/State" is the member State of the member Status.
const Json::Value& memberAt(const Json::Value& body, std::string_view path)
{
    const Json::Value* value = &body;
    while (!path.empty()) {
        const std::string_view name = path.substr(0, path.find('/'));
        if (!value->isObject()) {
            return Json::Value::nullSingleton();
        }
        value = &cimgate::memberOf(*value, name);
        path.remove_prefix(std::min(path.size(), name.size() + 1));
    }
    return *value;
}

// What the file makes of a value; a value that it does not name is nothing that clients know.
Json::Value translated(const Json::Value& value, const Json::Value* values)
{
    if (values == nullptr || value.isNull() || value.isObject()) {
        return value;
    }
    if (value.isArray()) {
        Json::Value all(Json::arrayValue);
        for (const Json::Value& element : value) {
            if (Json::Value one = translated(element, values); !one.isNull()) {
                all.append(std::move(one));
            }
        }
        return all;
    }
    return cimgate::memberOf(*values, value.asString());
}

// Without a fraction where there is none; with three digits of it where there is.
Json::Value numberOf(double value)
{
    constexpr double kThousand = 1000;
    constexpr double kMaxExact = 9007199254740992.0; // 2^53
    const double rounded = std::round(value * kThousand) / kThousand;
    if (rounded == std::floor(rounded) && std::fabs(rounded) < kMaxExact) {
        return static_cast<Json::Int64>(rounded);
    }
    return rounded;
}

Json::Value divided(const Json::Value& value, double divisor)
{
    return divisor == 1 || !value.isNumeric() ? value : numberOf(value.asDouble() / divisor);
}

// Of Redfish's health, the worst has the highest rank; -1 for what is none.
int rankOf(const Json::Value& health)
{
    constexpr const char* kHealths[] = {"OK", "Warning", "Critical"};
    const auto* const found =
        std::find_if(std::begin(kHealths), std::end(kHealths),
                     [&](auto name) { return health.isString() && health.asString() == name; });
    return found == std::end(kHealths) ? -1 : static_cast<int>(found - std::begin(kHealths));
}

// The page behind this one; "" where there is none. The last one of what was asked for may have a
// link too: behind the last member, or to no members at all.
std::string nextPageOf(const Json::Value& page)
{
    const std::string next = cimgate::textOf(page, kNextLink);
    odata::Scope scope = odata::Scope::ForRequest(next);
    const odata::URI uri = scope.NewURI();
    const Json::Value& count = cimgate::memberOf(page, kCount);
    const bool isBehind =
        count.isUInt64() && uri.GetOptionUInt32(OL_OPTION_SKIP) >= count.asUInt64();
    const bool isOfNone =
        (uri.GetOptionMask() & OL_OPTION_TOP) != 0 && uri.GetOptionUInt32(OL_OPTION_TOP) == 0;
    return isBehind || isOfNone ? "" : next;
}

void addMessage(ExtendedErrorInfoHandling& info, unsigned int status, const std::string& pointer,
                const std::string& uri)
{
    if (status == httpd::kNotFound) {
        info.InsertBaseMessageID("ResourceMissingAtURI", pointer.c_str(), uri.c_str());
    } else {
        info.InsertBaseMessageID("ServiceTemporarilyUnavailable", pointer.c_str(), kRetryAfterS);
    }
}

Json::Value messagesOf(const ExtendedErrorInfoHandling& info)
{
    std::string text;
    info.GetNewExtendedErrMsg(text);
    Json::Value body;
    (void)Json::Reader().parse(text, body, false);
    return cimgate::memberOf(cimgate::memberOf(body, "error"), kExtendedInfo);
}

} // namespace

Json::Value Composer::compose(const service_file::Resource& resource)
{
    mMissing.clear();
    mSources = 0;
    Json::Value body = fill(resource.body, "#");
    if (!mMissing.empty()) {
        showMissing(body, mSources);
    }
    return body;
}

Json::Value Composer::fill(const Json::Value& declared, const std::string& pointer)
{
    if (service_file::isSource(declared)) {
        const std::optional<Source> source = service_file::sourceOf(declared);
        return source ? valueOf(*source, pointer) : Json::Value();
    }
    Json::Value filled(declared.type());
    if (declared.isObject()) {
        for (auto member = declared.begin(); member != declared.end(); ++member) {
            filled[member.name()] = fill(*member, pointer + "/" + member.name());
        }
    } else if (declared.isArray()) {
        for (Json::ArrayIndex i = 0; i < declared.size(); ++i) {
            filled.append(fill(declared[i], pointer + "/" + std::to_string(i)));
        }
    } else {
        filled = declared;
    }
    return filled;
}

Json::Value Composer::valueOf(const Source& source, const std::string& pointer)
{
    ++mSources;
    switch (source.kind) {
    case Source::Kind::Count:
        return countOf(source, pointer);
    case Source::Kind::Sum:
        return sumOf(source, pointer);
    case Source::Kind::Worst:
        return worstOf(source, pointer);
    case Source::Kind::Embedded:
        return embeddedOf(source, pointer);
    case Source::Kind::Property:
        break;
    }
    return propertyOf(source, pointer);
}

Json::Value Composer::propertyOf(const Source& source, const std::string& pointer)
{
    const Part* part = read(source.uris.front(), pointer);
    return part == nullptr
               ? Json::Value()
               : divided(translated(memberAt(part->body, source.property), source.values),
                         source.divisor);
}

Json::Value Composer::countOf(const Source& source, const std::string& pointer)
{
    Json::Value::UInt64 count = 0;
    for (const std::string& uri : source.uris) {
        const Part* part = read(uri, pointer);
        if (part == nullptr) {
            return {};
        }
        const Json::Value& members = cimgate::memberOf(part->body, kCount);
        count += members.isUInt64() ? members.asUInt64() : 1; // what is no collection is itself
    }
    return count;
}

Json::Value Composer::sumOf(const Source& source, const std::string& pointer)
{
    std::vector<Json::Value> rows;
    if (!readRows(source, pointer, rows)) {
        return {};
    }
    double sum = 0;
    for (const Json::Value& value : rows) {
        if (value.isNumeric()) {
            sum += value.asDouble();
        }
    }
    return numberOf(sum / source.divisor);
}

// Null where none of them tells of its health.
Json::Value Composer::worstOf(const Source& source, const std::string& pointer)
{
    std::vector<Json::Value> rows;
    Json::Value worst;
    if (readRows(source, pointer, rows)) {
        for (const Json::Value& value : rows) {
            Json::Value health = translated(value, source.values);
            if (rankOf(health) > rankOf(worst)) {
                worst = std::move(health);
            }
        }
    }
    return worst;
}

Json::Value Composer::embeddedOf(const Source& source, const std::string& pointer)
{
    const Part& part = mParts.readEmbedded(source.container, source.id);
    if (part.status != httpd::kOk) {
        miss(pointer, source.container, part.status);
        return {};
    }
    return part.body;
}

// The property's value in all members of all collections. False, which has been noted then, where
// they are not all known.
bool Composer::readRows(const Source& source, const std::string& pointer,
                        std::vector<Json::Value>& rows)
{
    return std::all_of(source.uris.begin(), source.uris.end(), [&](const std::string& uri) {
        return readMembers(uri, source.property, pointer, rows);
    });
}

// Of one collection, page by page; what is none stands for itself.
bool Composer::readMembers(const std::string& first, const std::string& property,
                           const std::string& pointer, std::vector<Json::Value>& rows)
{
    size_t known = 0;
    for (const Part* page = read(first, pointer); page != nullptr;) {
        if (!page->body.isMember(kMembers)) {
            rows.push_back(memberAt(page->body, property));
            return true;
        }
        for (const Json::Value& member : cimgate::memberOf(page->body, kMembers)) {
            rows.push_back(memberAt(member, property));
            ++known;
        }
        if (known > kMaxAggregatedRows) {
            return missMembers(pointer, first, *page, "has too many members");
        }
        const std::string next = nextPageOf(page->body);
        if (next.empty()) {
            return true;
        }
        if (!page->obeysSkip) {
            return missMembers(pointer, first, *page, "shows no more than its first page");
        }
        page = read(next, pointer);
    }
    return false;
}

// Null where it is not there, which has been noted then.
const Part* Composer::read(const std::string& uri, const std::string& pointer)
{
    const Part& part = mParts.read(uri);
    if (part.status == httpd::kOk) {
        return &part;
    }
    miss(pointer, uri, part.status);
    return nullptr;
}

// Of a collection that has been read, but not to its end.
bool Composer::missMembers(const std::string& pointer, const std::string& uri, const Part& page,
                           const char* why)
{
    if (!currentRequest().hasFailed()) {
        currentRequest().concerns(page.entry, page.cimClass);
        currentRequest().fail("its part " + uri + " " + why);
    }
    miss(pointer, uri, httpd::kServiceUnavailable);
    return false;
}

void Composer::miss(const std::string& pointer, const std::string& uri, unsigned int status)
{
    mMissing.push_back({pointer, uri, status});
}

// A resource that nothing is known of is absent, or cannot be asked; one that only lacks some
// values is in the state that is known.
void Composer::showMissing(Json::Value& body, size_t sources) const
{
    const bool isAway = std::any_of(mMissing.begin(), mMissing.end(), [](const Missing& missing) {
        return missing.status != httpd::kNotFound;
    });
    ExtendedErrorInfoHandling info;
    for (const Missing& missing : mMissing) {
        addMessage(info, missing.status, missing.pointer, missing.uri);
    }
    Json::Value& status = cimgate::writableObject(body[kStatus]);
    if (mMissing.size() == sources || cimgate::memberOf(status, kState).isNull()) {
        status[kState] = isAway ? "UnavailableOffline" : "Absent";
    }
    status[kExtendedInfo] = messagesOf(info);
}

} // namespace host::compose
