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
    std::vector<std::string> pending;
    for (const std::string& path : paths)
        pending.push_back(realPath(path));
    while (!pending.empty()) {
        const std::string current = std::move(pending.back());
        pending.pop_back();
        const auto status = files.linkStatusAtPath(current);
        if (!status)
            continue;
        append(text, current, *status);
        if (status->kind == FileStatus::Kind::directory)
            for (const std::string& name : files.directoryContentsAtPath(current))
                pending.push_back(stringByAppendingPathComponent(current, name));
    }
    return sha256DigestHex(text);
}

}  // namespace kt
