// From the values of CIM-XML answers to those of this interface.
#ifndef CMPISFCC_VALUE_READING_H_
#define CMPISFCC_VALUE_READING_H_

#include "objects.h"

#include <cimxml/types.h>

#include <string_view>

namespace cmpisfcc {

CMPIType interfaceType(cimxml::Type type, bool isArray);

// Reads the text of a value of any type but Reference; false when it is not of that type.
bool readScalar(Arena& arena, cimxml::Type type, std::string_view text, CMPIData& data);

// The same for what has been read already.
CMPIData dataFrom(Arena& arena, const cimxml::Value& value);

// The same value, its objects owned by the caller.
CMPIData ownedCopy(const CMPIData& data);

} // namespace cmpisfcc

#endif
