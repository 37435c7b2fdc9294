#include "Sync/Host/Services/SuiteFolder.h"

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/HostInterface/StorePaths.h"

namespace kt {

SuiteFolder::SuiteFolder(std::string_view home) : _path(StorePaths(std::string(home)).suiteFolder())
{}

std::string SuiteFolder::pathOf(std::string_view name) const
{
    return stringByAppendingPathComponent(_path, name);
}

void SuiteFolder::create() const
{
    createPath(_path);
    if (isDirectoryAtPath(_path))
        return;
    throw Exception(NSGenericException,
                    stringWithFormat("Der Ordner \"%@\" kann nicht angelegt werden.", _path));
}

}  // namespace kt
