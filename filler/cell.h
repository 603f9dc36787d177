// What a value of CIM becomes in the data cache: the inverse of what the library makes of a cell
// (docs/data-cache.md), so that an answer from the cache shows what a live read would.
//
// No cell made here ends a reader: an INTEGER stands only where every reader knows what number it
// is, a REAL never. What cannot be stored as it is says so.
//
// Threads: free functions without state.
#ifndef FILLER_CELL_H_
#define FILLER_CELL_H_

#include "ResourceMapper/mapping/CimType.h"

#include <CimClientLib/cmci.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace filler {

struct Cell
{
    enum class Kind { Null, Integer, Text, Blob };

    Kind kind = Kind::Null;
    int64_t integer = 0;
    std::string bytes = {}; // of a text or blob

    bool operator==(const Cell&) const = default;
};

// How readers show a column: they go by the mapping, each entry of the class by its own.
struct ColumnReading
{
    // For each entry that shows it without a value map; nothing: its "cim_type" is none of which
    // the cache has numbers, as that of a key that the entry asks for and does not map.
    std::vector<std::optional<cimgate::mapping::NumberType>> plain = {};
    bool isMapped = false; // an entry translates it by a value map
};

struct StoredValue
{
    Cell cell;
    const char* loss =
        nullptr; // why it is not stored as it is, for log and status; null where it is
};

// A value of a property. An empty text is stored as it is; readers show it as null.
StoredValue storedValueOf(const CMPIData& value, const ColumnReading& reading);

// The value of the key column: what a client's text, taken from a link to the instance, finds.
// Without a loss it is a text that is not empty, or, of a column that is declared INTEGER, an
// integer; with one there is none.
StoredValue storedKeyOf(const CMPIData& value, bool isInteger);

} // namespace filler

#endif
