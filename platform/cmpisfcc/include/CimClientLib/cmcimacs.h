/*
 * Short forms of the calls through function tables, object first, `rc` last. See cmcift.h for what
 * they do.
 */
/* The names and forms are those of the interface, which is C.
   NOLINTBEGIN(readability-identifier-naming,bugprone-reserved-identifier,bugprone-macro-parentheses,modernize-use-using,cppcoreguidelines-pro-type-cstyle-cast)
 */
#ifndef _CMCIMACS_H_
#define _CMCIMACS_H_

/* What is passed as a value may be a plain `char*` or `CMPIUint8*`, as the type beside it tells.
   Through `void*`, for compilers that warn of the stricter alignment of the union. */
#define CM_VALUE_POINTER(v) ((CMPIValue*)(void*)(v))

/* Any object. */
#define CMRelease(o) ((o)->ft->release((o)))
#define CMClone(o, rc) ((o)->ft->clone((o), (rc)))
#define CMIsNullObject(o) ((o) == NULL || (o)->hdl == NULL)

/* Values as they are read. */
#define CMIsNullValue(d) (((d).state & CMPI_nullValue) != 0)
#define CMIsKeyValue(d) (((d).state & CMPI_keyValue) != 0)
#define CMIsArray(d) (((d).type & CMPI_ARRAY) != 0)

/* Statuses. `st` is a pointer and may be NULL. */
#define CMSetStatus(st, rcp)                                                                       \
    {                                                                                              \
        if ((st) != NULL) {                                                                        \
            (st)->rc = (rcp);                                                                      \
            (st)->msg = NULL;                                                                      \
        }                                                                                          \
    }
#define CMSetStatusWithChars(st, rcp, chars)                                                       \
    {                                                                                              \
        if ((st) != NULL) {                                                                        \
            (st)->rc = (rcp);                                                                      \
            (st)->msg = native_new_CMPIString((chars), NULL);                                      \
        }                                                                                          \
    }
#define CMReturn(rcp)                                                                              \
    {                                                                                              \
        CMPIStatus cmReturned = {(rcp), NULL};                                                     \
        return cmReturned;                                                                         \
    }
#define CMReturnWithString(rcp, str)                                                               \
    {                                                                                              \
        CMPIStatus cmReturned = {(rcp), (str)};                                                    \
        return cmReturned;                                                                         \
    }
#define CMReturnWithChars(rcp, chars)                                                              \
    {                                                                                              \
        CMPIStatus cmReturned = {(rcp), native_new_CMPIString((chars), NULL)};                     \
        return cmReturned;                                                                         \
    }

/* Strings: the first reads the handle without a call, the second calls. */
#define CMGetCharPtr(s) ((char*)(s)->hdl)
#define CMGetCharsPtr(s, rc) ((s)->ft->getCharPtr((s), (rc)))

/* Instances. */
#define CMGetProperty(i, n, rc) ((i)->ft->getProperty((i), (n), (rc)))
#define CMGetPropertyAt(i, num, s, rc) ((i)->ft->getPropertyAt((i), (num), (s), (rc)))
#define CMGetPropertyCount(i, rc) ((i)->ft->getPropertyCount((i), (rc)))
#define CMSetProperty(i, n, v, t) ((i)->ft->setProperty((i), (n), CM_VALUE_POINTER(v), (t)))
#define CMGetObjectPath(i, rc) ((i)->ft->getObjectPath((i), (rc)))
#define CMSetPropertyFilter(i, pl, keys) ((i)->ft->setPropertyFilter((i), (pl), (keys)))

/* Object paths. */
#define CMSetHostname(p, n) ((p)->ft->setHostname((p), (n)))
#define CMGetHostname(p, rc) ((p)->ft->getHostname((p), (rc)))
#define CMSetNameSpace(p, n) ((p)->ft->setNameSpace((p), (n)))
#define CMGetNameSpace(p, rc) ((p)->ft->getNameSpace((p), (rc)))
#define CMSetClassName(p, n) ((p)->ft->setClassName((p), (n)))
#define CMGetClassName(p, rc) ((p)->ft->getClassName((p), (rc)))
#define CMAddKey(p, n, v, t) ((p)->ft->addKey((p), (n), CM_VALUE_POINTER(v), (t)))
#define CMGetKey(p, n, rc) ((p)->ft->getKey((p), (n), (rc)))
#define CMGetKeyAt(p, i, n, rc) ((p)->ft->getKeyAt((p), (i), (n), (rc)))
#define CMGetKeyCount(p, rc) ((p)->ft->getKeyCount((p), (rc)))
#define CMSetNameSpaceFromObjectPath(p, s) ((p)->ft->setNameSpaceFromObjectPath((p), (s)))
#define CMSetHostAndNameSpaceFromObjectPath(p, s)                                                  \
    ((p)->ft->setHostAndNameSpaceFromObjectPath((p), (s)))
#define CMObjectPathToString(p, rc) ((p)->ft->toString((p), (rc)))

/* Arrays. */
#define CMGetArrayCount(a, rc) ((a)->ft->getSize((a), (rc)))
#define CMGetArrayType(a, rc) ((a)->ft->getSimpleType((a), (rc)))
#define CMGetArrayElementAt(a, n, rc) ((a)->ft->getElementAt((a), (n), (rc)))
#define CMSetArrayElementAt(a, n, v, t) ((a)->ft->setElementAt((a), (n), CM_VALUE_POINTER(v), (t)))

/* Arguments. */
#define CMAddArg(a, n, v, t) ((a)->ft->addArg((a), (n), CM_VALUE_POINTER(v), (t)))
#define CMGetArg(a, n, rc) ((a)->ft->getArg((a), (n), (rc)))
#define CMGetArgAt(a, p, n, rc) ((a)->ft->getArgAt((a), (p), (n), (rc)))
#define CMGetArgCount(a, rc) ((a)->ft->getArgCount((a), (rc)))

/* Date-times. */
#define CMGetStringFormat(d, rc) ((d)->ft->getStringFormat((d), (rc)))
#define CMGetBinaryFormat(d, rc) ((d)->ft->getBinaryFormat((d), (rc)))
#define CMIsInterval(d, rc) ((d)->ft->isInterval((d), (rc)))

/* Enumerations. */
#define CMGetNext(e, rc) ((e)->ft->getNext((e), (rc)))
#define CMHasNext(e, rc) ((e)->ft->hasNext((e), (rc)))
#define CMToArray(e, rc) ((e)->ft->toArray((e), (rc)))

#endif
/* NOLINTEND(readability-identifier-naming,bugprone-reserved-identifier,bugprone-macro-parentheses,modernize-use-using,cppcoreguidelines-pro-type-cstyle-cast)
 */
