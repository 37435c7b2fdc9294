#include "Sync/PlugIns/iCal/Calendar/EmptyFolder.h"

#include <algorithm>

#include "Sync/Additions/KTStringAdditions.h"
#include "Sync/Foundation/FileManager.h"

namespace kt {

bool isEmptyFolder(const std::string& path)
{
    const FileManager& files = FileManager::defaultManager();
    const auto status = files.linkStatusAtPath(path);
    if (!status || status->kind != FileStatus::Kind::directory)
        return false;
    const auto names = files.listDirectory(path);
    return names && std::all_of(names->begin(), names->end(), [&](const std::string& name) {
               return name.starts_with('.') ||
                      isEmptyFolder(stringByAppendingPathComponent(path, name));
           });
}

}  // namespace kt
