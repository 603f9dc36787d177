#include "service_file/source.h"

#include <algorithm>
#include <utility>

namespace host::service_file {

namespace {

using Kind = Source::Kind;

constexpr std::pair<const char*, Kind> kWords[] = {{kFrom, Kind::Property},
                                                   {kCount, Kind::Count},
                                                   {kSum, Kind::Sum},
                                                   {kWorst, Kind::Worst},
                                                   {kEmbed, Kind::Embedded}};

std::string textOf(const Json::Value& object, const char* name)
{
    const Json::Value& value = object[name];
    return value.isString() ? value.asString() : "";
}

// One URI, or several in an array; none where anything else stands there.
std::vector<std::string> urisOf(const Json::Value& value)
{
    std::vector<std::string> uris;
    if (value.isString()) {
        uris.push_back(value.asString());
    } else if (value.isArray()) {
        for (const Json::Value& uri : value) {
            if (!uri.isString()) {
                return {};
            }
            uris.push_back(uri.asString());
        }
    }
    return uris;
}

bool isComplete(const Source& source)
{
    switch (source.kind) {
    case Kind::Embedded:
        return !source.container.empty() && !source.id.empty();
    case Kind::Count:
        return !source.uris.empty();
    case Kind::Property:
        return source.uris.size() == 1 && !source.property.empty();
    default:
        return !source.uris.empty() && !source.property.empty();
    }
}

} // namespace

bool isSourceWord(std::string_view name)
{
    return std::any_of(std::begin(kWords), std::end(kWords),
                       [name](const auto& word) { return word.first == name; });
}

bool isSource(const Json::Value& value)
{
    return value.isObject() &&
           std::any_of(std::begin(kWords), std::end(kWords),
                       [&value](const auto& word) { return value.isMember(word.first); });
}

bool hasSource(const Json::Value& value)
{
    return isSource(value) || ((value.isObject() || value.isArray()) &&
                               std::any_of(value.begin(), value.end(), hasSource));
}

std::optional<Source> sourceOf(const Json::Value& value)
{
    Source source;
    for (const auto& [word, kind] : kWords) {
        if (value.isMember(word)) {
            source.kind = kind;
            if (kind == Kind::Embedded) {
                source.container = textOf(value, word);
            } else {
                source.uris = urisOf(value[word]);
            }
            break;
        }
    }
    source.property = textOf(value, kProperty);
    source.id = textOf(value, kId);
    if (const Json::Value& divisor = value[kDivide];
        divisor.isNumeric() && divisor.asDouble() != 0) {
        source.divisor = divisor.asDouble();
    }
    if (const Json::Value& values = value[kValues]; values.isObject()) {
        source.values = &values;
    }
    return isComplete(source) ? std::optional(std::move(source)) : std::nullopt;
}

} // namespace host::service_file
