// Embedded data, for other components of the controller: what a container of the mapping file shows
// of several resources, without a web request and without CIM.
#ifndef REDFISH_OEM_INTERFACE_H_
#define REDFISH_OEM_INTERFACE_H_

#include "CimgateExport.h"

#include <json/json.h>

// Adds to out (null or an object) what a container of the mapping file embeds for this id: see
// ResourceMapper::GetMappedResources() for the arguments, which are only read, and for what aborts.
// Its result is not passed on: a caller that has to tell data that is not cached from none calls
// GetMappedResources() itself. LoadDatabase() must have opened the data cache. Any thread.
CIMGATE_EXPORT void getResourceOemData(char* container, char* id, Json::Value& out);

#endif
