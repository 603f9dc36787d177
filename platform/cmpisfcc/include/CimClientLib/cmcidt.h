/*
 * Data types of the SFCC client interface: CIM values (DSP0004), status codes (DSP0200) and the
 * objects that carry them. Numbers and layouts are part of the binary interface.
 */
/* The names and forms are those of the interface, which is C.
   NOLINTBEGIN(readability-identifier-naming,bugprone-reserved-identifier,bugprone-macro-parentheses,modernize-use-using,cppcoreguidelines-pro-type-cstyle-cast)
 */
#ifndef _CMCIDT_H_
#define _CMCIDT_H_

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The version of CMPI that this interface follows. */
#define CMPIVersion86 86
#define CMPICurrentVersion CMPIVersion86
#define CMPI_VER_86 1

/*
 * Objects. Each is a handle and a table of functions (cmcift.h); what the handle is belongs to the
 * object, save for CMPIString, whose handle is its text.
 */
typedef struct _CMCIClient CMCIClient;
typedef struct _CMPIObjectPath CMPIObjectPath;
typedef struct _CMPIInstance CMPIInstance;
typedef struct _CMPIConstClass CMPIConstClass;
typedef struct _CMPIArgs CMPIArgs;
typedef struct _CMPIArray CMPIArray;
typedef struct _CMPIEnumeration CMPIEnumeration;
typedef struct _CMPIString CMPIString;
typedef struct _CMPIDateTime CMPIDateTime;

/* Integers and reals. Where long has 64 bits, CMPIUint32 and CMPISint32 have them too: narrow what
 * is read. */
typedef unsigned char CMPIBoolean;
typedef unsigned short CMPIChar16;
typedef unsigned char CMPIUint8;
typedef unsigned short CMPIUint16;
typedef unsigned long CMPIUint32;
typedef unsigned long long CMPIUint64;
typedef signed char CMPISint8;
typedef short CMPISint16;
typedef long CMPISint32;
typedef long long CMPISint64;
typedef float CMPIReal32;
typedef double CMPIReal64;

typedef unsigned int CMPICount;
typedef unsigned int CMPIFlags;

/* What an operation is asked for; other bits mean nothing. */
#define CMPI_FLAG_LocalOnly 1
#define CMPI_FLAG_DeepInheritance 2
#define CMPI_FLAG_IncludeQualifiers 4
#define CMPI_FLAG_IncludeClassOrigin 8

typedef struct _CMPIValuePtr
{
    void* ptr;
    unsigned int length;
} CMPIValuePtr;

/* A value; its CMPIType says which member holds it. */
typedef union _CMPIValue {
    CMPIUint64 uint64;
    CMPIUint32 uint32;
    CMPIUint16 uint16;
    CMPIUint8 uint8;
    CMPISint64 sint64;
    CMPISint32 sint32;
    CMPISint16 sint16;
    CMPISint8 sint8;
    CMPIReal64 real64;
    CMPIReal32 real32;
    CMPIBoolean boolean;
    CMPIChar16 char16;

    CMPIConstClass* cls;
    CMPIInstance* inst;
    CMPIObjectPath* ref;
    CMPIArgs* args;
    CMPIEnumeration* Enum;
    CMPIArray* array;
    CMPIString* string;
    char* chars;
    CMPIDateTime* dateTime;
    CMPIValuePtr dataPtr;

    CMPISint8 Byte;
    CMPISint16 Short;
    CMPISint32 Int;
    CMPISint64 Long;
    CMPIReal32 Float;
    CMPIReal64 Double;
} CMPIValue;

typedef unsigned short CMPIType;

#define CMPI_null 0

#define CMPI_SIMPLE 2
#define CMPI_boolean (2 + 0)
#define CMPI_char16 (2 + 1)

#define CMPI_REAL (2 << 2)
#define CMPI_real32 ((2 + 0) << 2)
#define CMPI_real64 ((2 + 1) << 2)

#define CMPI_UINT (8 << 4)
#define CMPI_uint8 ((8 + 0) << 4)
#define CMPI_uint16 ((8 + 1) << 4)
#define CMPI_uint32 ((8 + 2) << 4)
#define CMPI_uint64 ((8 + 3) << 4)

#define CMPI_SINT ((8 + 4) << 4)
#define CMPI_sint8 ((8 + 4) << 4)
#define CMPI_sint16 ((8 + 5) << 4)
#define CMPI_sint32 ((8 + 6) << 4)
#define CMPI_sint64 ((8 + 7) << 4)
#define CMPI_INTEGER (CMPI_UINT | CMPI_SINT)

/* Values that are objects or memory of their own. */
#define CMPI_ENC (16 << 8)
#define CMPI_instance ((16 + 0) << 8)
#define CMPI_ref ((16 + 1) << 8)
#define CMPI_args ((16 + 2) << 8)
#define CMPI_class ((16 + 3) << 8)
#define CMPI_filter ((16 + 4) << 8)
#define CMPI_enumeration ((16 + 5) << 8)
#define CMPI_string ((16 + 6) << 8)
#define CMPI_chars ((16 + 7) << 8)
#define CMPI_dateTime ((16 + 8) << 8)
#define CMPI_ptr ((16 + 9) << 8)
#define CMPI_charsptr ((16 + 10) << 8)

