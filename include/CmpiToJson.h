// Conversion of CMPI data, as the CIM client hands it over, to JSON.
//
// A CmpiJson has no data: any object serves, on any thread. Each operation writes the member name
// of the object out (null counts as an empty one) and leaves the data to its owner. Names are
// char* for the sake of CMPI's own strings; they are only read. The int results are flags without a
// meaning beyond what is said here. No operation throws.
//
//   CMPI type                       JSON
//   any, in state CMPI_nullValue    null
//   boolean                         true, false
//   uint8, uint16, uint32, uint64   unsigned integer
//   sint8, sint16, sint32           signed integer
//   sint64                          signed integer of the low 32 bits
//   real32, real64                  number
//   string, chars                   string; "NULL" where there is no text
//   datetime                        local time, "2024-05-01T10:20:30+0200"; "" where it cannot be
//                                   read; intervals as if they were points in time
//   array of one of these           array, and its size under name + "@odata.count"; of an empty
//                                   array only the size
//   char16, instance, reference,    nothing
//   arguments, filter, others
#ifndef CMPI_TO_JSON_H_
#define CMPI_TO_JSON_H_

#include "CimgateExport.h"

#include <CimClientLib/cmci.h>
#include <json/json.h>
#include <odata/odata.h>

class CIMGATE_EXPORT CmpiJson
{
public:
    // A value of one group of types. Results: 1; 0 for the types of the group that JSON has no
    // place for. A type of another group is logged at level 3, writes nothing and gives 1.
    int PopulateCmpiENCValues(char* name, CMPIValue* value, unsigned short type, Json::Value& out);
    int PopulateCmpiSimpleValues(char* name, CMPIValue* value, unsigned short type,
                                 Json::Value& out);
    int PopulateCmpiRealValues(char* name, CMPIValue* value, unsigned short type, Json::Value& out);
    int PopulateCmpiIntegerValues(char* name, CMPIValue* value, unsigned short type,
                                  Json::Value& out);

    // A value of any type, by the table above. Aborts on a null name.
    int CmpiDataToJson(char* name, CMPIData& data, Json::Value& out);

    // An array. An element that writes nothing becomes 0, one that cannot be read is left out (null
    // where a later one follows). Type 0 gives [] and the size 0. Returns 1.
    int PopulateCmpiArrayValues(char* name, CMPIValue* value, unsigned short type,
                                Json::Value& out);

    // Sets the response header "Location" to the job that a reference names by its first key, and
    // leaves out as it is: an id with "JID" is a job of the controller, one with "OSD" the task of
    // an operating system's deployment, any other is taken as the URI. A key that cannot be read
    // gives an empty header. Returns 1.
    int CmpiJobRefToJson(char* name, CMPIData data, Json::Value& out, odata::Scope& scope);

    // The same as CmpiDataToJson().
    int CmpiInstanceToJson(char* name, CMPIData data, Json::Value& out);

    // The outputs of a method: each becomes a member of out, except that a reference (not a null
    // one) is the job that the method has started, see CmpiJobRefToJson(). Returns the last
    // output's result, 1 where there is none.
    int InvokeOutputToJson(Json::Value& out, CMPIArgs* outArgs, odata::Scope& scope);
};

#endif
