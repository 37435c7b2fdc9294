#include "Sync/Host/Services/BackupArchiveWriter.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Platform.h"

namespace kt {

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 17;  // bytes
constexpr mode_t kPermissionBits = 07777;

/// The next bytes of a file; -1 when they cannot be read.
ssize_t readBlock(int file, std::string& buffer, std::size_t wanted)
{
    while (true) {
        const ssize_t count = ::read(file, buffer.data(), std::min(wanted, buffer.size()));
        if (count >= 0 || errno != EINTR)
            return count;
    }
}

/// Level 1: a store of 10,000 items takes tenths of a second, and few bytes more than at any other.
bool begin(archive* archive, int file)
{
    return archive != nullptr && archive_write_set_format_pax(archive) == ARCHIVE_OK &&
           archive_write_add_filter_zstd(archive) == ARCHIVE_OK &&
           archive_write_set_filter_option(archive, "zstd", "compression-level", "1") ==
               ARCHIVE_OK &&
           archive_write_set_bytes_per_block(archive, static_cast<int>(kBlock)) == ARCHIVE_OK &&
           archive_write_set_bytes_in_last_block(archive, 1) == ARCHIVE_OK &&
           archive_write_open_fd(archive, file) == ARCHIVE_OK;
}

}  // namespace

BackupArchiveWriter::BackupArchiveWriter(std::string path, std::string shownPath,
                                         std::function<void()> pause)
    : _path(std::move(path)),
      _shownPath(std::move(shownPath)),
      _pause(pause ? std::move(pause) : [] {}),
      _file(Platform::shared().isWriteGuarded()
                ? -1
                : ::open(_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600)),
      _archive(archive_write_new()),
      _buffer(kBlock, '\0')
{
    if (_file.isOpen() && begin(_archive.get(), _file.get()))
        return;
    if (_file.isOpen())
        ::unlink(_path.c_str());
    fail();
}

BackupArchiveWriter::~BackupArchiveWriter()
{
    if (_isFinished)
        return;
    ::unlink(_path.c_str());
}

void BackupArchiveWriter::fail() const
{
    throw Exception(NSGenericException,
                    stringWithFormat("Die Sicherungskopie \"%@\" kann nicht angelegt werden.",
                                     _shownPath));
}

void BackupArchiveWriter::add(const std::string& path, const std::string& name)
{
    // A stack of its own: a store may be nested deeper than the program's.
    std::vector<Item> pending{{path, name}};
    while (!pending.empty()) {
        const Item item = std::move(pending.back());
        pending.pop_back();
        addItem(item, pending);
    }
}

void BackupArchiveWriter::addItem(const Item& item, std::vector<Item>& pending)
{
    _pause();
    struct stat status {};
    if (::lstat(item.path.c_str(), &status) != 0) {
        if (errno != ENOENT)
            _facts.unreadable.push_back(item.path);
    } else if (S_ISDIR(status.st_mode)) {
        addFolder(item, status, pending);
    } else if (S_ISLNK(status.st_mode)) {
        addLink(item, status);
    } else if (S_ISREG(status.st_mode)) {
        addFile(item);
    }
}

void BackupArchiveWriter::addFolder(const Item& item, const struct stat& status,
                                    std::vector<Item>& pending)
{
    beginMember(item.name, status, nullptr);
    const auto names = FileManager::defaultManager().listDirectory(item.path);
    if (!names) {
        _facts.unreadable.push_back(item.path);
        return;
    }
    for (auto name = names->rbegin(); name != names->rend(); ++name)
        pending.push_back({item.path + "/" + *name, item.name + "/" + *name});
}

void BackupArchiveWriter::addLink(const Item& item, const struct stat& status)
{
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlink(item.path.c_str(), target.data(), target.size() - 1);
    if (length > 0)
        beginMember(item.name, status, target.data());
    else
        _facts.unreadable.push_back(item.path);
}

