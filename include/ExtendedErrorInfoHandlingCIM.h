// Result codes of the library's operations and their translation into Redfish extended errors.
#ifndef EXTENDED_ERROR_INFO_HANDLING_CIM_H_
#define EXTENDED_ERROR_INFO_HANDLING_CIM_H_

#include "CimgateExport.h"

class ExtendedErrorInfoHandling;

// Result of every operation of ResourceMapper. In parentheses: the HTTP status and the messages
// (product registry, base registry) that report it.
enum _ResourceMapperError : unsigned int {
    RM_OK = 0,
    RM_INSUFFICIENT_PRIVILEGE = 1,      // CIM access denied (403, KTX0506, InsufficientPrivilege)
    RM_INTERNAL_ERROR = 2,              // CIM or cache failure (500, SYS446, InternalError)
    RM_RMF_NOT_PRESENT = 3,             // mapping file missing (404, SYS403, ResourceMissingAtURI)
    RM_MALFORMED_JSON = 4,              // mapping file or payload (400, SYS405, MalformedJSON)
    RM_RESOURCE_NOT_IN_RMF = 5,         // unknown resource (404, SYS403, ResourceMissingAtURI)
    RM_METHOD_NOT_ALLOWED = 6,          // method not allowed on the URI (405, SYS402)
    RM_PROPERTY_VALUE_ERROR = 7,        // property value error (400, PropertyValueTypeError)
    RM_INVALID_URI = 8,                 // URI not served (404, SYS403, ResourceMissingAtURI)
    RM_QUERY_PARAM_FORMAT_ERROR = 9,    // (400, SYS407, QueryParameterValueFormatError)
    RM_QUERY_PARAM_VALUE_ERROR = 10,    // (400, SYS407, QueryParameterValueFormatError)
    RM_QUERY_PARAM_OUT_OF_RANGE = 11,   // (400, SYS417, QueryParameterOutOfRange)
    RM_PROPERTY_UNKNOWN = 12,           // (400, SYS429, PropertyUnknown)
    RM_PROPERTY_VALUE_NOT_IN_LIST = 13, // (400, SYS426, PropertyValueNotInList)
    RM_PROPERTY_VALUE_TYPE_ERROR = 14,  // (400, SYS425, PropertyValueTypeError)
    RM_PROPERTY_MISSING = 15,           // (400, SYS428, PropertyMissing)
    RM_INSTANCE_NOT_FOUND = 16,         // (404, SYS419)
    RM_QUERY_NOT_SUPPORTED = 17, // query option not supported (501, SYS451, QueryNotSupported)
    RM_DATA_NOT_CACHED = 18      // class of an embedded resource not ready (500, GeneralError)
};

// Appends the messages that report code to info and stores the HTTP status in *httpStatus.
//   code  a _ResourceMapperError.
//   a1 to a3  message arguments in order; a null one counts as an empty text, a null a1 as none.
// Returns 1, or 0 for a code without messages of its own (RM_OK and RM_DATA_NOT_CACHED included):
// info then gets the base registry's "GeneralError" and *httpStatus is 500.
// Any thread may call them, each with its own info.
CIMGATE_EXPORT int AppendExtendedErrorMessages(unsigned int code, ExtendedErrorInfoHandling& info,
                                               unsigned int* httpStatus);
CIMGATE_EXPORT int AppendExtendedErrorMessages(unsigned int code, ExtendedErrorInfoHandling& info,
                                               unsigned int* httpStatus, const char* a1);
CIMGATE_EXPORT int AppendExtendedErrorMessages(unsigned int code, ExtendedErrorInfoHandling& info,
                                               unsigned int* httpStatus, const char* a1,
                                               const char* a2);
CIMGATE_EXPORT int AppendExtendedErrorMessages(unsigned int code, ExtendedErrorInfoHandling& info,
                                               unsigned int* httpStatus, const char* a1,
                                               const char* a2, const char* a3);

#endif
