// A file system that loses what was not synced: SQLite's own, with a note of each write.
#ifndef TESTS_UNIT_FILLER_POWER_CUT_H_
#define TESTS_UNIT_FILLER_POWER_CUT_H_

#include <sqlite3.h>

#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

// What is opened while it lives goes through it: it is SQLite's default.
class PowerCutFileSystem
{
public:
    PowerCutFileSystem();
    ~PowerCutFileSystem();
    PowerCutFileSystem(const PowerCutFileSystem&) = delete;
    PowerCutFileSystem& operator=(const PowerCutFileSystem&) = delete;

    // Called ahead of each write, truncation and sync.
    std::function<void()> beforeWrite;

    // Name to content, as after a power cut now: what was synced, and of the writes behind that
    // whichever the disk happened to have done.
    std::map<std::string, std::string> afterCut(std::minstd_rand& random) const;

    // For the functions that SQLite calls.
    sqlite3_vfs* real() const { return mReal; }
    void noteOpen(const std::string& name);
    void noteWrite(const std::string& name, size_t offset, const std::string& bytes);
    void noteTruncate(const std::string& name, size_t size);
    void noteSync(const std::string& name);
    void noteDelete(const std::string& name) { mFiles.erase(name); }

private:
    struct Change
    {
        bool isTruncation;
        size_t offset;
        std::string bytes;
    };
    struct File
    {
        std::string synced;
        std::vector<Change> pending;
    };

    static void apply(std::string& content, const Change& change);

    sqlite3_vfs* mReal;
    sqlite3_vfs mVfs;
    std::map<std::string, File> mFiles;
};

#endif
