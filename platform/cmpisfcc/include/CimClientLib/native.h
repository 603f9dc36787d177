/*
 * Makers of the objects that a client hands to operations. Objects belong to the caller, who
 * releases them; what is handed in is copied. They need no client.
 */
/* The names and forms are those of the interface, which is C.
   NOLINTBEGIN(readability-identifier-naming,bugprone-reserved-identifier,bugprone-macro-parentheses,modernize-use-using,cppcoreguidelines-pro-type-cstyle-cast)
 */
#ifndef _REMOTE_CMPI_NATIVE_DATA_H
#define _REMOTE_CMPI_NATIVE_DATA_H

#include "cmci.h"
#include "cmcidt.h"
#include "cmcift.h"

#ifdef __cplusplus
extern "C" {
#endif

/* An instance of the path's class with the path's keys as its first properties. */
CMPIInstance* native_new_CMPIInstance(CMPIObjectPath* op, CMPIStatus* rc);

/* A copy of the text; NULL makes a string whose character pointer is NULL. */
CMPIString* native_new_CMPIString(const char* text, CMPIStatus* rc);

/* No arguments yet. */
CMPIArgs* native_new_CMPIArgs(CMPIStatus* rc);

/* `size` null elements of the given type (with or without CMPI_ARRAY); size 0: an array that grows.
 */
CMPIArray* native_new_CMPIArray(CMPICount size, CMPIType type, CMPIStatus* rc);

/* Now, in UTC. */
CMPIDateTime* native_new_CMPIDateTime(CMPIStatus* rc);

/* From microseconds: an interval, or a point counted from 1970-01-01 00:00 UTC. */
CMPIDateTime* native_new_CMPIDateTime_fromBinary(CMPIUint64 usec, CMPIBoolean interval,
                                                 CMPIStatus* rc);

/*
 * From the 25 characters of DSP0004, "yyyymmddhhmmss.mmmmmmsutc" or "ddddddddhhmmss.mmmmmm:000", in
 * which fields may be asterisks. Other text: NULL, CMPI_RC_ERR_INVALID_PARAMETER.
 */
CMPIDateTime* native_new_CMPIDateTime_fromChars(const char* text, CMPIStatus* rc);

/*
 * The text of a value that is no array: numbers in decimal, true or false, a path or an instance
 * written out. The caller frees it with free().
 */
char* value2Chars(CMPIType type, CMPIValue* value);

#define newCMPIInstance native_new_CMPIInstance
#define newCMPIString native_new_CMPIString
#define newCMPIArgs native_new_CMPIArgs
#define newCMPIArray native_new_CMPIArray
#define newCMPIDateTime native_new_CMPIDateTime

#ifdef __cplusplus
}
#endif

#endif
/* NOLINTEND(readability-identifier-naming,bugprone-reserved-identifier,bugprone-macro-parentheses,modernize-use-using,cppcoreguidelines-pro-type-cstyle-cast)
 */
