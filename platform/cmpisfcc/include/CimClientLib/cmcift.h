/*
 * Function tables of the objects of the SFCC client interface. The order of the members is part of
 * the binary interface; every table begins with its version (NATIVE_FT_VERSION).
 *
 * Rules that hold for all of them:
 * - `rc` may be NULL. Where it is not, it is written by every call, success included (rc 0, msg
 * NULL).
 * - Names of classes, properties, keys and arguments match without regard to case.
 * - What is handed in is copied; it stays the caller's.
 * - Objects that a function returns belong to the caller, who releases each once: clones, names
 * (the `name` parameters), name spaces, class names, texts, object paths of instances, messages of
 * a status. Values inside a CMPIData belong to the object they were read from and live as long as
 * it does. An enumeration owns its elements and its array.
 * - An object is used by one thread at a time; different objects by different threads without a
 * lock.
 *
 * Passing a value: a pointer to the CMPIValue whose member the type names. The one exception is the
 * type CMPI_chars, for which the text itself is passed in place of the pointer, cast to CMPIValue
 * *; it is stored as CMPI_string. (Elements of arrays are the exception to that: a pointer to a
 * CMPIValue always.)
 */
/* The names and forms are those of the interface, which is C.
   NOLINTBEGIN(readability-identifier-naming,bugprone-reserved-identifier,bugprone-macro-parentheses,modernize-use-using,cppcoreguidelines-pro-type-cstyle-cast)
 */
#ifndef _CMCIFT_H_
#define _CMCIFT_H_

#include "cmcidt.h"

