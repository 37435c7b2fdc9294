#include "Sync/Host/Services/UnpackedBackup.h"

#include "Sync/Foundation/FileManager.h"

namespace kt {

UnpackedBackup::Root rootForPath(const std::string& named)
{
    const std::string path = realPath(named);
    return {path, stringByAppendingPathComponent(stringByDeletingLastPathComponent(path),
                                                 "." + lastPathComponent(path) + ".zurueckgeholt")};
}

UnpackedBackup::~UnpackedBackup()
{
    for (const Root& root : _roots)
        FileManager::defaultManager().removeFileAtPath(root.aside);
}

void UnpackedBackup::forgetRootsThatAreNotThere()
{
    std::erase_if(_roots, [](const Root& root) {
        return !FileManager::defaultManager().linkStatusAtPath(root.aside);
    });
}

std::vector<Replacement> UnpackedBackup::replacements() const
{
    std::vector<Replacement> all;
    for (const Root& root : _roots)
        all.push_back({root.path, root.aside});
    return all;
}

}  // namespace kt
