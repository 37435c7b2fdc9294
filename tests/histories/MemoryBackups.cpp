#include "tests/histories/MemoryBackups.h"

#include <algorithm>

#include "Sync/Foundation/Exception.h"
#include "Sync/Host/Services/StoreFingerprint.h"

namespace kt::test {

namespace {

constexpr std::size_t kKept = 10;
constexpr const char* kFolder = "/backups";

}  // namespace

std::optional<BackupCopy> MemoryBackups::make(const std::vector<std::string>& paths,
                                              const Pause&) const
{
    const bool holdsSomething = std::any_of(paths.begin(), paths.end(), [&](const auto& path) {
        return _disk.fileExistsAtPath(path);
    });
    if (!holdsSomething)
        return std::nullopt;
    const std::string fingerprint = fingerprintOfFiles(paths);
    if (!_backups.empty() && _backups.back().fingerprint == fingerprint)
        return BackupCopy{_backups.back().name, {}, false, fingerprint};
    // A folder for each, so that a backup is a step of the disk like any other and needs room.
    const std::string name = "backup " + std::to_string(++_made);
    _disk.createDirectoryAtPath(kFolder);
    if (!_disk.createDirectoryAtPath(std::string(kFolder) + "/" + name))
        throw Exception(NSGenericException, "there is no room for a backup");
    Backup backup{name, fingerprint, paths, {}};
    for (const std::string& path : paths)
        backup.snapshots.push_back(_disk.snapshot(path));
    _backups.push_back(std::move(backup));
    return BackupCopy{name, {}, true, fingerprint};
}

void MemoryBackups::prune(const std::optional<std::string>& kept) const
{
    if (_backups.size() <= kKept)
        return;
    const auto old = _backups.end() - kKept;
    const auto gone = std::remove_if(_backups.begin() + 1, old,
                                     [&](const Backup& backup) { return backup.name != kept; });
    _backups.erase(gone, old);
}

const MemoryBackups::Backup& MemoryBackups::found(const std::string& name) const
{
    const auto found = std::find_if(_backups.begin(), _backups.end(),
                                    [&](const Backup& backup) { return backup.name == name; });
    if (found == _backups.end())
        throw Exception(NSGenericException, "there is no such backup: " + name);
    return *found;
}

void MemoryBackups::restore(const std::string& name, const std::vector<std::string>& paths) const
{
    const Backup& backup = found(name);
    if (backup.paths != paths)
        throw Exception(NSGenericException, "that is a backup of something else: " + name);
    for (std::size_t index = 0; index < paths.size(); ++index)
        _disk.restore(backup.snapshots[index], paths[index]);
}

std::vector<std::string> MemoryBackups::names() const
{
    std::vector<std::string> names;
    for (const Backup& backup : _backups)
        names.push_back(backup.name);
    return names;
}

}  // namespace kt::test