#ifdef __cplusplus
extern "C" {
#endif

#define NATIVE_FT_VERSION 1

typedef struct _CMPIStringFT
{
    int ftVersion;
    CMPIStatus (*release)(CMPIString* str);
    CMPIString* (*clone)(CMPIString* str, CMPIStatus* rc);
    char* (*getCharPtr)(CMPIString* str, CMPIStatus* rc);
} CMPIStringFT;

struct _CMPIString
{
    void* hdl; /* the text, a char *; may be NULL */
    CMPIStringFT* ft;
};

typedef struct _CMPIDateTimeFT
{
    int ftVersion;
    CMPIStatus (*release)(CMPIDateTime* dt);
    CMPIDateTime* (*clone)(CMPIDateTime* dt, CMPIStatus* rc);
    /* Microseconds: of the interval, or since 1970-01-01 00:00 UTC. */
    CMPIUint64 (*getBinaryFormat)(CMPIDateTime* dt, CMPIStatus* rc);
    /* The 25 characters of DSP0004, as they were given. */
    CMPIString* (*getStringFormat)(CMPIDateTime* dt, CMPIStatus* rc);
    CMPIBoolean (*isInterval)(CMPIDateTime* dt, CMPIStatus* rc);
} CMPIDateTimeFT;

struct _CMPIDateTime
{
    void* hdl;
    CMPIDateTimeFT* ft;
};

typedef struct _CMPIArrayFT
{
    int ftVersion;
    CMPIStatus (*release)(CMPIArray* array);
    CMPIArray* (*clone)(CMPIArray* array, CMPIStatus* rc);
    CMPICount (*getSize)(CMPIArray* array, CMPIStatus* rc);
    CMPIType (*getSimpleType)(CMPIArray* array, CMPIStatus* rc);
    /* Past the end: a value of state CMPI_badValue, and rc 0. */
    CMPIData (*getElementAt)(CMPIArray* array, CMPICount index, CMPIStatus* rc);
    /* An array made with size 0 grows where `index` is its size; another index or type fails (1).
     */
    CMPIStatus (*setElementAt)(CMPIArray* array, CMPICount index, CMPIValue* value, CMPIType type);
} CMPIArrayFT;

struct _CMPIArray
{
    void* hdl;
    CMPIArrayFT* ft;
};

typedef struct _CMPIEnumerationFT
{
    int ftVersion;
    CMPIStatus (*release)(CMPIEnumeration* enm);
    CMPIEnumeration* (*clone)(CMPIEnumeration* enm, CMPIStatus* rc);
    /* The enumeration keeps the element. Past the end: a value of state CMPI_badValue, and rc 0. */
    CMPIData (*getNext)(CMPIEnumeration* enm, CMPIStatus* rc);
    CMPIBoolean (*hasNext)(CMPIEnumeration* enm, CMPIStatus* rc);
    /* All elements, those already fetched too. The enumeration's own array, made at the first call:
     * never released by the caller. */
    CMPIArray* (*toArray)(CMPIEnumeration* enm, CMPIStatus* rc);
} CMPIEnumerationFT;

struct _CMPIEnumeration
{
    void* hdl;
    CMPIEnumerationFT* ft;
};

typedef struct _CMPIObjectPathFT
{
    int ftVersion;
    CMPIStatus (*release)(CMPIObjectPath* op);
    CMPIObjectPath* (*clone)(CMPIObjectPath* op, CMPIStatus* rc);
    CMPIStatus (*setNameSpace)(CMPIObjectPath* op, const char* nameSpace);
    /* Names that are not set: a string whose character pointer is NULL, for the host NULL. */
    CMPIString* (*getNameSpace)(CMPIObjectPath* op, CMPIStatus* rc);
    CMPIStatus (*setHostname)(CMPIObjectPath* op, const char* hostName);
    CMPIString* (*getHostname)(CMPIObjectPath* op, CMPIStatus* rc);
    CMPIStatus (*setClassName)(CMPIObjectPath* op, const char* className);
    CMPIString* (*getClassName)(CMPIObjectPath* op, CMPIStatus* rc);
    /* A name that is there already fails with CMPI_RC_ERR_ALREADY_EXISTS; the first value stays. */
    CMPIStatus (*addKey)(CMPIObjectPath* op, const char* name, CMPIValue* value, CMPIType type);
    /* No such key: CMPI_RC_ERR_NO_SUCH_PROPERTY, type 0, state CMPI_nullValue. */
    CMPIData (*getKey)(CMPIObjectPath* op, const char* name, CMPIStatus* rc);
    CMPIData (*getKeyAt)(CMPIObjectPath* op, unsigned int index, CMPIString** name, CMPIStatus* rc);
    unsigned int (*getKeyCount)(CMPIObjectPath* op, CMPIStatus* rc);
    CMPIStatus (*setNameSpaceFromObjectPath)(CMPIObjectPath* op, CMPIObjectPath* src);
    CMPIStatus (*setHostAndNameSpaceFromObjectPath)(CMPIObjectPath* op, CMPIObjectPath* src);
    /* A path knows no qualifiers, its class does: CMPI_RC_ERR_NOT_SUPPORTED. */
    CMPIData (*getClassQualifier)(CMPIObjectPath* op, const char* qName, CMPIStatus* rc);
    CMPIData (*getPropertyQualifier)(CMPIObjectPath* op, const char* pName, const char* qName,
                                     CMPIStatus* rc);
    CMPIData (*getMethodQualifier)(CMPIObjectPath* op, const char* mName, const char* qName,
                                   CMPIStatus* rc);
    CMPIData (*getParameterQualifier)(CMPIObjectPath* op, const char* mName, const char* pName,
                                      const char* qName, CMPIStatus* rc);
    /* [namespace:]Class.key=value,... with texts in double quotes; the host is not told. */
    CMPIString* (*toString)(CMPIObjectPath* op, CMPIStatus* rc);
} CMPIObjectPathFT;

struct _CMPIObjectPath
{
    void* hdl;
    CMPIObjectPathFT* ft;
};

typedef struct _CMPIInstanceFT
{
    int ftVersion;
    CMPIStatus (*release)(CMPIInstance* inst);
    CMPIInstance* (*clone)(CMPIInstance* inst, CMPIStatus* rc);
    /* A property without a value has its type and the state CMPI_nullValue. No such property:
       CMPI_RC_ERR_NO_SUCH_PROPERTY, type 0, state CMPI_nullValue. */
    CMPIData (*getProperty)(CMPIInstance* inst, const char* name, CMPIStatus* rc);
    /* In the object manager's order. `name` may be NULL. */
    CMPIData (*getPropertyAt)(CMPIInstance* inst, unsigned int index, CMPIString** name,
                              CMPIStatus* rc);
    unsigned int (*getPropertyCount)(CMPIInstance* inst, CMPIStatus* rc);
    /* Sets or adds a property; `value` NULL makes it null. */
    CMPIStatus (*setProperty)(CMPIInstance* inst, const char* name, CMPIValue* value,
                              CMPIType type);
    CMPIObjectPath* (*getObjectPath)(CMPIInstance* inst, CMPIStatus* rc);
    /* Properties that are in neither list are not accepted by setProperty from here on; it answers
       success and stores nothing. A NULL property list lifts the filter. */
    CMPIStatus (*setPropertyFilter)(CMPIInstance* inst, char** propertyList, char** keys);
    /* Qualifiers come where they were asked for (CMPI_FLAG_IncludeQualifiers). One that is not
       found is of type and state null: by its name with CMPI_RC_ERR_FAILED, by its number, or where
       there is no such property, with CMPI_RC_ERR_NO_SUCH_PROPERTY. */
    CMPIData (*getQualifier)(CMPIInstance* inst, const char* qName, CMPIStatus* rc);
    CMPIData (*getQualifierAt)(CMPIInstance* inst, unsigned int index, CMPIString** name,
                               CMPIStatus* rc);
    unsigned int (*getQualifierCount)(CMPIInstance* inst, CMPIStatus* rc);
    CMPIData (*getPropertyQualifier)(CMPIInstance* inst, const char* pName, const char* qName,
                                     CMPIStatus* rc);
    CMPIData (*getPropertyQualifierAt)(CMPIInstance* inst, const char* pName, unsigned int index,
                                       CMPIString** name, CMPIStatus* rc);
    unsigned int (*getPropertyQualifierCount)(CMPIInstance* inst, const char* pName,
                                              CMPIStatus* rc);
} CMPIInstanceFT;

struct _CMPIInstance
{
    void* hdl;
    CMPIInstanceFT* ft;
};

typedef struct _CMPIArgsFT
{
    int ftVersion;
    CMPIStatus (*release)(CMPIArgs* args);
    CMPIArgs* (*clone)(CMPIArgs* args, CMPIStatus* rc);
    /* A name that is there already fails with CMPI_RC_ERR_ALREADY_EXISTS; the first value stays. */
    CMPIStatus (*addArg)(CMPIArgs* args, const char* name, CMPIValue* value, CMPIType type);
    CMPIData (*getArg)(CMPIArgs* args, const char* name, CMPIStatus* rc);
    CMPIData (*getArgAt)(CMPIArgs* args, unsigned int index, CMPIString** name, CMPIStatus* rc);
    unsigned int (*getArgCount)(CMPIArgs* args, CMPIStatus* rc);
} CMPIArgsFT;

struct _CMPIArgs
{
    void* hdl;
    CMPIArgsFT* ft;
};

/*
 * A class declaration: its properties with their defaults, its methods, and the qualifiers of all
 * these, which are as those of an instance; CMPI_RC_ERR_METHOD_NOT_FOUND where there is no such
 * method.
 */
typedef struct _CMPIConstClassFT
{
    int ftVersion;
    CMPIStatus (*release)(CMPIConstClass* cls);
    CMPIConstClass* (*clone)(CMPIConstClass* cls, CMPIStatus* rc);
    CMPIString* (*getClassName)(CMPIConstClass* cls, CMPIStatus* rc);
    CMPIData (*getProperty)(CMPIConstClass* cls, const char* name, CMPIStatus* rc);
    CMPIData (*getPropertyAt)(CMPIConstClass* cls, unsigned int index, CMPIString** name,
                              CMPIStatus* rc);
    unsigned int (*getPropertyCount)(CMPIConstClass* cls, CMPIStatus* rc);
    CMPIData (*getQualifier)(CMPIConstClass* cls, const char* qName, CMPIStatus* rc);
    CMPIData (*getQualifierAt)(CMPIConstClass* cls, unsigned int index, CMPIString** name,
                               CMPIStatus* rc);
    unsigned int (*getQualifierCount)(CMPIConstClass* cls, CMPIStatus* rc);
    CMPIData (*getPropertyQualifier)(CMPIConstClass* cls, const char* pName, const char* qName,
                                     CMPIStatus* rc);
    CMPIData (*getPropertyQualifierAt)(CMPIConstClass* cls, const char* pName, unsigned int index,
                                       CMPIString** name, CMPIStatus* rc);
    unsigned int (*getPropertyQualifierCount)(CMPIConstClass* cls, const char* pName,
                                              CMPIStatus* rc);
    CMPIData (*getMethod)(CMPIConstClass* cls, const char* mName, CMPIStatus* rc);
    CMPIData (*getMethodAt)(CMPIConstClass* cls, unsigned int index, CMPIString** name,
                            CMPIStatus* rc);
    unsigned int (*getMethodCount)(CMPIConstClass* cls, CMPIStatus* rc);
    CMPIData (*getMethodParameter)(CMPIConstClass* cls, const char* mName, const char* pName,
                                   CMPIStatus* rc);
    CMPIData (*getMethodParameterAt)(CMPIConstClass* cls, const char* mName, unsigned int index,
                                     CMPIString** name, CMPIStatus* rc);
    unsigned int (*getMethodParameterCount)(CMPIConstClass* cls, const char* mName, CMPIStatus* rc);
    CMPIData (*getMethodQualifier)(CMPIConstClass* cls, const char* mName, const char* qName,
                                   CMPIStatus* rc);
    CMPIData (*getMethodQualifierAt)(CMPIConstClass* cls, const char* mName, unsigned int index,
                                     CMPIString** name, CMPIStatus* rc);
    unsigned int (*getMethodQualifierCount)(CMPIConstClass* cls, const char* mName, CMPIStatus* rc);
} CMPIConstClassFT;

struct _CMPIConstClass
{
    void* hdl;
    CMPIConstClassFT* ft;
};

#ifdef __cplusplus
}
#endif

#endif
/* NOLINTEND(readability-identifier-naming,bugprone-reserved-identifier,bugprone-macro-parentheses,modernize-use-using,cppcoreguidelines-pro-type-cstyle-cast)
 */
