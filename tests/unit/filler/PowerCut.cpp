#include "PowerCut.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <new>

namespace {

// What SQLite has of an open file; the real one's lies behind it.
struct CutFile
{
    sqlite3_file base;
    PowerCutFileSystem* system;
    std::string* name;
    sqlite3_file* real;
};

CutFile& cut(sqlite3_file* file)
{
    return *reinterpret_cast<CutFile*>(file);
}

sqlite3_file* real(sqlite3_file* file)
{
    return cut(file).real;
}

void tellBefore(sqlite3_file* file)
{
    if (cut(file).system->beforeWrite) {
        cut(file).system->beforeWrite();
    }
}

int closeFile(sqlite3_file* file)
{
    const int result = real(file)->pMethods->xClose(real(file));
    delete cut(file).name;
    return result;
}

int readFile(sqlite3_file* file, void* to, int bytes, sqlite3_int64 offset)
{
    return real(file)->pMethods->xRead(real(file), to, bytes, offset);
}

int writeFile(sqlite3_file* file, const void* from, int bytes, sqlite3_int64 offset)
{
    tellBefore(file);
    cut(file).system->noteWrite(
        *cut(file).name, static_cast<size_t>(offset),
        std::string(static_cast<const char*>(from), static_cast<size_t>(bytes)));
    return real(file)->pMethods->xWrite(real(file), from, bytes, offset);
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size)
{
    tellBefore(file);
    cut(file).system->noteTruncate(*cut(file).name, static_cast<size_t>(size));
    return real(file)->pMethods->xTruncate(real(file), size);
}

int syncFile(sqlite3_file* file, int flags)
{
    tellBefore(file);
    cut(file).system->noteSync(*cut(file).name);
    return real(file)->pMethods->xSync(real(file), flags);
}

int sizeOfFile(sqlite3_file* file, sqlite3_int64* size)
{
    return real(file)->pMethods->xFileSize(real(file), size);
}

int lockFile(sqlite3_file* file, int lock)
{
    return real(file)->pMethods->xLock(real(file), lock);
}

int unlockFile(sqlite3_file* file, int lock)
{
    return real(file)->pMethods->xUnlock(real(file), lock);
}

int checkLock(sqlite3_file* file, int* isReserved)
{
    return real(file)->pMethods->xCheckReservedLock(real(file), isReserved);
}

int controlFile(sqlite3_file* file, int operation, void* argument)
{
    return real(file)->pMethods->xFileControl(real(file), operation, argument);
}

int sectorSize(sqlite3_file* file)
{
    return real(file)->pMethods->xSectorSize(real(file));
}

// Nothing that a disk promises is relied upon.
int noCharacteristics(sqlite3_file*)
{
    return 0;
}

int mapShared(sqlite3_file* file, int page, int size, int isExtended, void volatile** memory)
{
    return real(file)->pMethods->xShmMap(real(file), page, size, isExtended, memory);
}

int lockShared(sqlite3_file* file, int offset, int count, int flags)
{
    return real(file)->pMethods->xShmLock(real(file), offset, count, flags);
}

void barrierShared(sqlite3_file* file)
{
    real(file)->pMethods->xShmBarrier(real(file));
}

int unmapShared(sqlite3_file* file, int isDeleted)
{
    return real(file)->pMethods->xShmUnmap(real(file), isDeleted);
}

constexpr sqlite3_io_methods kMethods = {2,
                                         closeFile,
                                         readFile,
                                         writeFile,
                                         truncateFile,
                                         syncFile,
                                         sizeOfFile,
                                         lockFile,
                                         unlockFile,
                                         checkLock,
                                         controlFile,
                                         sectorSize,
                                         noCharacteristics,
                                         mapShared,
                                         lockShared,
                                         barrierShared,
                                         unmapShared,
                                         nullptr,
                                         nullptr};

PowerCutFileSystem& systemOf(sqlite3_vfs* vfs)
{
    return *static_cast<PowerCutFileSystem*>(vfs->pAppData);
}

int openFile(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* outFlags)
{
    PowerCutFileSystem& system = systemOf(vfs);
    auto* const opened = new (file) CutFile{};
    opened->real = reinterpret_cast<sqlite3_file*>(opened + 1);
    opened->system = &system;
    const int result = system.real()->xOpen(system.real(), name, opened->real, flags, outFlags);
    if (result == SQLITE_OK) {
        opened->name = new std::string(name == nullptr ? "" : name);
        opened->base.pMethods = &kMethods;
        system.noteOpen(*opened->name);
    }
    return result;
}

int deleteFile(sqlite3_vfs* vfs, const char* name, int isDirectorySynced)
{
    systemOf(vfs).noteDelete(name);
    return systemOf(vfs).real()->xDelete(systemOf(vfs).real(), name, isDirectorySynced);
}

} // namespace

PowerCutFileSystem::PowerCutFileSystem() : mReal(sqlite3_vfs_find(nullptr)), mVfs(*mReal)
{
    mVfs.zName = "power-cut";
    mVfs.pNext = nullptr;
    mVfs.szOsFile = mReal->szOsFile + static_cast<int>(sizeof(CutFile));
    mVfs.pAppData = this;
    mVfs.xOpen = openFile;
    mVfs.xDelete = deleteFile;
    sqlite3_vfs_register(&mVfs, 1);
}

PowerCutFileSystem::~PowerCutFileSystem()
{
    sqlite3_vfs_unregister(&mVfs);
    sqlite3_vfs_register(mReal, 1);
}

void PowerCutFileSystem::noteOpen(const std::string& name)
{
    if (!mFiles.contains(name)) {
        std::ifstream in(name, std::ios::binary);
        mFiles[name].synced.assign(std::istreambuf_iterator<char>(in), {});
    }
}

void PowerCutFileSystem::noteWrite(const std::string& name, size_t offset, const std::string& bytes)
{
    mFiles[name].pending.push_back({false, offset, bytes});
}

void PowerCutFileSystem::noteTruncate(const std::string& name, size_t size)
{
    mFiles[name].pending.push_back({true, size, ""});
}

void PowerCutFileSystem::noteSync(const std::string& name)
{
    File& file = mFiles[name];
    for (const Change& change : file.pending) {
        apply(file.synced, change);
    }
    file.pending.clear();
}

void PowerCutFileSystem::apply(std::string& content, const Change& change)
{
    if (change.isTruncation) {
        content.resize(change.offset);
        return;
    }
    content.resize(std::max(content.size(), change.offset + change.bytes.size()));
    content.replace(change.offset, change.bytes.size(), change.bytes);
}

std::map<std::string, std::string> PowerCutFileSystem::afterCut(std::minstd_rand& random) const
{
    std::map<std::string, std::string> contents;
    for (const auto& [name, file] : mFiles) {
        std::string& content = contents[name];
        content = file.synced;
        for (const Change& change : file.pending) {
            if (random() % 2 == 0) {
                apply(content, change);
            }
        }
    }
    return contents;
}
