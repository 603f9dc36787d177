// Trees to owned data. The trees have been checked against the grammar; what can still be wrong are
// texts that are not of their types.
#ifndef CIMXML_DECODER_H_
#define CIMXML_DECODER_H_

#include "grammar.h"

#include <cimxml/types.h>
#include <cimxml/views.h>

namespace cimxml {

// From a LOCALNAMESPACEPATH; empty for none.
std::string joinedNameSpace(pugi::xml_node localNameSpacePath);

// From an EmbeddedObject attribute, in either case that is in use, or a type of a parameter.
Embedded embeddedOf(pugi::xml_node element);

bool decodePath(const ObjectPathView& view, ObjectPath& path, Fault& fault);
bool decodeInstance(pugi::xml_node element, Instance& instance, Fault& fault);
bool decodeClass(pugi::xml_node element, Class& cls, Fault& fault);

// The value that an element holds, if it holds any: a VALUE in one of its forms. Its type is the
// given one, or Reference where the form says so.
bool decodeValue(pugi::xml_node parent, Type type, Value& value, Fault& fault);

// One VALUE in any of its forms.
bool decodeValueElement(pugi::xml_node element, Type type, Value& value, Fault& fault);

// PARAMVALUE, RETURNVALUE
bool decodeMethodParameter(pugi::xml_node element, MethodParameter& parameter, Fault& fault);

CimError decodeError(pugi::xml_node element);

} // namespace cimxml

#endif
