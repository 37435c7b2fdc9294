#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/FileDescriptor.h"
#include "Sync/Host/Services/BackupArchive.h"
#include "Sync/Host/Services/BackupCensus.h"
#include "Sync/Host/Services/BackupFacts.h"

struct stat;

namespace kt {

/// Writes one backup archive, member by member, never holding more of a file than a block. What
/// cannot be read is noted and left out; what cannot be written throws Exception
/// NSGenericException, with a line for the user. A file that was not finished is removed.
class BackupArchiveWriter {
public:
    /// Begins the file, which must not exist; `shownPath` is what failures name. `pause` is called
    /// before each member and after each block; it may throw, which is passed on. Throws.
    BackupArchiveWriter(std::string path, std::string shownPath, std::function<void()> pause = {});
    ~BackupArchiveWriter();
    BackupArchiveWriter(const BackupArchiveWriter&) = delete;
    BackupArchiveWriter& operator=(const BackupArchiveWriter&) = delete;

    /// A file, a link or a folder with all below it, under a name of its own. Links are saved as
    /// links; a socket or a pipe holds nothing and is passed over. Throws.
    void add(const std::string& path, const std::string& name);

    /// Closes the archive, with all of it on disk. Throws.
    BackupFacts finish(const std::string& fingerprint);

private:
    struct Item {
        std::string path;
        std::string name;
    };

    void addItem(const Item& item, std::vector<Item>& pending);
    void addFolder(const Item& item, const struct stat& status, std::vector<Item>& pending);
    void addLink(const Item& item, const struct stat& status);
    void addFile(const Item& item);
    /// False when the file ended or failed before that many bytes.
    bool addContent(int file, const Item& item, std::size_t size);
    void addText(std::string_view name, std::string_view text);
    void beginMember(const std::string& name, const struct stat& status, const char* target);
    void writeHeader(archive_entry* entry);
    void writeBytes(std::string_view bytes);
    [[noreturn]] void fail() const;

    std::string _path;
    std::string _shownPath;
    std::function<void()> _pause;
    FileDescriptor _file;
    ArchivePointer _archive;
    std::optional<SHA256Stream> _digest{std::in_place};  // until it is known
    BackupCensus _census;
    BackupFacts _facts;
    std::string _buffer;
    bool _isFinished = false;
};

}  // namespace kt
