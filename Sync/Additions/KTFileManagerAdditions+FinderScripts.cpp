#include <optional>
#include <string_view>

#include "Sync/Additions/KTFileManagerAdditions+Finder.h"
#include "Sync/Additions/KTFileManagerAdditions+FinderScripts.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Platform.h"

namespace kt {

namespace {

/// For between the quotes of a script: a file may be called anything, and must not end the text
/// that names it.
std::string quoted(std::string_view text)
{
    std::string quotedText;
    for (const char character : text) {
        if (character == '"' || character == '\\')
            quotedText += '\\';
        quotedText += character;
    }
    return quotedText;
}

/// The HFS path, ready to stand in a script.
std::optional<std::string> scriptPath(const std::string& path)
{
    const auto hfsPath = hfsStylePathFromPosixPath(path);
    if (!hfsPath)
        return std::nullopt;
    return quoted(*hfsPath);
}

bool runFinderScript(const std::string& source)
{
    const std::optional<Dictionary> error = Platform::shared().runScript(source);
    if (!error)
        return true;
    NSLog(error->description());
    return false;
}

bool ejectVolume(const std::string& path)
{
    const auto volume = scriptPath(path);
    return volume &&
           runFinderScript(
               stringWithFormat("tell application \"Finder\"\neject \"%@\"\nend tell\n", *volume));
}

}  // namespace

bool createAliasAtPath(const std::string& path, const std::string& pathContent)
{
    if (Platform::shared().isWriteGuarded())
        return false;
    FileManager::defaultManager().removeFileAtPath(path);
    const auto target = scriptPath(pathContent);
    const auto folder = scriptPath(stringByDeletingLastPathComponent(path));
    if (!target || !folder)
        return false;
    return runFinderScript(
        stringWithFormat("tell application \"Finder\"\n"
                         "set linkTarget to \"%@\"\n"
                         "set aliasPath to make new alias file at \"%@\" to linkTarget\n"
                         "set the name of aliasPath to \"%@\"\n"
                         "end tell",
                         *target, *folder, quoted(lastPathComponent(path))));
}

bool updateFinderDisplayAtPath(const std::string& path)
{
    const auto target = scriptPath(path);
    return target && runFinderScript(stringWithFormat("tell application \"Finder\"\n"
                                                      "set updateTarget to \"%@\"\n"
                                                      "update updateTarget with necessity\n"
                                                      "end tell",
                                                      *target));
}

bool ejectVolumeAtPath(const std::string& path)
{
    try {
        return ejectVolume(path);
    } catch (const Exception& exception) {
        NSLog("[NSFileManager ejectVolumeAtPath]: '%@' - %@", path, exception.description());
        return false;
    }
}

}  // namespace kt
