#include "compose/expansion.h"

#include "host_limits.h"

#include <ResourceMapper/mapping/Entry.h>

#include <algorithm>
#include <numeric>
#include <utility>

namespace host::compose {

namespace {

using cimgate::mapping::kOdataId;
constexpr const char* kLinks = "Links";

// "{"@odata.id": "/redfish/v1/..."}"; nothing for any other value, and for a part of a resource.
std::optional<std::string> targetOf(const Json::Value& value)
{
    if (!value.isObject() || value.size() != 1 || !value[kOdataId].isString()) {
        return std::nullopt;
    }
    const std::string target = service_file::servedUri(value[kOdataId].asString());
    const bool isResource = target.starts_with('/') && target.find('#') == std::string::npos;
    return isResource ? std::optional(target) : std::nullopt;
}

size_t valuesIn(const Json::Value& value)
{
    return value.isObject() || value.isArray()
               ? std::accumulate(
                     value.begin(), value.end(), size_t{1},
                     [](size_t sum, const Json::Value& part) { return sum + valuesIn(part); })
               : 1;
}

} // namespace

std::optional<Json::Value> Expansion::bodyAt(const std::string& path)
{
    if (const auto found = mResources.file.resources.find(path);
        found != mResources.file.resources.end()) {
        return Composer(mParts).compose(found->second);
    }
    if (const auto found = mResources.constants.find(path); found != mResources.constants.end()) {
        Json::Value body;
        return Json::Reader().parse(found->second, body, false) ? std::optional(std::move(body))
                                                                : std::nullopt;
    }
    const Part& part = mParts.read(path);
    return part.status == httpd::kOk ? std::optional(part.body) : std::nullopt;
}

bool Expansion::expand(Json::Value& body, const Expand& how)
{
    mPath = {service_file::servedUri(cimgate::textOf(body, kOdataId))};
    mExpanded = 0;
    mValues = 0;
    return expandIn(body, how, how.levels, false);
}

bool Expansion::expandIn(Json::Value& value, const Expand& how, unsigned int levels, bool isInLinks)
{
    if (targetOf(value)) {
        const bool isWanted = isInLinks ? how.isOfLinks : how.isOfOthers;
        return !isWanted || expandReference(value, how, levels);
    }
    if (value.isArray()) {
        return std::all_of(value.begin(), value.end(), [&](Json::Value& element) {
            return expandIn(element, how, levels, isInLinks);
        });
    }
    if (value.isObject()) {
        for (auto member = value.begin(); member != value.end(); ++member) {
            if (!expandIn(*member, how, levels, isInLinks || member.name() == kLinks)) {
                return false;
            }
        }
    }
    return true;
}

// What leads back to where it stands, and what is not there, stays a reference.
bool Expansion::expandReference(Json::Value& reference, const Expand& how, unsigned int levels)
{
    const std::string target = *targetOf(reference);
    if (std::find(mPath.begin(), mPath.end(), target) != mPath.end()) {
        return true;
    }
    std::optional<Json::Value> body = bodyAt(target);
    if (!body) {
        return true;
    }
    mValues += valuesIn(*body);
    if (++mExpanded > kMaxExpandedResources || mValues > kMaxExpandedValues) {
        return false;
    }
    reference = std::move(*body);
    if (levels == 1) {
        return true;
    }
    mPath.push_back(target);
    const bool isDone = expandIn(reference, how, levels - 1, false);
    mPath.pop_back();
    return isDone;
}

} // namespace host::compose
