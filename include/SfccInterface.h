// The library's connection to the local CIM object manager.
//
// The host makes one session, and every ResourceMapper is handed it. A session connects once and
// has no way to reconnect: when reads fail and the object manager may have been restarted, the host
// replaces it by another.
//
// Threads: a session has no lock. It belongs to one thread at a time, as does everything that it
// hands out. The CIM client may write to a socket that the object manager has closed: the process
// should ignore SIGPIPE.
//
// Operations return the CIM status (CMPIrc, 0 is success) unless they say otherwise. A failure is
// logged at level 1 with the status and its message, "(null)" where there is none and always for
// GetNextInstance(); the message itself is released here, but for that of Connect(), whose client
// is gone by then. Broken invariants log "Assertion '...' failed" at level 1 and abort the process.
// No operation throws.
#ifndef SFCC_INTERFACE_H_
#define SFCC_INTERFACE_H_

#include "CimgateExport.h"

#include <CimClientLib/cmci.h>
#include <json/json.h>

#include <string>

class CIMGATE_EXPORT SfccSession
{
public:
    // user  whom the object manager is told is asking; no password goes with it.
    explicit SfccSession(const std::string& user);
    // Releases the connection. What came over it must have been released before.
    ~SfccSession();
    SfccSession(const SfccSession&) = delete;
    SfccSession& operator=(const SfccSession&) = delete;

    // Connects to the local object manager ("SfcbLocal", port 5988); does nothing when there is a
    // connection. After a failure the client gives none as a rule, and the next call tries again.
    int Connect();

    // Opens an enumeration of className's instances: all of them, or with a query (a CQL SELECT)
    // those that it selects; an object manager that does not know the language as "CQL" is asked
    // once whether it takes "DMTF:CQL" or "WQL", which read such a query too. The caller releases
    // *out before the session's end, a failed call's too, unless it is null. Aborts without a
    // connection, on a null out, and on an empty class.
    int GetEnumerationHandle(CMPIEnumeration** out, const std::string& className,
                             const std::string& nameSpace, const std::string& query);

    // Fetches one instance. keys is an object of key name and value (or null: no key); all values
    // are handed over as strings; the client gives them their declared types. The caller releases
    // *out, which is null after a failure. Aborts without a connection and on a null class.
    int GetInstance(CMPIInstance** out, const Json::Value& keys, const char* className,
                    const std::string& nameSpace);

    // Takes the next element of an enumeration; the element belongs to the enumeration. Returns 1,
    // or 0 with data unchanged at the end and where the enumeration fails to tell. Aborts without a
    // connection and on a null enumeration.
    int GetNextInstance(CMPIEnumeration* e, CMPIData& data);

    // Adds an instance's keys to the object keys, as strings: what GetInstance() takes. A key that
    // is no string is logged and reads as "". Aborts on a null instance, one without keys, and a
    // key without a name.
    int GetObjectByPath(CMPIInstance* ci, Json::Value& keys);

    // The number of instances of an enumeration, wherever it stands; no status. Aborts on null.
    int GetInstanceCount(CMPIEnumeration* e) const;

    // Calls a method of the instance that path names and stores its return value in result; what
    // that value holds becomes the caller's to release. path, in and out stay the caller's. Aborts
    // without a connection.
    int InvokeMethod(CMPIData& result, const std::string& methodName, CMPIObjectPath* path,
                     CMPIArgs* in, CMPIArgs* out);

    // A scalar as text: "" for null; booleans as 1 and 0; integers as unsigned numbers of 64 bits
    // (-1 is 18446744073709551615); reals with six significant digits. Arrays and objects are
    // logged and give "".
    std::string JsonValtoString(Json::Value& v);

private:
    std::string mUser;
    CMCIClient* mClient; // null until connected
    const char* mQueryLanguage =
        nullptr; // as the object manager calls it; null until it refuses "CQL"
};

#endif
