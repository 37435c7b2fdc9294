#include "Sync/Host/Services/BackupArchiveReader.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"

namespace kt {

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 17;      // bytes
constexpr la_int64_t kLongestText = la_int64_t{1} << 26;  // bytes, of what is read as a whole
constexpr std::size_t kLongestName = 4096;                // bytes

std::string firstComponent(const std::string& name) { return name.substr(0, name.find('/')); }

std::string folderOf(const std::string& name)
{
    const std::size_t slash = name.rfind('/');
    return slash == std::string::npos ? "" : name.substr(0, slash);
}

/// Behind the first component, with the slash in front.
std::string belowFirst(const std::string& name)
{
    const std::size_t slash = name.find('/');
    return slash == std::string::npos ? "" : name.substr(slash);
}

std::vector<std::string> components(const std::string& path)
{
    std::vector<std::string> parts;
    std::size_t begin = 0;
    while (begin <= path.size()) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        parts.push_back(path.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

UnpackedTree::Attributes attributesOf(archive_entry* entry)
{
    return {archive_entry_perm(entry), archive_entry_mtime(entry), archive_entry_mtime_nsec(entry)};
}

bool isStanding(const std::string& path, const std::string& target)
{
    std::error_code error;
    return std::filesystem::read_symlink(path, error).native() == target && !error;
}

}  // namespace

BackupArchiveReader::BackupArchiveReader(std::string path, std::string shownName)
    : _path(std::move(path)),
      _shownName(std::move(shownName)),
      _buffer(kBlock, '\0')
{}

void BackupArchiveReader::damaged(const std::string& why) const
{
    throw Exception(NSGenericException,
                    stringWithFormat("Die Sicherungskopie \"%@\" ist beschädigt: %@", _shownName,
                                     why));
}

void BackupArchiveReader::notUnpacked() const
{
    throw Exception(NSGenericException,
                    stringWithFormat("Die Sicherungskopie \"%@\" kann nicht ausgepackt werden.",
                                     _shownName));
}

BackupFacts BackupArchiveReader::unpack(std::vector<Root> roots, const Picks& picks)
{
    _roots = std::move(roots);
    _picks = picks;
    const BackupFacts facts = read();
    checkRoots();
    removeBroken(facts);
    if (!_tree.finish())
        notUnpacked();
    return facts;
}

BackupFacts BackupArchiveReader::facts()
{
    _picks = [](const std::string&) { return false; };
    return read();
}

void BackupArchiveReader::open()
{
    _archive.reset(archive_read_new());
    if (!_archive || archive_read_support_format_tar(_archive.get()) != ARCHIVE_OK ||
        archive_read_support_filter_zstd(_archive.get()) != ARCHIVE_OK ||
        archive_read_open_filename(_archive.get(), _path.c_str(), kBlock) != ARCHIVE_OK)
        damaged("sie kann nicht gelesen werden.");
}

BackupFacts BackupArchiveReader::read()
{
    open();
    BackupFacts facts;
    archive_entry* entry = nullptr;
    while (facts.digest.empty()) {
        const int status = archive_read_next_header(_archive.get(), &entry);
        if (status == ARCHIVE_EOF)
            damaged("ihr Ende fehlt.");
        if (status < ARCHIVE_WARN)
            damaged("sie bricht ab oder ist kein Archiv.");
        readMember(entry, facts);
    }
    // What stands behind the end was put there by somebody else.
    if (archive_read_next_header(_archive.get(), &entry) != ARCHIVE_EOF)
        damaged("hinter ihrem Ende steht noch etwas.");
    return facts;
}

void BackupArchiveReader::readMember(archive_entry* entry, BackupFacts& facts)
{
    const std::string name = memberName(entry);
    if (name == kFactsMember) {
        const std::string digest = _digest.hexText();
        const auto told = factsInBytes(textOfMember(entry));
        if (!told || told->digest != digest)
            damaged("die Prüfsumme stimmt nicht.");
        facts = *told;
        return;
    }
    checkName(name, archive_entry_filetype(entry) == AE_IFDIR);
    _digest.add(memberHeading(entry));
    if (name == kNotSavedMember) {
        _digest.add(textOfMember(entry));
        return;
    }
    _tops.insert(firstComponent(name));
    readBody(entry, name, _picks(name) ? rootOf(name) : nullptr);
}

void BackupArchiveReader::checkName(const std::string& name, bool isFolder)
{
    const auto parts = components(name);
    const bool isPlain = name.size() <= kLongestName &&
                         std::all_of(parts.begin(), parts.end(), [](const std::string& part) {
                             return isPlainPathComponent(part);
                         });
    const std::string folder = folderOf(name);
    if (!isPlain || (!folder.empty() && !_folders.contains(folder)))
        damaged(stringWithFormat("\"%@\" ist kein Name in ihr.", name));
    if (isFolder)
        _folders.insert(name);
}

void BackupArchiveReader::readBody(archive_entry* entry, const std::string& name, const Root* root)
{
    const std::string path = root == nullptr ? "" : root->destination + belowFirst(name);
    if (archive_entry_hardlink(entry) != nullptr)
        damaged(stringWithFormat("der Verweis \"%@\" gehört nicht hinein.", name));
    switch (archive_entry_filetype(entry)) {
    case AE_IFDIR:
        if (root != nullptr && !_tree.addFolder(path, attributesOf(entry)))
            notUnpacked();
        return;
    case AE_IFREG:
        return readFile(entry, path);
    case AE_IFLNK:
        if (root != nullptr)
            readLink(entry, name, *root);
        return;
    default:
        damaged(stringWithFormat("\"%@\" ist weder Datei noch Ordner.", name));
    }
}

/// With an empty path only for the digest.
void BackupArchiveReader::readFile(archive_entry* entry, const std::string& path)
{
    if (!path.empty() && !_tree.beginFile(path))
        notUnpacked();
    std::string_view bytes;
    while (nextBlock(bytes)) {
        _digest.add(bytes);
        if (!path.empty() && !_tree.addBytes(bytes))
            notUnpacked();
    }
    if (!path.empty() && !_tree.endFile(attributesOf(entry)))
        notUnpacked();
}

void BackupArchiveReader::readLink(archive_entry* entry, const std::string& name, const Root& root)
{
    const char* written = archive_entry_symlink(entry);
    const std::string target = written == nullptr ? "" : written;
    if (target.empty() ||
        (leadsOut(name, target) && !isStanding(root.place + belowFirst(name), target)))
        damaged(stringWithFormat("der Verweis \"%@\" führt hinaus.", name));
    if (!_tree.addLink(root.destination + belowFirst(name), target, attributesOf(entry)))
        notUnpacked();
}

/// A link may climb from its own folder, and then go down: anything else could climb further than
/// it seems, by way of another link.
bool BackupArchiveReader::leadsOut(const std::string& name, const std::string& target) const
{
    const auto parts = components(target);
    const auto climbs = static_cast<std::size_t>(
        std::find_if(parts.begin(), parts.end(), [](const auto& part) { return part != ".."; }) -
        parts.begin());
    const std::size_t folders = components(name).size() - 1;  // that the link stands in
    return climbs >= folders ||
           !std::all_of(parts.begin() + static_cast<std::ptrdiff_t>(climbs), parts.end(),
                        [](const std::string& part) { return isPlainPathComponent(part); });
}

std::string BackupArchiveReader::textOfMember(archive_entry* entry)
{
    if (archive_entry_filetype(entry) != AE_IFREG || archive_entry_size(entry) > kLongestText)
        damaged("ihr Verzeichnis kann nicht gelesen werden.");
    std::string text;
    std::string_view bytes;
    while (nextBlock(bytes))
        text += bytes;
    return text;
}

bool BackupArchiveReader::nextBlock(std::string_view& bytes)
{
    const la_ssize_t count = archive_read_data(_archive.get(), _buffer.data(), _buffer.size());
    if (count < 0)
        damaged("sie bricht ab.");
    bytes = std::string_view(_buffer).substr(0, static_cast<std::size_t>(count));
    return count > 0;
}

const BackupArchiveReader::Root* BackupArchiveReader::rootOf(const std::string& name) const
{
    const std::string top = firstComponent(name);
    const auto found = std::find_if(_roots.begin(), _roots.end(),
                                    [&](const Root& root) { return root.name == top; });
    return found == _roots.end() ? nullptr : &*found;
}

void BackupArchiveReader::checkRoots() const
{
    const auto isKnown = [this](const std::string& top) { return rootOf(top) != nullptr; };
    if (std::none_of(_tops.begin(), _tops.end(), isKnown))
        throw Exception(NSGenericException,
                        stringWithFormat("In der Sicherungskopie \"%@\" steht kein "
                                         "Kalenderbestand dieser Ablage.",
                                         _shownName));
    for (const std::string& top : _tops)
        if (!isKnown(top))
            damaged(stringWithFormat("\"%@\" gehört nicht hinein.", top));
}

/// A file that could not be read to its end when it was saved is none.
void BackupArchiveReader::removeBroken(const BackupFacts& facts) const
{
    for (const std::string& name : facts.broken) {
        const Root* root = rootOf(name);
        const bool isMember =
            _folders.contains(folderOf(name)) && isPlainPathComponent(lastPathComponent(name));
        if (root != nullptr && isMember && _picks(name))
            FileManager::defaultManager().removeFileAtPath(root->destination + belowFirst(name));
    }
}

}  // namespace kt
