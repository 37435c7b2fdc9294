#include "Sync/Host/Services/BackupArchive.h"

namespace kt {

std::string memberName(archive_entry* entry)
{
    const char* path = archive_entry_pathname(entry);
    std::string name = path == nullptr ? "" : path;
    if (name.size() > 1 && name.ends_with('/'))
        name.pop_back();
    return name;
}

std::string memberHeading(archive_entry* entry)
{
    const bool isLink = archive_entry_filetype(entry) == AE_IFLNK;
    const char* target = isLink ? archive_entry_symlink(entry) : nullptr;
    std::string heading = memberName(entry);
    heading += '\0';
    heading += target == nullptr ? "" : target;
    heading += '\0';
    heading += std::to_string(archive_entry_filetype(entry)) + ' ';
    heading += std::to_string(archive_entry_perm(entry)) + ' ';
    heading +=
        std::to_string(archive_entry_filetype(entry) == AE_IFREG ? archive_entry_size(entry) : 0) +
        ' ';
    // Archives have no single way to write a time before 1970.
    if (archive_entry_mtime(entry) >= 0)
        heading += std::to_string(archive_entry_mtime(entry)) + '.' +
                   std::to_string(archive_entry_mtime_nsec(entry));
    heading += '\n';
    return heading;
}

}  // namespace kt
