#include "spawner/summary_file.h"

#include "spawner/memory_file.h"

#include <ResourceMapper/mapping/Entry.h>
#include <ResourceMapper/mapping/Links.h>

#include <algorithm>

namespace host {

namespace mapping = cimgate::mapping;

namespace {

UriKind kindOf(mapping::Source source)
{
    switch (source) {
    case mapping::Source::Cim:
        return UriKind::LiveRead;
    case mapping::Source::MappingFile:
        return UriKind::MappingOnly;
    case mapping::Source::DataCache:
        break;
    }
    return UriKind::CachedRead;
}

// What is read at a URI is the entry that its last segment names, whichever entry registered it.
UriKind kindOfRead(const Json::Value& file, const std::string& uri)
{
    const Json::Value& entry = cimgate::memberOf(file, uri.substr(uri.rfind('/') + 1));
    const Json::Value& described = mapping::memberEntryOf(file, entry);
    return kindOf(mapping::sourceOf(described, mapping::classNameOf(described),
                                    cimgate::flagOf(entry, mapping::kIsCollection)));
}

} // namespace

MappingSummary summaryOf(const Json::Value& file)
{
    MappingSummary summary;
    summary.usesCache = mapping::readsDataCache(file);
    for (const mapping::RegisteredUri& registered : mapping::registeredUris(file)) {
        summary.uris[registered.uri].kind = registered.method == mapping::Method::Post
                                                ? UriKind::Action
                                                : kindOfRead(file, registered.uri);
    }
    return summary;
}

void addServiceFile(MappingSummary& summary, const service_file::ServiceFile& file)
{
    const auto isReadLive = [&summary](const std::string& part) {
        return summary.kindOf(part) == UriKind::LiveRead;
    };
    for (const auto& [uri, resource] : file.resources) {
        if (!resource.isConstant) {
            const bool isLive =
                std::any_of(resource.parts.begin(), resource.parts.end(), isReadLive);
            summary.uris[uri].kind = isLive ? UriKind::ComposedLive : UriKind::ComposedCached;
        }
    }
    for (const auto& [uri, action] : file.actions) {
        summary.uris[uri].kind = UriKind::ComposedAction;
    }
}

service::FileDescriptor writeSummary(const MappingSummary& summary)
{
    return writeMemoryFile("mapping-summary", encodeSummary(summary));
}

bool readSummary(const service::FileDescriptor& file, MappingSummary& summary)
{
    const std::optional<std::string> text = readMemoryFile(file);
    return text && decodeSummary(*text, summary);
}

} // namespace host
