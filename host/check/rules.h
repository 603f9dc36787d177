// The rules that a mapping has to keep. Each tells what breaks it; they are independent of each
// other but for checkKeys(), which comes first: it marks what has not the form that the others rely
// on.
#ifndef HOST_CHECK_RULES_H_
#define HOST_CHECK_RULES_H_

#include "check/inspection.h"

namespace host::check {

// Entries are objects, their keys are spelled right and have values of their types.
void checkKeys(Inspection& inspection);

// Which URIs are registered, and what a request for one of them finds.
void checkUris(Inspection& inspection);

// What an entry is: collection, instance, singleton; its keys and links.
void checkEntries(Inspection& inspection);

// The properties of classes.
void checkProperties(Inspection& inspection);

// Actions, their targets, and the parameters of their methods.
void checkActions(Inspection& inspection);

// What containers embed.
void checkContainers(Inspection& inspection);

// Which way a value map is used.
enum class Direction {
    Shown, // from what is stored, which may be texts whatever the type is
    Sent   // to what CIM gets
};

// A value map of a property or a parameter. cimType is what its keys have to fit.
void checkValueMap(Inspection& inspection, const Place& place, const std::string& cimType,
                   Direction direction);

} // namespace host::check

#endif
