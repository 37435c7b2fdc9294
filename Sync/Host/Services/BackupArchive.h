#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <archive.h>
#include <archive_entry.h>

namespace kt {

// What the writer and the reader of backup archives (tar, zstd) have in common. An archive holds
// the trees that were saved, each under its last path component, then what could not be saved, as
// a text for people, and last the facts (BackupFacts).

inline constexpr std::string_view kFactsMember = ".icalsync-sicherung.plist";
inline constexpr std::string_view kNotSavedMember = "nicht-gesichert.txt";

struct ArchiveDeleter {
    void operator()(archive* opened) const { archive_free(opened); }
};
struct ArchiveEntryDeleter {
    void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};
using ArchivePointer = std::unique_ptr<archive, ArchiveDeleter>;
using ArchiveEntryPointer = std::unique_ptr<archive_entry, ArchiveEntryDeleter>;

/// The member's path without the slash that archives put behind a folder's; empty for none.
std::string memberName(archive_entry* entry);
/// What the digest of an archive covers of a member besides its content.
std::string memberHeading(archive_entry* entry);

}  // namespace kt
