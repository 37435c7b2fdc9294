#include "tests/Sync/Host/Engine/FailingSqlite.h"

#include <cstring>

#include <sqlite3.h>

namespace kt::test {

namespace {

int accessToFail = -1;
int accesses = 0;
sqlite3_vfs* realLayer = nullptr;

bool fails() { return accesses++ == accessToFail; }

// A file of this layer; the real one's follows it in memory.
struct File {
    sqlite3_file base;
};

sqlite3_file* real(sqlite3_file* file)
{
    return reinterpret_cast<sqlite3_file*>(reinterpret_cast<File*>(file) + 1);
}

int closeFile(sqlite3_file* file)
{
    return real(file)->pMethods == nullptr ? SQLITE_OK : real(file)->pMethods->xClose(real(file));
}

int readFile(sqlite3_file* file, void* bytes, int count, sqlite3_int64 offset)
{
    return fails() ? SQLITE_IOERR_READ
                   : real(file)->pMethods->xRead(real(file), bytes, count, offset);
}

int writeFile(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset)
{
    return fails() ? SQLITE_IOERR_WRITE
                   : real(file)->pMethods->xWrite(real(file), bytes, count, offset);
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size)
{
    return fails() ? SQLITE_IOERR_TRUNCATE : real(file)->pMethods->xTruncate(real(file), size);
}

// No test cuts the power, so nothing has to reach the disk.
int syncFile(sqlite3_file*, int) { return fails() ? SQLITE_IOERR_FSYNC : SQLITE_OK; }

int fileSize(sqlite3_file* file, sqlite3_int64* size)
{
    return fails() ? SQLITE_IOERR_FSTAT : real(file)->pMethods->xFileSize(real(file), size);
}

int lockFile(sqlite3_file* file, int kind)
{
    return fails() ? SQLITE_IOERR_LOCK : real(file)->pMethods->xLock(real(file), kind);
}

int unlockFile(sqlite3_file* file, int kind)
{
    return real(file)->pMethods->xUnlock(real(file), kind);
}

int isReserved(sqlite3_file* file, int* result)
{
    return real(file)->pMethods->xCheckReservedLock(real(file), result);
}

int controlFile(sqlite3_file* file, int operation, void* argument)
{
    return real(file)->pMethods->xFileControl(real(file), operation, argument);
}

int sectorSize(sqlite3_file* file) { return real(file)->pMethods->xSectorSize(real(file)); }

int characteristics(sqlite3_file* file)
{
    return real(file)->pMethods->xDeviceCharacteristics(real(file));
}

// Version 1: neither shared memory nor mapped files.
const sqlite3_io_methods* methods()
{
    static const sqlite3_io_methods made = [] {
        sqlite3_io_methods all;
        std::memset(&all, 0, sizeof all);
        all.iVersion = 1;
        all.xClose = closeFile;
        all.xRead = readFile;
        all.xWrite = writeFile;
        all.xTruncate = truncateFile;
        all.xSync = syncFile;
        all.xFileSize = fileSize;
        all.xLock = lockFile;
        all.xUnlock = unlockFile;
        all.xCheckReservedLock = isReserved;
        all.xFileControl = controlFile;
        all.xSectorSize = sectorSize;
        all.xDeviceCharacteristics = characteristics;
        return all;
    }();
    return &made;
}

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* flagsOut)
{
    file->pMethods = nullptr;
    real(file)->pMethods = nullptr;
    if (fails())
        return SQLITE_CANTOPEN;
    const int result = realLayer->xOpen(realLayer, name, real(file), flags, flagsOut);
    // SQLite closes a file that failed to open if, and only if, it has methods.
    if (real(file)->pMethods != nullptr)
        file->pMethods = methods();
    return result;
}

int deleteFile(sqlite3_vfs*, const char* name, int)
{
    return fails() ? SQLITE_IOERR_DELETE : realLayer->xDelete(realLayer, name, 0);
}

int hasAccess(sqlite3_vfs*, const char* name, int flags, int* result)
{
    return fails() ? SQLITE_IOERR_ACCESS : realLayer->xAccess(realLayer, name, flags, result);
}

int fullPath(sqlite3_vfs*, const char* name, int size, char* path)
{
    return realLayer->xFullPathname(realLayer, name, size, path);
}

sqlite3_vfs layer;

}  // namespace

FailingSqlite::FailingSqlite()
{
    failAt(-1);
    realLayer = sqlite3_vfs_find(nullptr);
    layer = *realLayer;
    layer.iVersion = 2;
    layer.zName = "failing";
    layer.szOsFile = static_cast<int>(sizeof(File)) + realLayer->szOsFile;
    layer.pNext = nullptr;
    layer.xOpen = openFile;
    layer.xDelete = deleteFile;
    layer.xAccess = hasAccess;
    layer.xFullPathname = fullPath;
    sqlite3_vfs_register(&layer, 1);
}

FailingSqlite::~FailingSqlite()
{
    sqlite3_vfs_unregister(&layer);
    sqlite3_vfs_register(realLayer, 1);
}

void FailingSqlite::failAt(int access)
{
    accesses = 0;
    accessToFail = access;
}

bool FailingSqlite::hasFailed() { return accessToFail >= 0 && accesses > accessToFail; }

}  // namespace kt::test
