// From the objects of this interface to what CIM-XML requests carry.
#ifndef CMPISFCC_MESSAGE_VALUES_H_
#define CMPISFCC_MESSAGE_VALUES_H_

#include "objects.h"

#include <cimxml/request.h>

#include <optional>

namespace cmpisfcc {

// The type that values of this one (no array) travel as: embedded objects are strings that hold
// XML. Nothing where it has no place in CIM-XML.
std::optional<cimxml::Type> messageType(CMPIType element);
// Null where a value's type has no place in CIM-XML.
cimxml::Value messageValue(const CMPIData& data);
// Whether the value travels as the text of an embedded object.
cimxml::Embedded embeddedKind(CMPIType type);
cimxml::ObjectPath messagePath(const CMPIObjectPath* path);
cimxml::Instance messageInstance(const CMPIInstance* instance);
cimxml::IntrinsicValue parameterValue(const CMPIData& data);

} // namespace cmpisfcc

#endif
