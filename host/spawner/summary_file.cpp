#include "spawner/summary_file.h"

#include <ResourceMapper/mapping/Entry.h>
#include <ResourceMapper/mapping/Links.h>
#include <sys/mman.h>
#include <sys/stat.h>

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

service::FileDescriptor writeSummary(const MappingSummary& summary)
{
    const std::string text = encodeSummary(summary);
    service::FileDescriptor file(memfd_create("mapping-summary", MFD_CLOEXEC));
    // A file in memory takes all or nothing has room.
    if (write(file.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        file.reset();
    }
    return file;
}

bool readSummary(const service::FileDescriptor& file, MappingSummary& summary)
{
    struct stat about
    {};
    if (fstat(file.get(), &about) != 0 || about.st_size < 0) {
        return false;
    }
    std::string text(static_cast<size_t>(about.st_size), '\0');
    return pread(file.get(), text.data(), text.size(), 0) == about.st_size &&
           decodeSummary(text, summary);
}

} // namespace host
