#include "Sync/Additions/KTFileManagerAdditions+Copying.h"
#include "Sync/Foundation/FileManager.h"

namespace kt {

bool copyPathWithBackup(const std::string& path, const std::string& toPath,
                        const std::string& backupExtension)
{
    if (toPath.empty())
        return false;  // its backup would be some hidden file in the current folder
    FileManager& fileManager = FileManager::defaultManager();
    const std::string backupPath = stringByAppendingPathExtension(toPath, backupExtension);
    // Neither is checked: mostly because there was nothing to remove or to move.
    fileManager.removeFileAtPath(backupPath);
    fileManager.movePath(toPath, backupPath);
    return fileManager.copyPath(path, toPath);
}

}  // namespace kt