void BackupArchiveWriter::addFile(const Item& item)
{
    const FileDescriptor file(
        ::open(item.path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        _facts.unreadable.push_back(item.path);
        return;
    }
    beginMember(item.name, status, nullptr);
    if (!addContent(file.get(), item, static_cast<std::size_t>(status.st_size))) {
        _facts.unreadable.push_back(item.path);
        _facts.broken.push_back(item.name);
    }
}

bool BackupArchiveWriter::addContent(int file, const Item& item, std::size_t size)
{
    const bool isCounted = BackupCensus::counts(item.name);
    if (isCounted)
        _census.add(item.name, "");
    while (size > 0) {
        const ssize_t count = readBlock(file, _buffer, size);
        if (count <= 0)
            break;
        const auto bytes = std::string_view(_buffer).substr(0, static_cast<std::size_t>(count));
        writeBytes(bytes);
        if (isCounted)
            _census.add(item.name, bytes);
        size -= bytes.size();
        _pause();
    }
    const bool isWhole = size == 0;
    // The member was announced with its size.
    if (!isWhole)
        std::fill(_buffer.begin(), _buffer.end(), '\0');
    for (; size > 0; size -= std::min(size, _buffer.size()))
        writeBytes(std::string_view(_buffer).substr(0, std::min(size, _buffer.size())));
    return isWhole;
}

void BackupArchiveWriter::beginMember(const std::string& name, const struct stat& status,
                                      const char* target)
{
    const ArchiveEntryPointer entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), name.c_str());
    archive_entry_set_filetype(entry.get(), status.st_mode & AE_IFMT);
    archive_entry_set_perm(entry.get(), status.st_mode & kPermissionBits);
    archive_entry_set_uid(entry.get(), status.st_uid);
    archive_entry_set_gid(entry.get(), status.st_gid);
    archive_entry_set_mtime(entry.get(), status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
    archive_entry_set_size(entry.get(), S_ISREG(status.st_mode) ? status.st_size : 0);
    if (target != nullptr)
        archive_entry_set_symlink(entry.get(), target);
    writeHeader(entry.get());
}

void BackupArchiveWriter::addText(std::string_view name, std::string_view text)
{
    const ArchiveEntryPointer entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), std::string(name).c_str());
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), 0600);
    archive_entry_set_size(entry.get(), static_cast<la_int64_t>(text.size()));
    writeHeader(entry.get());
    writeBytes(text);
}

void BackupArchiveWriter::writeHeader(archive_entry* entry)
{
    if (_digest)
        _digest->add(memberHeading(entry));
    // A warning says that a name is not of the locale's character set and stands there as it is.
    if (archive_write_header(_archive.get(), entry) < ARCHIVE_WARN)
        fail();
}

void BackupArchiveWriter::writeBytes(std::string_view bytes)
{
    if (_digest)
        _digest->add(bytes);
    while (!bytes.empty()) {
        const la_ssize_t count = archive_write_data(_archive.get(), bytes.data(), bytes.size());
        if (count <= 0)
            fail();
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

BackupFacts BackupArchiveWriter::finish(const std::string& fingerprint)
{
    if (!_facts.unreadable.empty()) {
        std::string text = "Diese Dateien und Ordner konnten nicht gelesen werden:\n\n";
        for (const std::string& path : _facts.unreadable)
            text += path + "\n";
        addText(kNotSavedMember, text);
    }
    _facts.fingerprint = fingerprint;
    _facts.calendars = _census.calendars();
    _facts.digest = _digest->hexText();
    _digest.reset();
    addText(kFactsMember, bytesOfFacts(_facts));

    struct stat status {};
    if (archive_write_close(_archive.get()) != ARCHIVE_OK || ::fsync(_file.get()) != 0 ||
        ::fstat(_file.get(), &status) != 0 || !_file.close())
        fail();
    _facts.archiveSize = static_cast<std::uint64_t>(status.st_size);
    _isFinished = true;
    return _facts;
}

}  // namespace kt
