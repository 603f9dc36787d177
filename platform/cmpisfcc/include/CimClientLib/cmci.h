/*
 * A client of a CIM object manager, by the operations of DSP0200 over CIM-XML.
 *
 *     CMPIStatus status = {CMPI_RC_OK, NULL};
 *     CMCIClient *client = cmciConnect("host.example", "https", "5989", "user", "secret", &status);
 *     CMPIObjectPath *path = newCMPIObjectPath("root/xcim", "XCIM_Fan", NULL);
 *     CMPIEnumeration *fans = client->ft->enumInstances(client, path, 0, NULL, &status);
 *     while (fans && CMHasNext(fans, NULL)) {
 *         CMPIInstance *fan = CMGetNext(fans, NULL).value.inst;
 *         ...
 *     }
 *
 * Threads: one client is used by one thread at a time; clients share nothing, so that each thread
 * may have its own without a lock. Objects may outlive the client they came from.
 */
/* The names and forms are those of the interface, which is C.
   NOLINTBEGIN(readability-identifier-naming,bugprone-reserved-identifier,bugprone-macro-parentheses,modernize-use-using,cppcoreguidelines-pro-type-cstyle-cast)
 */
#ifndef _CMPIC_H_
#define _CMPIC_H_

#include "cmcidt.h"
#include "cmcift.h"
#include "cmcimacs.h"

