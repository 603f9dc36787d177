// Values as callers pass them, as objects keep them, and as text.
#ifndef CMPISFCC_VALUES_H_
#define CMPISFCC_VALUES_H_

#include "objects.h"

#include <string>

namespace cmpisfcc {

// Where a CMPI_chars value is: the address itself, or, for elements of arrays, the member `chars`.
enum class CharsAt { Address, Member };

// Copies a value that a caller has passed into the arena. Returns false for a type that cannot be
// kept.
bool takeValue(Arena& arena, const CMPIValue* value, CMPIType type, CharsAt charsAt, CMPIData& out);

// A deep copy; false for types that cannot be kept.
bool copyData(Arena& arena, const CMPIData& data, CMPIData& out);

// The text of a value that is no array and not null, as CIM-XML has it.
std::string textOf(CMPIType type, const CMPIValue& value);

} // namespace cmpisfcc

#endif
