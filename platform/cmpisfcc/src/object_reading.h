// From classes and embedded objects of CIM-XML answers to those of this interface.
#ifndef CMPISFCC_OBJECT_READING_H_
#define CMPISFCC_OBJECT_READING_H_

#include "objects.h"

#include <cimxml/types.h>

#include <vector>

namespace cmpisfcc {

ClassObject* classFrom(Arena& arena, const cimxml::Class& cls);

// Those of an object and of its properties.
const Qualifiers* qualifiersFrom(Arena& arena, const std::vector<cimxml::Qualifier>& own,
                                 const std::vector<cimxml::Property>& properties);

// A value of a property or a method: texts that hold XML become the objects that they embed.
CMPIData dataFrom(Arena& arena, const cimxml::Value& value, cimxml::Embedded embedded);

// The same for what is in the arena already: a text or an array of them becomes an instance or a
// class, or an array of these. What is neither stays as it is.
CMPIData withEmbedded(Arena& arena, const CMPIData& data);

} // namespace cmpisfcc

#endif
