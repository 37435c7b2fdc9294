#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <archive.h>
#include <archive_entry.h>

namespace kt::test {

/// The members of an archive as another program would see them: files with their bytes, folders
/// with a slash behind the name, links as "-> target". Empty for what is no archive.
inline std::map<std::string, std::string> contentsOfArchive(const std::string& path)
{
    const std::unique_ptr<archive, int (*)(archive*)> opened(archive_read_new(), archive_read_free);
    archive_read_support_filter_all(opened.get());
    archive_read_support_format_all(opened.get());
    std::map<std::string, std::string> all;
    if (archive_read_open_filename(opened.get(), path.c_str(), 65536) != ARCHIVE_OK)
        return all;
    archive_entry* entry = nullptr;
    while (archive_read_next_header(opened.get(), &entry) == ARCHIVE_OK) {
        std::string& content = all[archive_entry_pathname(entry)];
        if (const char* target = archive_entry_symlink(entry))
            content = std::string("-> ") + target;
        std::string buffer(65536, '\0');
        for (la_ssize_t count = 0;
             (count = archive_read_data(opened.get(), buffer.data(), buffer.size())) > 0;)
            content.append(buffer, 0, static_cast<std::size_t>(count));
    }
    return all;
}

/// One member of an archive that a test makes; it may be as hostile as it likes.
struct ArchiveMember {
    std::string name;
    std::string content{};  // a link's target
    unsigned kind = AE_IFREG;
};

inline void writeArchive(const std::string& path, const std::vector<ArchiveMember>& members)
{
    const std::unique_ptr<archive, int (*)(archive*)> opened(archive_write_new(),
                                                             archive_write_free);
    archive_write_set_format_pax(opened.get());
    archive_write_add_filter_zstd(opened.get());
    archive_write_open_filename(opened.get(), path.c_str());
    for (const ArchiveMember& member : members) {
        const std::unique_ptr<archive_entry, void (*)(archive_entry*)> entry(archive_entry_new(),
                                                                             archive_entry_free);
        archive_entry_set_pathname(entry.get(), member.name.c_str());
        archive_entry_set_perm(entry.get(), member.kind == AE_IFDIR ? 0755 : 0644);
        archive_entry_set_filetype(entry.get(), member.kind == 0 ? AE_IFREG : member.kind);
        archive_entry_set_size(entry.get(), member.kind == AE_IFREG
                                                ? static_cast<la_int64_t>(member.content.size())
                                                : 0);
        if (member.kind == AE_IFLNK)
            archive_entry_set_symlink(entry.get(), member.content.c_str());
        if (member.kind == 0)  // a second name of another member
            archive_entry_set_hardlink(entry.get(), member.content.c_str());
        archive_write_header(opened.get(), entry.get());
        if (member.kind == AE_IFREG)
            archive_write_data(opened.get(), member.content.data(), member.content.size());
    }
    archive_write_close(opened.get());
}

}  // namespace kt::test