#define CMPI_ARRAY (1 << 13)
#define CMPI_SIMPLEA (CMPI_ARRAY | CMPI_SIMPLE)
#define CMPI_booleanA (CMPI_ARRAY | CMPI_boolean)
#define CMPI_char16A (CMPI_ARRAY | CMPI_char16)
#define CMPI_REALA (CMPI_ARRAY | CMPI_REAL)
#define CMPI_real32A (CMPI_ARRAY | CMPI_real32)
#define CMPI_real64A (CMPI_ARRAY | CMPI_real64)
#define CMPI_UINTA (CMPI_ARRAY | CMPI_UINT)
#define CMPI_uint8A (CMPI_ARRAY | CMPI_uint8)
#define CMPI_uint16A (CMPI_ARRAY | CMPI_uint16)
#define CMPI_uint32A (CMPI_ARRAY | CMPI_uint32)
#define CMPI_uint64A (CMPI_ARRAY | CMPI_uint64)
#define CMPI_SINTA (CMPI_ARRAY | CMPI_SINT)
#define CMPI_sint8A (CMPI_ARRAY | CMPI_sint8)
#define CMPI_sint16A (CMPI_ARRAY | CMPI_sint16)
#define CMPI_sint32A (CMPI_ARRAY | CMPI_sint32)
#define CMPI_sint64A (CMPI_ARRAY | CMPI_sint64)
#define CMPI_INTEGERA (CMPI_ARRAY | CMPI_INTEGER)
#define CMPI_ENCA (CMPI_ARRAY | CMPI_ENC)
#define CMPI_instanceA (CMPI_ARRAY | CMPI_instance)
#define CMPI_refA (CMPI_ARRAY | CMPI_ref)
#define CMPI_stringA (CMPI_ARRAY | CMPI_string)
#define CMPI_charsA (CMPI_ARRAY | CMPI_chars)
#define CMPI_dateTimeA (CMPI_ARRAY | CMPI_dateTime)
#define CMPI_ptrA (CMPI_ARRAY | CMPI_ptr)
#define CMPI_charsptrA (CMPI_ARRAY | CMPI_charsptr)

/* The types of keys as CIM paths know them. */
#define CMPI_keyInteger CMPI_sint64
#define CMPI_keyString CMPI_string
#define CMPI_keyBoolean CMPI_boolean
#define CMPI_keyRef CMPI_ref

/* Types that occur in predicates of queries only. */
#define CMPI_charString CMPI_string
#define CMPI_integerString (CMPI_string | CMPI_sint64)
#define CMPI_realString (CMPI_string | CMPI_real64)
#define CMPI_numericString (CMPI_string | CMPI_sint64 | CMPI_real64)
#define CMPI_booleanString (CMPI_string | CMPI_boolean)
#define CMPI_dateTimeString (CMPI_string | CMPI_dateTime)
#define CMPI_classNameString (CMPI_string | CMPI_class)
#define CMPI_nameString (CMPI_string | CMPI_dateTime)

#ifndef CMPI_NO_SYNONYM_SUPPORT
#define CMPI_Byte CMPI_sint8
#define CMPI_Short CMPI_sint16
#define CMPI_Int CMPI_sint32
#define CMPI_Long CMPI_sint64
#define CMPI_Float CMPI_real32
#define CMPI_Double CMPI_real64
#endif

/*
 * State of a value. Good is whatever is neither null nor not found nor bad: a key's value carries
 * CMPI_keyValue.
 */
typedef unsigned short CMPIValueState;

#define CMPI_goodValue 0
#define CMPI_nullValue (1 << 8)
#define CMPI_keyValue (2 << 8)
#define CMPI_notFound (4 << 8)
#define CMPI_badValue (0x80 << 8)

typedef struct _CMPIData
{
    CMPIType type;
    CMPIValueState state;
    CMPIValue value;
} CMPIData;

/* Status of a CIM operation: 1 to 17 are the codes of DSP0200. */
typedef enum _CMPIrc {
    CMPI_RC_OK = 0,
    CMPI_RC_ERR_FAILED = 1,
    CMPI_RC_ERR_ACCESS_DENIED = 2,
    CMPI_RC_ERR_INVALID_NAMESPACE = 3,
    CMPI_RC_ERR_INVALID_PARAMETER = 4,
    CMPI_RC_ERR_INVALID_CLASS = 5,
    CMPI_RC_ERR_NOT_FOUND = 6,
    CMPI_RC_ERR_NOT_SUPPORTED = 7,
    CMPI_RC_ERR_CLASS_HAS_CHILDREN = 8,
    CMPI_RC_ERR_CLASS_HAS_INSTANCES = 9,
    CMPI_RC_ERR_INVALID_SUPERCLASS = 10,
    CMPI_RC_ERR_ALREADY_EXISTS = 11,
    CMPI_RC_ERR_NO_SUCH_PROPERTY = 12,
    CMPI_RC_ERR_TYPE_MISMATCH = 13,
    CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED = 14,
    CMPI_RC_ERR_INVALID_QUERY = 15,
    CMPI_RC_ERR_METHOD_NOT_AVAILABLE = 16,
    CMPI_RC_ERR_METHOD_NOT_FOUND = 17,
    CMPI_RC_DO_NOT_UNLOAD = 50,
    CMPI_RC_NEVER_UNLOAD = 51,
    CMPI_RC_ERROR_SYSTEM = 100,
    CMPI_RC_ERROR = 200
} CMPIrc;

/* Result of an operation. `msg`, where not NULL, belongs to the caller. */
typedef struct _CMPIStatus
{
    CMPIrc rc;
    CMPIString* msg;
} CMPIStatus;

#ifdef __cplusplus
}
#endif

#endif
/* NOLINTEND(readability-identifier-naming,bugprone-reserved-identifier,bugprone-macro-parentheses,modernize-use-using,cppcoreguidelines-pro-type-cstyle-cast)
 */
