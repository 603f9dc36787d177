// One refresh of a class and its links: asked for first, then written in one transaction, so that
// readers see what was before or what is now.
#ifndef FILLER_CLASS_REFRESH_H_
#define FILLER_CLASS_REFRESH_H_

#include "cache_file.h"
#include "losses.h"
#include "object_manager.h"
#include "plan.h"

#include <map>
#include <string>
#include <vector>

namespace filler {

class ClassRefresh
{
public:
    struct Outcome
    {
        int64_t rows = 0;
        size_t changed = 0; // rows that were written, those of links too
        std::vector<std::string> losses;
    };

    // All three outlive it.
    ClassRefresh(CacheFile& file, ObjectManager& manager, const Plan& plan)
        : mFile(file), mManager(manager), mPlan(plan)
    {}

    // Throws CimError or DatabaseError; the file is as before then.
    Outcome run(const WantedClass& wanted);
    // Asks for the declarations of classes anew: the object manager may be another one now.
    void forgetDeclarations() { mDeclarations.clear(); }

private:
    struct Links
    {
        std::string association;
        Instances instances;
    };

    const Declaration& declarationOf(const std::string& cimClass);
    Instances ask(const WantedClass& wanted);
    std::vector<Links> askLinks(const WantedClass& wanted);
    void noteMissing(const WantedClass& wanted, const std::vector<bool>& known, Losses& losses);
    bool wantsIntegerKey(const WantedClass& wanted);
    void writeRows(const WantedClass& wanted, Instances& instances, Losses& losses,
                   Outcome& outcome);
    void writeLinks(Links& links, Losses& losses, Outcome& outcome);
    std::vector<std::string> referencesOf(const std::string& association, CMPIInstance* instance);
    std::string keyOf(CMPIObjectPath* path, const std::string& cimClass) const;

    CacheFile& mFile;
    ObjectManager& mManager;
    const Plan& mPlan;
    std::map<std::string, Declaration> mDeclarations; // asked for once
};

} // namespace filler

#endif
