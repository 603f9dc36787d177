// Read access to the data cache: the SQLite file that another service fills with one table for each
// CIM class, association tables and a readiness table.
//
//   Tbl_<class>      one column for each CIM property, named like it. INTEGER cells hold numbers,
//                    booleans (1 is true) and date-times (microseconds since the Unix epoch), TEXT
//                    cells strings and value-map codes, BLOB cells arrays (__blobData), NULL no
//                    value. A REAL cell means a corrupt cache and aborts the process.
//   Tbl_<assoc>      __LeftClass, __LeftClassKey, __RightClass, __RightClassKey, all TEXT.
//   Tbl_CMPIReady    ClassName: one row for each class that is completely loaded, compared without
//                    regard to case.
//
// Threads: the one connection is shared by all threads; SQLite serialises it. SQLInterface has no
// data of its own. A statement is used by one thread.
#ifndef SQL_INTERFACE_H_
#define SQL_INTERFACE_H_

#include "CimgateExport.h"

#include <json/json.h>

#include <cstdint>
#include <optional>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

// An array property as the cache stores it, in the platform's byte order (little-endian on the
// controller). The cell ends with the data; the copy handed around is NUL-terminated.
struct __blobData
{
    int32_t type;  // 1: strings; anything else: integers, booleans or date-times
    int32_t count; // number of elements
    char data[1];  // elements as text, joined by "#\u2591#" (bytes 23 E2 96 91 23)
};

// Opens the data cache read-only for the whole process, with a busy timeout of 10 s. To be called
// once, before the first read. A cache that cannot be opened ends the process with exit status 1,
// after a line at level 1. Returns SQLite's result of setting the timeout, 0.
CIMGATE_EXPORT int LoadDatabase();

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): one connection for the process
// The connection; null until LoadDatabase(). A host may put a transaction around what it reads
// ("BEGIN" ... "COMMIT"), so that all of an answer is of one state of the cache, and ask it what
// went wrong.
extern CIMGATE_EXPORT sqlite3* dbhandle;
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

class CIMGATE_EXPORT SQLInterface
{
public:
    // NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): one cache for the process
    // The data cache file, by default "/var/run/cmpidatacache/CMPI_DataCache.db". A development
    // host or a test may set it before LoadDatabase().
    static std::string DataCachePath;
    // NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

    // Lets some statements of reads by key and of counts stay prepared for the reads that follow.
    // schemaVersion is that of the state that is read (PRAGMA schema_version), to be told at the
    // beginning of each transaction: what stays fits one schema of one connection. Nothing, as long
    // as this is not called, lets none stay. For processes of which one thread reads; who closes
    // dbhandle does so with sqlite3_close_v2(), or after KeepStatements(std::nullopt).
    static void KeepStatements(std::optional<int> schemaVersion);

    SQLInterface();
    ~SQLInterface();
    SQLInterface(const SQLInterface&) = delete;
    SQLInterface& operator=(const SQLInterface&) = delete;

    // Prepares query and binds bindValue, unless it is empty, as text to its first parameter.
    // Returns the SQLite result of preparing (0 is success; *stmt is then the caller's to
    // finalize), or 1 when stmt is null. The result of binding is not looked at.
    int GetPrepareStatement(std::string query, sqlite3_stmt** stmt, std::string bindValue);

    // Runs "select count(*) from " + tail (a table name, or more) and stores the number in *count.
    // Returns 0, or the SQLite code: 101 (no row, *count is 0), any other with *count unchanged.
    int GetInstanceCount(std::string tail, unsigned int* count);

    // Converts the rows of a prepared, not yet stepped statement; the caller finalizes it.
    //   rmf           the resource's mapping entry.
    //   className     the CIM class whose "properties" describe the columns.
    //   isCollection  true: every row becomes an element of out["Members"], under the properties'
    //                 aliases; without rows out stays as it is. false: the first row becomes out,
    //                 under the column names.
    // An array property P also gives P + "@odata.count". Returns 0, or 1 when a single instance
    // was asked for and no row could be read: whether there is none, or SQLite failed, only
    // dbhandle tells. Aborts on a REAL cell and on an INTEGER cell whose
    // "cim_type" is missing or unknown. The rows of a collection end only where SQLite says so: on
    // a damaged file this call need not end, its caller needs a deadline.
    int SQLToJson(sqlite3_stmt* stmt, Json::Value& out, Json::Value rmf, std::string className,
                  bool isCollection);

    // Converts the text of an INTEGER cell by the property's "cim_type" and stores it in out[prop]:
    // uint64 and sint64 (any case), sint*, uint* (lower case), boolean, datetime (any case; local
    // time, "2024-05-01T10:20:30+0000"). Any other type aborts.
    void PopulateSQLIntegerValues(std::string prop, Json::Value& rmf, std::string className,
                                  std::string value, Json::Value& out);

    // Appends the elements of blob to array as strings, each replaced by its entry in valueMap
    // where there is one. Every byte of the separator splits on its own, so an element cannot
    // contain "#"; at most count elements are taken. blob->data must be NUL-terminated and is
    // overwritten.
    void BlobValueUpdate(__blobData* blob, Json::Value& array, Json::Value valueMap);

    // Fills links with the "Links" of one instance, id being its key:
    //   "ComputerSystem" is copied from the entry; "VexoPSNumericSensorCollection" and
    //   "VexoPowerSupplyCollection" are derived from id; the others come from the association
    //   tables built in for them, as [{"@odata.id": "..."}, ...]. Names without one are skipped.
    // A missing association table never ends this call: its caller needs a deadline.
    void getLinksFromAssociation(Json::Value resource, Json::Value& links, std::string id);
};

#endif
