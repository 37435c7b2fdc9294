#include "Sync/Host/Services/StoreBackups.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Services/StoreFingerprint.h"

namespace kt {

namespace {

constexpr std::size_t kKept = 10;
/// The first copy carries it in its name: a clock that was set back must not make another the
/// first.
constexpr std::string_view kFirst = "-erste";
constexpr std::string_view kUnfinished = ".unfertig-";

/// Goes on past what cannot be read, and remembers it; stops when it is the copy that cannot be
/// written.
class UnreadableItems : public FileManagerHandler {
public:
    bool fileManager(FileManager& files, const Dictionary& error) override
    {
        const std::string path = error["Path"].description();
        const auto status = files.linkStatusAtPath(path);
        if (status && status->kind == FileStatus::Kind::other)
            return true;  // a socket or a pipe holds nothing
        const bool isReadable = files.isDirectory(path) ? files.listDirectory(path).has_value()
                                                        : files.contentsAtPath(path).has_value();
        if (!isReadable)
            _paths.push_back(path);
        return !isReadable;
    }
    std::vector<std::string> takePaths() { return std::move(_paths); }

private:
    std::vector<std::string> _paths;
};

bool holdsSomething(const std::string& path)
{
    const FileManager& files = FileManager::defaultManager();
    return files.linkStatusAtPath(path) &&
           (!files.isDirectory(path) || !files.directoryContentsAtPath(path).empty());
}

/// `2007-12-24T09-00-00.123Z`: no colons, which other systems do not take.
std::string nameForInstant(Date instant)
{
    const auto milliseconds =
        std::chrono::floor<std::chrono::milliseconds>(instant.instant.time_since_epoch()).count();
    const CalendarDate date = calendarDateOfInstant(instant, "Etc/UTC");
    const std::string thousandths = std::to_string(1000 + (milliseconds % 1000 + 1000) % 1000);
    return date.descriptionWithCalendarFormat("%Y-%m-%dT%H-%M-%S.") + thousandths.substr(1) + "Z";
}

[[noreturn]] void failed(std::string_view format, const std::string& path)
{
    throw Exception(NSGenericException, stringWithFormat(format, path));
}

std::string sibling(const std::string& path, std::string_view suffix)
{
    return stringByAppendingPathComponent(stringByDeletingLastPathComponent(path),
                                          "." + lastPathComponent(path) + std::string(suffix));
}

/// The store is away from its place only between two renames; both copies are complete then.
void replace(const std::string& named, const std::string& copy)
{
    constexpr std::string_view kFailed =
        "\"%@\" konnte nicht aus der Sicherungskopie zurückgeholt werden.";
    FileManager& files = FileManager::defaultManager();
    const std::string path = realPath(named);
    const std::string incoming = sibling(path, ".zurueckgeholt");
    const std::string outgoing = pathWhileReplaced(path);
    files.removeFileAtPath(incoming);
    files.removeFileAtPath(outgoing);
    createPath(stringByDeletingLastPathComponent(path));
    if (!files.copyPath(copy, incoming))
        failed(kFailed, path);
    const bool isReplacing = files.linkStatusAtPath(path).has_value();
    if (isReplacing && !files.movePath(path, outgoing))
        failed(kFailed, path);
    if (!files.movePath(incoming, path)) {
        files.movePath(outgoing, path);
        failed(kFailed, path);
    }
    if (isReplacing)
        files.removeFileAtPath(outgoing);
}

}  // namespace

std::string pathWhileReplaced(const std::string& path) { return sibling(path, ".ersetzt"); }

StoreBackups::StoreBackups(std::string folder) : _folder(std::move(folder)) {}

std::vector<std::string> StoreBackups::names() const
{
    std::vector<std::string> all = FileManager::defaultManager().directoryContentsAtPath(_folder);
    std::erase_if(all, [](const std::string& name) { return name.starts_with('.'); });
    return all;
}

std::string StoreBackups::unusedName() const
{
    const std::vector<std::string> known = names();
    const std::string suffix(known.empty() ? kFirst : "");
    Date instant = Platform::shared().now();
    while (true) {
        const std::string name = nameForInstant(instant);
        if (std::none_of(known.begin(), known.end(),
                         [&](const std::string& other) { return other.starts_with(name); }))
            return name + suffix;
        instant.instant += std::chrono::milliseconds(1);
    }
}

std::optional<StoreBackups::Copy> StoreBackups::make(const std::vector<std::string>& paths) const
{
    if (std::none_of(paths.begin(), paths.end(), holdsSomething))
        return std::nullopt;
    constexpr std::string_view kFailed = "Die Sicherungskopie \"%@\" kann nicht angelegt werden.";
    FileManager& files = FileManager::defaultManager();
    const std::string name = unusedName();
    const std::string finished = stringByAppendingPathComponent(_folder, name);
    const std::string unfinished =
        stringByAppendingPathComponent(_folder, std::string(kUnfinished) + name);

    UnreadableItems unreadable;
    createPath(unfinished);
    for (const std::string& path : paths) {
        const std::string target =
            stringByAppendingPathComponent(unfinished, lastPathComponent(path));
        if (holdsSomething(path) && !files.copyPath(realPath(path), target, &unreadable)) {
            files.removeFileAtPath(unfinished);
            failed(kFailed, finished);
        }
    }
    if (!files.movePath(unfinished, finished)) {
        files.removeFileAtPath(unfinished);
        failed(kFailed, finished);
    }
    // On disk before anything that it is the copy of is touched.
    files.synchronizeFileSystem(finished);
    return Copy{name, unreadable.takePaths()};
}

void StoreBackups::prune(const std::optional<std::string>& kept) const
{
    FileManager& files = FileManager::defaultManager();
    for (const std::string& name : files.directoryContentsAtPath(_folder))
        if (name.starts_with(kUnfinished))  // of a run that was killed
            files.removeFileAtPath(stringByAppendingPathComponent(_folder, name));

    std::vector<std::string> old = names();
    std::erase_if(old, [&](const std::string& name) { return name.ends_with(kFirst); });
    if (old.size() <= kKept)
        return;
    old.resize(old.size() - kKept);
    for (const std::string& name : old)
        if (name != kept)
            files.removeFileAtPath(stringByAppendingPathComponent(_folder, name));
}

void StoreBackups::restore(const std::string& name, const std::vector<std::string>& paths) const
{
    FileManager& files = FileManager::defaultManager();
    const std::string folder = stringByAppendingPathComponent(_folder, name);
    if (!isPlainPathComponent(name) || !files.isDirectory(folder))
        failed("Es gibt keine Sicherungskopie \"%@\".", name);
    bool holdsAny = false;
    for (const std::string& path : paths) {
        const std::string copy = stringByAppendingPathComponent(folder, lastPathComponent(path));
        if (!files.linkStatusAtPath(copy))
            continue;
        holdsAny = true;
        replace(path, copy);
        files.synchronizeFileSystem(path);
    }
    if (!holdsAny)
        failed("In der Sicherungskopie \"%@\" steht kein Kalenderbestand dieser Ablage.", name);
}

}  // namespace kt
