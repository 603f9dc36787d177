/* The binary interface: sizes, offsets and numbers that programs were compiled with. */
#include <CimClientLib/cmci.h>
#include <CimClientLib/native.h>
#include <stddef.h>

#define TABLE(type, functions)                                                                     \
    _Static_assert(sizeof(type) == (1 + (functions)) * sizeof(void*), #type);                      \
    _Static_assert(offsetof(type, ftVersion) == 0, #type);                                         \
    _Static_assert(offsetof(type, release) == sizeof(void*), #type)
#define SLOT(type, member, place)                                                                  \
    _Static_assert(offsetof(type, member) == (place) * sizeof(void*), #type "." #member)
#define OBJECT(type)                                                                               \
    _Static_assert(sizeof(type) == 2 * sizeof(void*), #type);                                      \
    _Static_assert(offsetof(type, hdl) == 0 && offsetof(type, ft) == sizeof(void*), #type)

OBJECT(CMCIClient);
OBJECT(CMPIObjectPath);
OBJECT(CMPIInstance);
OBJECT(CMPIArgs);
OBJECT(CMPIArray);
OBJECT(CMPIEnumeration);
OBJECT(CMPIString);
OBJECT(CMPIDateTime);
OBJECT(CMPIConstClass);

TABLE(CMCIClientFT, 19);
SLOT(CMCIClientFT, clone, 2);
SLOT(CMCIClientFT, getClass, 3);
SLOT(CMCIClientFT, enumClassNames, 4);
SLOT(CMCIClientFT, enumClasses, 5);
SLOT(CMCIClientFT, getInstance, 6);
SLOT(CMCIClientFT, createInstance, 7);
SLOT(CMCIClientFT, setInstance, 8);
SLOT(CMCIClientFT, deleteInstance, 9);
SLOT(CMCIClientFT, execQuery, 10);
SLOT(CMCIClientFT, enumInstanceNames, 11);
SLOT(CMCIClientFT, enumInstances, 12);
SLOT(CMCIClientFT, associators, 13);
SLOT(CMCIClientFT, associatorNames, 14);
SLOT(CMCIClientFT, references, 15);
SLOT(CMCIClientFT, referenceNames, 16);
SLOT(CMCIClientFT, invokeMethod, 17);
SLOT(CMCIClientFT, setProperty, 18);
SLOT(CMCIClientFT, getProperty, 19);

TABLE(CMPIObjectPathFT, 19);
SLOT(CMPIObjectPathFT, clone, 2);
SLOT(CMPIObjectPathFT, setNameSpace, 3);
SLOT(CMPIObjectPathFT, getNameSpace, 4);
SLOT(CMPIObjectPathFT, setHostname, 5);
SLOT(CMPIObjectPathFT, getHostname, 6);
SLOT(CMPIObjectPathFT, setClassName, 7);
SLOT(CMPIObjectPathFT, getClassName, 8);
SLOT(CMPIObjectPathFT, addKey, 9);
SLOT(CMPIObjectPathFT, getKey, 10);
SLOT(CMPIObjectPathFT, getKeyAt, 11);
SLOT(CMPIObjectPathFT, getKeyCount, 12);
SLOT(CMPIObjectPathFT, setNameSpaceFromObjectPath, 13);
SLOT(CMPIObjectPathFT, setHostAndNameSpaceFromObjectPath, 14);
SLOT(CMPIObjectPathFT, getClassQualifier, 15);
SLOT(CMPIObjectPathFT, getPropertyQualifier, 16);
SLOT(CMPIObjectPathFT, getMethodQualifier, 17);
SLOT(CMPIObjectPathFT, getParameterQualifier, 18);
SLOT(CMPIObjectPathFT, toString, 19);

TABLE(CMPIInstanceFT, 14);
SLOT(CMPIInstanceFT, clone, 2);
SLOT(CMPIInstanceFT, getProperty, 3);
SLOT(CMPIInstanceFT, getPropertyAt, 4);
SLOT(CMPIInstanceFT, getPropertyCount, 5);
SLOT(CMPIInstanceFT, setProperty, 6);
SLOT(CMPIInstanceFT, getObjectPath, 7);
SLOT(CMPIInstanceFT, setPropertyFilter, 8);
SLOT(CMPIInstanceFT, getQualifier, 9);
SLOT(CMPIInstanceFT, getQualifierAt, 10);
SLOT(CMPIInstanceFT, getQualifierCount, 11);
SLOT(CMPIInstanceFT, getPropertyQualifier, 12);
SLOT(CMPIInstanceFT, getPropertyQualifierAt, 13);
SLOT(CMPIInstanceFT, getPropertyQualifierCount, 14);

TABLE(CMPIArgsFT, 6);
SLOT(CMPIArgsFT, addArg, 3);
SLOT(CMPIArgsFT, getArg, 4);
SLOT(CMPIArgsFT, getArgAt, 5);
SLOT(CMPIArgsFT, getArgCount, 6);

TABLE(CMPIArrayFT, 6);
SLOT(CMPIArrayFT, getSize, 3);
SLOT(CMPIArrayFT, getSimpleType, 4);
SLOT(CMPIArrayFT, getElementAt, 5);
SLOT(CMPIArrayFT, setElementAt, 6);

TABLE(CMPIEnumerationFT, 5);
SLOT(CMPIEnumerationFT, getNext, 3);
SLOT(CMPIEnumerationFT, hasNext, 4);
SLOT(CMPIEnumerationFT, toArray, 5);

TABLE(CMPIStringFT, 3);
SLOT(CMPIStringFT, getCharPtr, 3);

TABLE(CMPIDateTimeFT, 5);
SLOT(CMPIDateTimeFT, getBinaryFormat, 3);
SLOT(CMPIDateTimeFT, getStringFormat, 4);
SLOT(CMPIDateTimeFT, isInterval, 5);

TABLE(CMPIConstClassFT, 21);
SLOT(CMPIConstClassFT, getClassName, 3);
SLOT(CMPIConstClassFT, getProperty, 4);
SLOT(CMPIConstClassFT, getQualifier, 7);
SLOT(CMPIConstClassFT, getPropertyQualifier, 10);
SLOT(CMPIConstClassFT, getMethod, 13);
SLOT(CMPIConstClassFT, getMethodParameter, 16);
SLOT(CMPIConstClassFT, getMethodQualifier, 19);
SLOT(CMPIConstClassFT, getMethodQualifierCount, 21);

_Static_assert(sizeof(CMPIValue) == (sizeof(void*) == 8 ? 16 : 8), "CMPIValue");
/* i386 alone aligns 64 bits to four bytes. */
_Static_assert(offsetof(CMPIData, state) == 2, "CMPIData.state");
_Static_assert(offsetof(CMPIData, value) == (_Alignof(CMPIValue) == 4 ? 4 : 8), "CMPIData.value");
_Static_assert(sizeof(CMPIData) == offsetof(CMPIData, value) + sizeof(CMPIValue), "CMPIData");
_Static_assert(offsetof(CMPIStatus, rc) == 0 && offsetof(CMPIStatus, msg) == sizeof(void*),
               "CMPIStatus");
_Static_assert(sizeof(CMCIClientData) == (sizeof(void*) == 8 ? 48 : 24), "CMCIClientData");
_Static_assert(sizeof(CMPIUint32) == sizeof(long) && sizeof(CMPISint32) == sizeof(long), "uint32");
_Static_assert(sizeof(CMPICount) == 4 && sizeof(CMPIFlags) == 4 && sizeof(CMPIBoolean) == 1 &&
                   sizeof(CMPIChar16) == 2 && sizeof(CMPIType) == 2 && sizeof(CMPIValueState) == 2,
               "scalars");
_Static_assert(sizeof(CMPIrc) == 4, "CMPIrc");

_Static_assert(CMPI_boolean == 0x2 && CMPI_char16 == 0x3 && CMPI_real32 == 0x8 &&
                   CMPI_real64 == 0xc,
               "types");
_Static_assert(CMPI_uint8 == 0x80 && CMPI_uint16 == 0x90 && CMPI_uint32 == 0xa0 &&
                   CMPI_uint64 == 0xb0,
               "types");
_Static_assert(CMPI_sint8 == 0xc0 && CMPI_sint16 == 0xd0 && CMPI_sint32 == 0xe0 &&
                   CMPI_sint64 == 0xf0,
               "types");
_Static_assert(CMPI_instance == 0x1000 && CMPI_ref == 0x1100 && CMPI_args == 0x1200 &&
                   CMPI_class == 0x1300 && CMPI_filter == 0x1400 && CMPI_enumeration == 0x1500,
               "types");
_Static_assert(CMPI_string == 0x1600 && CMPI_chars == 0x1700 && CMPI_dateTime == 0x1800 &&
                   CMPI_ptr == 0x1900 && CMPI_charsptr == 0x1a00,
               "types");
_Static_assert(CMPI_booleanA == 0x2002 && CMPI_stringA == 0x3600 && CMPI_charsA == 0x3700 &&
                   CMPI_dateTimeA == 0x3800 && CMPI_refA == 0x3100 && CMPI_instanceA == 0x3000,
               "array types");
_Static_assert(CMPI_INTEGER == 0xc0 && CMPI_numericString == 0x16fc &&
                   CMPI_booleanString == 0x1602 && CMPI_dateTimeString == 0x1e00 &&
                   CMPI_classNameString == 0x1700,
               "groups of types");
_Static_assert(CMPI_nullValue == 0x100 && CMPI_keyValue == 0x200 && CMPI_notFound == 0x400 &&
                   CMPI_badValue == 0x8000,
               "states");
_Static_assert(CMPI_RC_ERR_METHOD_NOT_FOUND == 17 && CMPI_RC_ERROR_SYSTEM == 100 &&
                   CMPI_RC_ERROR == 200,
               "codes");
_Static_assert(CMPICurrentVersion == 86 && NATIVE_FT_VERSION == 1, "versions");
