#include "Sync/Host/Services/StoreBackups.h"

#include <algorithm>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileDescriptor.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Services/BackupArchiveReader.h"
#include "Sync/Host/Services/BackupArchiveWriter.h"
#include "Sync/Host/Services/BackupFolder.h"
#include "Sync/Host/Services/StoreFingerprint.h"

namespace kt {

namespace {

constexpr std::size_t kKept = 10;
constexpr std::string_view kUnfinished = ".unfertig-";
constexpr std::string_view kFactsExtension = ".plist";
constexpr std::string_view kLast = "letzte";

bool holdsSomething(const std::string& path)
{
    const FileManager& files = FileManager::defaultManager();
    return files.linkStatusAtPath(path) &&
           (!files.isDirectory(path) || !files.directoryContentsAtPath(path).empty());
}

[[noreturn]] void failed(std::string_view format, std::string_view text)
{
    throw Exception(NSGenericException, stringWithFormat(format, text));
}

bool isReadable(const std::string& path)
{
    return FileDescriptor(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC))
        .isOpen();
}

bool synchronizeFolder(const std::string& path)
{
    const FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder.isOpen() && ::fsync(folder.get()) == 0;
}

/// "42" and "000042" both mean the backup of that number.
bool isNumber(std::string_view text, const BackupName& name)
{
    const std::size_t begin = std::min(text.find_first_not_of('0'), text.size());
    return name.isArchive() && text.substr(begin) == std::to_string(name.counter());
}

}  // namespace

StoreBackups::StoreBackups(std::string folder) : _folder(std::move(folder)) {}

std::string StoreBackups::pathOf(const BackupName& name) const
{
    return stringByAppendingPathComponent(_folder, name.entry());
}

std::string StoreBackups::factsPathOf(const BackupName& name) const
{
    return stringByAppendingPathComponent(_folder,
                                          "." + name.text() + std::string(kFactsExtension));
}

std::vector<BackupName> StoreBackups::all() const
{
    std::vector<BackupName> found;
    for (const std::string& entry : FileManager::defaultManager().directoryContentsAtPath(_folder))
        if (auto name = BackupName::ofEntry(entry))
            found.push_back(*std::move(name));
    std::sort(found.begin(), found.end());
    return found;
}

std::vector<std::string> StoreBackups::names() const
{
    std::vector<std::string> texts;
    for (const BackupName& name : all())
        texts.push_back(name.text());
    return texts;
}

BackupName StoreBackups::named(std::string_view text) const
{
    const std::vector<BackupName> backups = all();
    if (text == kLast && !backups.empty())
        return backups.back();
    std::vector<BackupName> found;
    for (const BackupName& name : backups) {
        if (text == name.text() || text == name.entry() || isNumber(text, name))
            return name;
        if (!text.empty() && name.text().starts_with(text))
            found.push_back(name);
    }
    if (found.empty())
        failed("Es gibt keine Sicherungskopie \"%@\".", text);
    if (found.size() > 1)
        failed("Mehrere Sicherungskopien beginnen mit \"%@\".", text);
    return found.front();
}

std::optional<BackupName> StoreBackups::known(const std::string& name) const
{
    const std::vector<BackupName> backups = all();
    const auto found = std::find_if(backups.begin(), backups.end(),
                                    [&](const BackupName& other) { return other.text() == name; });
    return found == backups.end() ? std::nullopt : std::optional(*found);
}

std::optional<StoreBackups::Copy> StoreBackups::make(const std::vector<std::string>& paths,
                                                     const Pause& pause) const
{
    if (std::none_of(paths.begin(), paths.end(), holdsSomething))
        return std::nullopt;
    // Before anything is read: what changes meanwhile makes the next run save it again.
    const std::string fingerprint = fingerprintOfFiles(paths);
    auto last = lastOne(fingerprint);
    Copy copy = last ? *std::move(last) : makeArchive(paths, fingerprint, pause);
    copy.fingerprint = fingerprint;
    return copy;
}

std::optional<StoreBackups::Copy> StoreBackups::lastOne(const std::string& fingerprint) const
{
    const std::vector<BackupName> backups = all();
    if (backups.empty() || !backups.back().isArchive())
        return std::nullopt;
    const BackupName& last = backups.back();
    const auto facts = factsBeside(last);
    if (!facts || facts->fingerprint != fingerprint || size(last) != facts->archiveSize)
        return std::nullopt;
    // What could not be saved then may be there to be saved now.
    if (std::any_of(facts->unreadable.begin(), facts->unreadable.end(), isReadable))
        return std::nullopt;
    return Copy{last.text(), facts->unreadable, false};
}

