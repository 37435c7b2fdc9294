#include "Sync/Additions/KTFileManagerAdditions.h"

#include "Sync/Additions/KTFileManagerAdditions+Attributes.h"
#include "Sync/Foundation/FileManager.h"

namespace kt {

bool isDirectoryAtPath(const std::string& path)
{
    return FileManager::defaultManager().isDirectory(path);
}

bool createPath(const std::string& path) { return createPath(path, {}); }

}  // namespace kt
