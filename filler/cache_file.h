// The data cache's file: how it comes to be, what tables it has, which classes are ready.
//
// It is written ahead (WAL), since readers have it open for as long as their process lives and must
// neither wait for a refresh nor meet half of one, also when this process is killed in the middle.
// docs/filling-the-cache.md says what was tried.
#ifndef FILLER_CACHE_FILE_H_
#define FILLER_CACHE_FILE_H_

#include "database.h"
#include "plan.h"

#include <sys/stat.h>

#include <string>
#include <vector>

namespace filler {

// The columns of an association's table, in their order.
const std::vector<std::string>& associationColumns();

class CacheFile
{
public:
    // Opens the file, or makes it with the tables that are always there. Throws DatabaseError where
    // it cannot be used, also where another program has made it.
    explicit CacheFile(const std::string& path);

    Database& database() { return mDatabase; }
    // Whether its path still leads to it; readers that come would find another one, or none.
    bool isInPlace() const;

    // Adds tables, columns and indexes that the plan wants and the file lacks. A class that gets a
    // column, or has cells that the plan's readers must not meet, is not ready until it has been
    // refreshed. No table and no column is ever taken away.
    void prepare(const Plan& plan);

    // Makes the table of a class, which a refresh does in its transaction, where there is none or
    // its columns would change what is stored in them. Returns whether it did.
    bool makeTable(const WantedClass& wanted, bool hasIntegerKey);
    bool hasTable(const std::string& cimClass);
    // Whether texts that are numbers are found in the key column: its cells are integers.
    bool hasIntegerKey(const WantedClass& wanted);
    // Indexes for what containers look up by conditions of their own.
    void indexConditions(const Plan& plan);

    bool isReady(const std::string& cimClass);
    void setReady(const std::string& cimClass);
    void forgetReady(const std::string& cimClass);
    // Those that the table of a class has.
    std::vector<std::string> columnsOf(const std::string& cimClass);
    int64_t rowsOf(const std::string& cimClass);

private:
    void makeLog();
    void makeAssociationTable(const std::string& association);
    bool hasOtherIntegers(const WantedClass& wanted, bool hasIntegerKey);
    bool hasUntypedNumbers(const WantedClass& wanted);
    void addColumns(const WantedClass& wanted);
    void makeKeyIndex(const WantedClass& wanted);
    void makeIndexes(const WantedClass& wanted);
    void makeIndex(const std::string& name, const std::string& what, bool isUnique);
    void indexCondition(const std::string& table, const std::string& condition);

    std::string mPath;
    Database mDatabase;
    struct stat mOpened
    {};
};

// Removes the tables and columns that the plan does not want, and gives their room back. Nobody may
// have the file open. Returns what was removed; throws DatabaseError.
std::vector<std::string> compact(const std::string& path, const Plan& plan);

} // namespace filler

#endif
