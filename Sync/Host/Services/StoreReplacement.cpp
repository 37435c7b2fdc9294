#include "Sync/Host/Services/StoreReplacement.h"

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"

namespace kt {

namespace {

bool isThere(const std::string& path)
{
    return FileManager::defaultManager().linkStatusAtPath(path).has_value();
}

[[noreturn]] void failed(const std::string& path)
{
    throw Exception(
        NSGenericException,
        stringWithFormat("\"%@\" konnte nicht aus der Sicherungskopie zurückgeholt werden.", path));
}

bool replace(const Replacement& replacement)
{
    FileManager& files = FileManager::defaultManager();
    const std::string outgoing = pathWhileReplaced(replacement.place);
    createPath(stringByDeletingLastPathComponent(replacement.place));
    if (isThere(replacement.place) && !files.movePath(replacement.place, outgoing))
        return false;
    if (files.movePath(replacement.incoming, replacement.place))
        return true;
    if (isThere(outgoing))
        files.movePath(outgoing, replacement.place);
    return false;
}

void undo(const Replacement& replacement)
{
    FileManager& files = FileManager::defaultManager();
    const std::string outgoing = pathWhileReplaced(replacement.place);
    files.movePath(replacement.place, replacement.incoming);
    if (isThere(outgoing))
        files.movePath(outgoing, replacement.place);
}

}  // namespace

std::string pathWhileReplaced(const std::string& path)
{
    return stringByAppendingPathComponent(stringByDeletingLastPathComponent(path),
                                          "." + lastPathComponent(path) + ".ersetzt");
}

void finishKilledReplacement(const std::string& path)
{
    FileManager& files = FileManager::defaultManager();
    const std::string outgoing = pathWhileReplaced(path);
    if (!isThere(outgoing))
        return;
    if (isThere(path))
        files.removeFileAtPath(outgoing);
    else
        files.movePath(outgoing, path);
}

void replaceAll(const std::vector<Replacement>& replacements)
{
    FileManager& files = FileManager::defaultManager();
    for (const Replacement& replacement : replacements) {
        finishKilledReplacement(replacement.place);
        // Whole on disk before anything else leaves its place.
        if (!files.synchronizeFileSystem(replacement.incoming))
            failed(replacement.place);
    }
    for (std::size_t index = 0; index < replacements.size(); ++index) {
        if (replace(replacements[index]))
            continue;
        for (std::size_t done = index; done > 0; --done)
            undo(replacements[done - 1]);
        failed(replacements[index].place);
    }
    for (const Replacement& replacement : replacements) {
        files.synchronizeFileSystem(replacement.place);
        files.removeFileAtPath(pathWhileReplaced(replacement.place));
    }
}

}  // namespace kt