StoreBackups::Copy StoreBackups::makeArchive(const std::vector<std::string>& paths,
                                             const std::string& fingerprint,
                                             const Pause& pause) const
{
    FileManager& files = FileManager::defaultManager();
    const std::vector<BackupName> earlier = all();
    const BackupName name = BackupName::next(earlier.empty() ? 0 : earlier.back().counter(),
                                             Platform::shared().now(), earlier.empty());
    const std::string unfinished =
        stringByAppendingPathComponent(_folder, std::string(kUnfinished) + name.entry());
    createPath(_folder);
    files.removeFileAtPath(unfinished);  // of a run that was killed

    BackupArchiveWriter writer(unfinished, pathOf(name), pause);
    for (const std::string& path : paths)
        if (holdsSomething(path))
            writer.add(realPath(path), lastPathComponent(path));
    const BackupFacts facts = writer.finish(fingerprint);
    const bool isInPlace = files.writeAtomically(bytesOfFacts(facts), factsPathOf(name)) &&
                           files.movePath(unfinished, pathOf(name));
    if (!isInPlace || !synchronizeFolder(_folder)) {
        files.removeFileAtPath(isInPlace ? pathOf(name) : unfinished);
        files.removeFileAtPath(factsPathOf(name));
        failed("Die Sicherungskopie \"%@\" kann nicht angelegt werden.", pathOf(name));
    }
    return Copy{name.text(), facts.unreadable, true};
}

void StoreBackups::prune(const std::optional<std::string>& kept) const
{
    removeLeftovers();
    std::vector<BackupName> old = all();
    std::erase_if(old, [](const BackupName& name) { return name.isFirst(); });
    if (old.size() <= kKept)
        return;
    old.erase(old.end() - kKept, old.end());
    for (const BackupName& name : old)
        if (name.text() != kept)
            remove(name);
}

void StoreBackups::remove(const BackupName& name) const
{
    FileManager& files = FileManager::defaultManager();
    if (files.removeFileAtPath(pathOf(name)) && name.isArchive())
        files.removeFileAtPath(factsPathOf(name));
}

/// Of runs that were killed, and of backups that somebody else removed.
void StoreBackups::removeLeftovers() const
{
    FileManager& files = FileManager::defaultManager();
    for (const std::string& entry : files.directoryContentsAtPath(_folder)) {
        const bool isFacts = entry.starts_with('.') && entry.ends_with(kFactsExtension);
        const bool isOrphaned =
            isFacts && !known(entry.substr(1, entry.size() - 1 - kFactsExtension.size()));
        if (entry.starts_with(kUnfinished) || isOrphaned)
            files.removeFileAtPath(stringByAppendingPathComponent(_folder, entry));
    }
}

std::optional<BackupFacts> StoreBackups::factsBeside(const BackupName& name) const
{
    const auto bytes = FileManager::defaultManager().contentsAtPath(factsPathOf(name));
    return bytes ? factsInBytes(*bytes) : std::nullopt;
}

BackupFacts StoreBackups::facts(const BackupName& name) const
{
    if (!name.isArchive())
        return factsOfFolder(pathOf(name));
    if (auto facts = factsBeside(name))
        return *std::move(facts);
    return BackupArchiveReader(pathOf(name), name.text()).facts();
}

std::uint64_t StoreBackups::size(const BackupName& name) const
{
    if (!name.isArchive())
        return sizeOfFolder(pathOf(name));
    const auto status = FileManager::defaultManager().linkStatusAtPath(pathOf(name));
    return status ? status->size : 0;
}

std::unique_ptr<UnpackedBackup> StoreBackups::unpack(const std::string& name,
                                                     const std::vector<std::string>& paths,
                                                     const Picks& picks) const
{
    const auto backup = known(name);
    if (!backup)
        failed("Es gibt keine Sicherungskopie \"%@\".", name);
    std::vector<UnpackedBackup::Root> roots;
    for (const std::string& path : paths)
        roots.push_back(rootForPath(path));
    std::vector<BackupArchiveReader::Root> members;
    for (std::size_t index = 0; index < paths.size(); ++index)
        members.push_back({lastPathComponent(paths[index]), roots[index].aside, roots[index].path});

    FileManager& files = FileManager::defaultManager();
    for (const UnpackedBackup::Root& root : roots) {
        finishKilledReplacement(root.path);
        files.removeFileAtPath(root.aside);
        createPath(stringByDeletingLastPathComponent(root.path));
    }
    auto unpacked = std::make_unique<UnpackedBackup>(std::move(roots));
    if (backup->isArchive()) {
        const Picks all = [](const std::string&) { return true; };
        BackupArchiveReader(pathOf(*backup), name).unpack(std::move(members), picks ? picks : all);
    } else {
        copyBackupFolder(pathOf(*backup), name, members);
    }
    unpacked->forgetRootsThatAreNotThere();
    return unpacked;
}

void StoreBackups::restore(const std::string& name, const std::vector<std::string>& paths) const
{
    replaceAll(unpack(name, paths)->replacements());
}

}  // namespace kt
