#include "Sync/Host/Services/BackupFolder.h"

#include <functional>
#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"

namespace kt {

namespace {

using FileVisitor = std::function<void(const std::string& name, const FileStatus& status)>;

/// Every file below the folder, by its path in it.
void forEachFile(const std::string& folder, const FileVisitor& visit)
{
    const FileManager& files = FileManager::defaultManager();
    std::vector<std::string> pending = files.directoryContentsAtPath(folder);
    while (!pending.empty()) {
        const std::string name = std::move(pending.back());
        pending.pop_back();
        const std::string path = stringByAppendingPathComponent(folder, name);
        const auto status = files.linkStatusAtPath(path);
        if (!status)
            continue;
        if (status->kind == FileStatus::Kind::file)
            visit(name, *status);
        if (status->kind == FileStatus::Kind::directory)
            for (const std::string& inner : files.directoryContentsAtPath(path))
                pending.push_back(stringByAppendingPathComponent(name, inner));
    }
}

[[noreturn]] void failed(std::string_view format, const std::string& text)
{
    throw Exception(NSGenericException, stringWithFormat(format, text));
}

}  // namespace

BackupFacts factsOfFolder(const std::string& folder)
{
    BackupCensus census;
    forEachFile(folder, [&](const std::string& name, const FileStatus&) {
        if (BackupCensus::counts(name))
            census.add(name, FileManager::defaultManager()
                                 .contentsAtPath(stringByAppendingPathComponent(folder, name))
                                 .value_or(""));
    });
    BackupFacts facts;
    facts.calendars = census.calendars();
    return facts;
}

std::uint64_t sizeOfFolder(const std::string& folder)
{
    std::uint64_t size = 0;
    forEachFile(folder, [&](const std::string&, const FileStatus& status) { size += status.size; });
    return size;
}

void copyBackupFolder(const std::string& folder, const std::string& shownName,
                      const std::vector<BackupArchiveReader::Root>& roots)
{
    FileManager& files = FileManager::defaultManager();
    bool holdsAny = false;
    for (const BackupArchiveReader::Root& root : roots) {
        const std::string copy = stringByAppendingPathComponent(folder, root.name);
        if (!files.linkStatusAtPath(copy))
            continue;
        holdsAny = true;
        if (!files.copyPath(copy, root.destination))
            failed("Die Sicherungskopie \"%@\" kann nicht ausgepackt werden.", shownName);
    }
    if (!holdsAny)
        failed("In der Sicherungskopie \"%@\" steht kein Kalenderbestand dieser Ablage.",
               shownName);
}

}  // namespace kt
