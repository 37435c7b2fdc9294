#include "Sync/Host/Services/StoreFingerprint.h"

#include <utility>

#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/FileManager.h"

namespace kt {

namespace {

/// One entry, its name ended by the one byte that no name holds.
void append(std::string& text, const std::string& path, const FileStatus& status)
{
    text += path;
    text += '\0';
    text += std::to_string(static_cast<int>(status.kind)) + ' ';
    text += std::to_string(status.size) + ' ';
    text += std::to_string(status.permissions) + ' ';
    text += std::to_string(status.inode) + ' ';
    text += std::to_string(status.modified.time_since_epoch().count()) + '\n';
}

}  // namespace

std::string fingerprintOfFiles(const std::vector<std::string>& paths)
{
    const FileManager& files = FileManager::defaultManager();
    std::string text;
    // A stack of its own: a store may be nested deeper than the program's.
    std::vector<DirectoryEntry> pending;  // with whole paths
    for (const std::string& path : paths) {
        std::string whole = realPath(path);
        if (const auto status = files.linkStatusAtPath(whole))
            pending.push_back({std::move(whole), *status});
    }
    while (!pending.empty()) {
        const DirectoryEntry current = std::move(pending.back());
        pending.pop_back();
        append(text, current.name, current.status);
        if (current.status.kind != FileStatus::Kind::directory)
            continue;
        for (DirectoryEntry& entry : files.directoryEntriesAtPath(current.name)) {
            entry.name = stringByAppendingPathComponent(current.name, entry.name);
            pending.push_back(std::move(entry));
        }
    }
    return sha256DigestHex(text);
}

}  // namespace kt
