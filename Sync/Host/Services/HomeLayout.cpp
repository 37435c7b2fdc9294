#include "Sync/Host/Services/HomeLayout.h"

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/PropertyList.h"

namespace kt {

namespace {

std::string calendarsFolder105(const std::string& home)
{
    return stringByAppendingPathComponent(home, "Library/Calendars");
}

std::string folder104(const std::string& home)
{
    return stringByAppendingPathComponent(home, "Library/Application Support/iCal");
}

std::string nodeFile104(const std::string& home)
{
    return stringByAppendingPathComponent(folder104(home), "nodes.plist");
}

/// A link that leads nowhere is there as well: behind it a volume may be missing.
bool isThere(const std::string& path)
{
    return FileManager::defaultManager().linkStatusAtPath(path).has_value();
}

bool holdsOnlyAttachments(const std::string& home)
{
    const auto names = FileManager::defaultManager().listDirectory(calendarsFolder105(home));
    return names && names->size() == 1 && names->front() == "Attachments";
}

std::optional<std::string> reasonAgainstFolder(const std::string& path)
{
    if (!isThere(path) || FileManager::defaultManager().listDirectory(path))
        return std::nullopt;
    return stringWithFormat("Der Kalenderordner \"%@\" kann nicht gelesen werden.", path);
}

std::optional<std::string> reasonAgainstNodeFile(const std::string& path)
{
    PropertyListError error = PropertyListError::none;
    if (!isThere(path) || dictionaryWithContentsOfFile(path, &error))
        return std::nullopt;
    if (error == PropertyListError::tooDeep)
        return stringWithFormat("Die Datei \"%@\" ist zu tief verschachtelt.", path);
    return stringWithFormat("Die Datei \"%@\" kann nicht gelesen werden oder ist beschädigt.",
                            path);
}

}  // namespace

int systemVersionOfHome(const std::string& home)
{
    if (!isThere(nodeFile104(home)))
        return kSystemVersion105;
    const bool is105 = isThere(calendarsFolder105(home)) && !holdsOnlyAttachments(home);
    return is105 ? kSystemVersion105 : kSystemVersion104;
}

std::optional<std::string> reasonNotToTouchStore(const std::string& home, int systemVersion)
{
    if (systemVersion == kSystemVersion105)
        return reasonAgainstFolder(calendarsFolder105(home));
    if (auto reason = reasonAgainstFolder(folder104(home)))
        return reason;
    if (auto reason =
            reasonAgainstFolder(stringByAppendingPathComponent(folder104(home), "Sources")))
        return reason;
    return reasonAgainstNodeFile(nodeFile104(home));
}

}  // namespace kt
