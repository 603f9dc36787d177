// What the spawner, which has read the mapping file, tells the front of it.
#ifndef HOST_WIRE_MAPPING_SUMMARY_H_
#define HOST_WIRE_MAPPING_SUMMARY_H_

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace host {

// Where the answer to a request for a URI comes from.
enum class UriKind : uint32_t {
    CachedRead,  // the data cache
    LiveRead,    // the CIM object manager
    MappingOnly, // the mapping file itself
    Action,      // a CIM method
    // The service's own resources
    ComposedCached, // made of what the data cache has
    ComposedLive,   // made of what the CIM object manager says too
    ComposedAction, // an action that stands for a mapped one
    Document        // the front has it; only what a query makes of it is a worker's
};

// Whether workers make the answer of what others are.
constexpr bool isComposed(UriKind kind)
{
    return kind >= UriKind::ComposedCached;
}

// What is known of a registered URI, and of the instances one segment below it.
struct UriEntry
{
    UriKind kind = UriKind::CachedRead;
};

// What is not known is a cached read: it costs a worker no more than that to find out.
constexpr UriKind expectedKind(const std::optional<UriKind>& known)
{
    return known.value_or(UriKind::CachedRead);
}

struct MappingSummary
{
    bool usesCache = false; // whether workers open the data cache
    std::map<std::string, UriEntry, std::less<>> uris;

    // The kind of a request's target (path and query as they came): of a registered URI its own, of
    // an instance that of the URI above it; nothing where there is neither. A worker decides by
    // itself what it does; this only says what to expect.
    std::optional<UriKind> knownKindOf(std::string_view target) const;

    UriKind kindOf(std::string_view target) const { return expectedKind(knownKindOf(target)); }
};

// A text for decodeSummary(), which is false when a text is none.
std::string encodeSummary(const MappingSummary& summary);
bool decodeSummary(std::string_view text, MappingSummary& summary);

} // namespace host

#endif