#ifdef __cplusplus
extern "C" {
#endif

/* `verifyMode` of cmciConnect2. */
#define CMCI_VERIFY_NONE 0
#define CMCI_VERIFY_PEER 1

/* What `hdl` of a client points to: how it was connected. Not to be changed. */
typedef struct _CMCIClientData
{
    char* hostName;
    char* port;
    char* user;
    char* pwd;
    char* scheme;
    int status;
} CMCIClientData;

/*
 * Operations. The object path gives name space, class and, for an instance, the keys. Property
 * lists end with a NULL pointer; NULL asks for all properties. A failing operation returns NULL (or
 * a value of state CMPI_nullValue | CMPI_notFound) and a status:
 * - the object manager's own code and description, where it gave one;
 * - CMPI_RC_ERR_FAILED and a text for what went wrong on the way: no connection, a timeout, an HTTP
 * error, an answer that is no valid CIM-XML or too long;
 * - CMPI_RC_ERR_ACCESS_DENIED for user names and passwords that are refused.
 * After such a failure the client remains usable: the next operation connects anew.
 *
 * Keys may be texts whatever their types: where one may stand for a number or a boolean, its class
 * is asked for, once for each client, and the key goes with the declared type.
 *
 * Embedded objects come as instances and classes (CMPI_instance, CMPI_class).
 */
typedef struct _CMCIClientFT
{
    int ftVersion;
    CMPIStatus (*release)(CMCIClient* mb);
    /* Not supported: NULL, CMPI_RC_ERR_NOT_SUPPORTED. */
    CMCIClient* (*clone)(CMCIClient* mb, CMPIStatus* rc);
    CMPIConstClass* (*getClass)(CMCIClient* mb, CMPIObjectPath* op, CMPIFlags flags,
                                char** properties, CMPIStatus* rc);
    CMPIEnumeration* (*enumClassNames)(CMCIClient* mb, CMPIObjectPath* op, CMPIFlags flags,
                                       CMPIStatus* rc);
    CMPIEnumeration* (*enumClasses)(CMCIClient* mb, CMPIObjectPath* op, CMPIFlags flags,
                                    CMPIStatus* rc);
    CMPIInstance* (*getInstance)(CMCIClient* mb, CMPIObjectPath* op, CMPIFlags flags,
                                 char** properties, CMPIStatus* rc);
    CMPIObjectPath* (*createInstance)(CMCIClient* mb, CMPIObjectPath* op, CMPIInstance* inst,
                                      CMPIStatus* rc);
    CMPIStatus (*setInstance)(CMCIClient* mb, CMPIObjectPath* op, CMPIInstance* inst,
                              CMPIFlags flags, char** properties);
    CMPIStatus (*deleteInstance)(CMCIClient* mb, CMPIObjectPath* op);
    CMPIEnumeration* (*execQuery)(CMCIClient* mb, CMPIObjectPath* op, const char* query,
                                  const char* lang, CMPIStatus* rc);
    CMPIEnumeration* (*enumInstanceNames)(CMCIClient* mb, CMPIObjectPath* op, CMPIStatus* rc);
    CMPIEnumeration* (*enumInstances)(CMCIClient* mb, CMPIObjectPath* op, CMPIFlags flags,
                                      char** properties, CMPIStatus* rc);
    CMPIEnumeration* (*associators)(CMCIClient* mb, CMPIObjectPath* op, const char* assocClass,
                                    const char* resultClass, const char* role,
                                    const char* resultRole, CMPIFlags flags, char** properties,
                                    CMPIStatus* rc);
    CMPIEnumeration* (*associatorNames)(CMCIClient* mb, CMPIObjectPath* op, const char* assocClass,
                                        const char* resultClass, const char* role,
                                        const char* resultRole, CMPIStatus* rc);
    CMPIEnumeration* (*references)(CMCIClient* mb, CMPIObjectPath* op, const char* resultClass,
                                   const char* role, CMPIFlags flags, char** properties,
                                   CMPIStatus* rc);
    CMPIEnumeration* (*referenceNames)(CMCIClient* mb, CMPIObjectPath* op, const char* resultClass,
                                       const char* role, CMPIStatus* rc);
    /* Output arguments are added to `out` in their order; what is there under a name stays. `in`
       and `out` may be NULL. A returned value that is an object belongs to the caller. Texts of
       `in`, and arrays of them, go without a type, so that the object manager makes values of the
       declared ones of them. */
    CMPIData (*invokeMethod)(CMCIClient* mb, CMPIObjectPath* op, const char* method, CMPIArgs* in,
                             CMPIArgs* out, CMPIStatus* rc);
    CMPIStatus (*setProperty)(CMCIClient* mb, CMPIObjectPath* op, const char* name,
                              CMPIValue* value, CMPIType type);
    /* Like invokeMethod's, a returned text, array, date-time or path belongs to the caller. */
    CMPIData (*getProperty)(CMCIClient* mb, CMPIObjectPath* op, const char* name, CMPIStatus* rc);
} CMCIClientFT;

struct _CMCIClient
{
    void* hdl; /* a CMCIClientData */
    CMCIClientFT* ft;
};

/*
 * Makes a client. Nothing is contacted yet, save for the local object manager. NULL stands for:
 * host "localhost"; scheme "http" ("https" is the other); port 5988, or 5989 for https; user: no
 * authentication; an empty password.
 *
 * A port that begins with '/' is the path of a Unix socket on which the object manager speaks HTTP.
 *
 * The local object manager is meant by the scheme "SfcbLocal", by the host name "SfcbLocal" without
 * a scheme, and always if the environment variable SFCC_CLIENT says "SfcbLocal": CIM-XML at
 * 127.0.0.1 and the port given, without TLS. (cimgate_local.h directs it elsewhere.) Where nothing
 * listens there, connecting fails at once.
 *
 * Returns the client, or NULL and a status: CMPI_RC_ERR_FAILED for a local object manager that is
 * away, for an unknown scheme or a port that is none. The message of a failed connect is valid
 * until the thread's next failed one; it need not be released, and releasing it does nothing.
 */
CMCIClient* cmciConnect(const char* hn, const char* scheme, const char* port, const char* user,
                        const char* pwd, CMPIStatus* rc);

/*
 * The same with TLS: CMCI_VERIFY_PEER checks the peer's certificate and name against `trustStore`
 * (a PEM file; NULL: the system's); `certFile` and `keyFile` (PEM) are the client's own, NULL for
 * none.
 */
CMCIClient* cmciConnect2(const char* hn, const char* scheme, const char* port, const char* user,
                         const char* pwd, int verifyMode, const char* trustStore,
                         const char* certFile, const char* keyFile, CMPIStatus* rc);

/* A path without keys. Both names may be NULL. */
CMPIObjectPath* newCMPIObjectPath(const char* nameSpace, const char* className, CMPIStatus* rc);

/* One function under two names; programs refer to the first. */
#define native_new_CMPIObjectPath newCMPIObjectPath

#ifdef __cplusplus
}
#endif

#endif
/* NOLINTEND(readability-identifier-naming,bugprone-reserved-identifier,bugprone-macro-parentheses,modernize-use-using,cppcoreguidelines-pro-type-cstyle-cast)
 */
