#include "wire/mapping_summary.h"

#include "wire/fields.h"

#include <iterator>
#include <utility>

namespace host {

namespace {

bool takeEntry(FieldReader& reader, MappingSummary& summary)
{
    std::string uri;
    uint32_t kind = 0;
    if (!reader.text(uri) || !reader.number(kind) ||
        kind > static_cast<uint32_t>(UriKind::Document)) {
        return false;
    }
    const size_t before = summary.uris.size();
    const auto entry = summary.uris.try_emplace(summary.uris.end(), std::move(uri),
                                                UriEntry{static_cast<UriKind>(kind)});
    const bool isLast = std::next(entry) == summary.uris.end();
    return isLast && summary.uris.size() > before; // they come in their order, each once
}

// As the mapper takes a URI: without its query, and without one "/" at its end.
std::string_view pathOf(std::string_view target)
{
    target = target.substr(0, target.rfind('?'));
    if (target.ends_with('/')) {
        target.remove_suffix(1);
    }
    return target;
}

} // namespace

std::optional<UriKind> MappingSummary::knownKindOf(std::string_view target) const
{
    const std::string_view path = pathOf(target);
    if (const auto registered = uris.find(path); registered != uris.end()) {
        return registered->second.kind;
    }
    const size_t slash = path.rfind('/');
    const auto parent =
        slash == std::string_view::npos ? uris.end() : uris.find(path.substr(0, slash));
    const bool isInstance = parent != uris.end() && parent->second.kind < UriKind::Action;
    return isInstance ? std::optional(parent->second.kind) : std::nullopt;
}

std::string encodeSummary(const MappingSummary& summary)
{
    std::string text;
    putNumber(text, summary.usesCache ? 1 : 0);
    for (const auto& [uri, entry] : summary.uris) {
        putText(text, uri);
        putNumber(text, static_cast<uint32_t>(entry.kind));
    }
    return text;
}

bool decodeSummary(std::string_view text, MappingSummary& summary)
{
    FieldReader reader(text);
    if (!reader.flag(summary.usesCache)) {
        return false;
    }
    summary.uris.clear();
    while (!reader.atEnd()) {
        if (!takeEntry(reader, summary)) {
            return false;
        }
    }
    return true;
}

} // namespace host
