#include "Sync/Host/Services/StoreFingerprint.h"

#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/FileManager.h"

namespace kt {

namespace {

void append(std::string& text, std::string_view name, const FileStatus& status)
{
    text += name;
    text += '\0';  // the one byte that no name holds
    const std::array<std::uint64_t, 7> numbers{
        static_cast<std::uint64_t>(status.kind),
        status.size,
        status.permissions,
        status.device,
        status.inode,
        static_cast<std::uint64_t>(status.modified.time_since_epoch().count()),
        static_cast<std::uint64_t>(status.changed.time_since_epoch().count())};
    text.append(reinterpret_cast<const char*>(numbers.data()), sizeof numbers);
}

/// What a folder holds, behind its own path.
void appendFolder(std::string& text, const std::string& path,
                  const std::vector<DirectoryEntry>& entries)
{
    text += path;
    text += '\0';
    text += std::to_string(entries.size());
    text += '\0';
    for (const DirectoryEntry& entry : entries)
        append(text, entry.name, entry.status);
}

}  // namespace

std::string fingerprintOfFiles(const std::vector<std::string>& paths)
{
    const FileManager& files = FileManager::defaultManager();
    constexpr std::size_t kEnough = std::size_t{1} << 16;  // a digest takes large pieces faster
    SHA256Stream digest;
    std::string text;
    // A stack of its own: a store may be nested deeper than the program's.
    std::vector<std::string> folders;
    for (const std::string& path : paths) {
        std::string whole = realPath(path);
        const auto status = files.linkStatusAtPath(whole);
        if (!status)
            continue;
        append(text, whole, *status);
        if (status->kind == FileStatus::Kind::directory)
            folders.push_back(std::move(whole));
    }
    while (!folders.empty()) {
        const std::string folder = std::move(folders.back());
        folders.pop_back();
        const std::vector<DirectoryEntry> entries = files.directoryEntriesAtPath(folder);
        appendFolder(text, folder, entries);
        for (const DirectoryEntry& entry : entries) {
            if (entry.status.kind == FileStatus::Kind::directory)
                folders.push_back(stringByAppendingPathComponent(folder, entry.name));
        }
        if (text.size() < kEnough)
            continue;
        digest.add(text);
        text.clear();
    }
    digest.add(text);
    return digest.hexText();
}

}  // namespace kt
