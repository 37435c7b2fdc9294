#include "Sync/HostInterface/StorePaths.h"

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"

namespace kt {

namespace {

std::string itemFileName(std::string_view recordKey)
{
    return std::string(recordKey).append(".").append(StorePaths::itemFileExtension);
}

}  // namespace

std::string StorePaths::belowHome(std::string_view relative) const
{
    return stringByAppendingPathComponent(_home, relative);
}

std::string StorePaths::iCalFolder() const { return belowHome("Library/Application Support/iCal"); }

std::string StorePaths::nodeFile() const
{
    return stringByAppendingPathComponent(iCalFolder(), "nodes.plist");
}

std::string StorePaths::sources() const
{
    return stringByAppendingPathComponent(iCalFolder(), "Sources");
}

std::string StorePaths::sourcesAside() const
{
    return stringByAppendingPathComponent(iCalFolder(), "Sources.bak");
}

std::string StorePaths::nodeFileAside() const
{
    return stringByAppendingPathComponent(iCalFolder(), "nodes.plist.bak");
}

std::string StorePaths::calendarFolder104(std::string_view sourceKey) const
{
    return stringWithFormat("%@/Library/Application Support/iCal/Sources/%@%@", _home, sourceKey,
                            calendarExtension);
}

std::string StorePaths::itemsFile104(std::string_view calendarFolder)
{
    return stringByAppendingPathComponent(calendarFolder, "corestorage.ics");
}

std::string StorePaths::subscriptionFile104(std::string_view calendarFolder)
{
    return stringByAppendingPathComponent(calendarFolder, "Properties.plist");
}

std::string StorePaths::calendarsFolder() const { return belowHome("Library/Calendars"); }

std::string StorePaths::calendarCache() const
{
    return stringByAppendingPathComponent(calendarsFolder(), "Calendar Cache");
}

std::string StorePaths::calendarFolder105(std::string_view sourceKey) const
{
    return stringWithFormat("%@/Library/Calendars/%@%@", _home, sourceKey, calendarExtension);
}

std::string StorePaths::calendarFolderName105(std::string_view recordKey)
{
    return std::string(recordKey).append(calendarExtension);
}

std::string StorePaths::groupFolderName105(std::string_view recordKey)
{
    return std::string(recordKey).append(groupExtension);
}

std::string StorePaths::eventsFolder(std::string_view calendarFolder)
{
    return stringByAppendingPathComponent(calendarFolder, "Events");
}

std::string StorePaths::itemFile105(std::string_view eventsFolder, std::string_view recordKey)
{
    return stringByAppendingPathComponent(eventsFolder, itemFileName(recordKey));
}

bool StorePaths::isItemKey(std::string_view recordKey)
{
    return isPlainPathComponent(recordKey) && isPlainPathComponent(itemFileName(recordKey));
}

std::string StorePaths::oldSubscriptionFile(std::string_view calendarFolder)
{
    return stringWithFormat("%@/OldSubscription.plist", calendarFolder);
}

bool StorePaths::isFolderKey(std::string_view sourceKey)
{
    return isPlainPathComponent(sourceKey) &&
           isPlainPathComponent(std::string(sourceKey).append(calendarExtension));
}

std::string StorePaths::infoFile(std::string_view calendarFolder)
{
    return stringWithFormat("%@/Info.plist", calendarFolder);
}

std::string StorePaths::attachmentFile(std::string_view folder, std::string_view name) const
{
    return stringWithFormat("%@/Library/Calendars/%@/%@/%@", _home, attachmentsName, folder, name);
}

std::string StorePaths::suiteFolder() const
{
    return belowHome("Library/Application Support/VeloraSuite");
}

std::string StorePaths::pluginFolder() const
{
    return stringByAppendingPathComponent(suiteFolder(), "SyncPlugins/ICalSyncPlugin");
}

std::string StorePaths::calendarsBackup() const
{
    return stringByAppendingPathComponent(pluginFolder(), "Calendars");
}

std::string StorePaths::sourcesBackup() const
{
    return stringByAppendingPathComponent(pluginFolder(), "Sources.bak");
}

std::string StorePaths::nodeFileBackup() const
{
    return stringByAppendingPathComponent(pluginFolder(), "nodes.plist.bak");
}

std::string StorePaths::newNodeFile() const
{
    return stringByAppendingPathComponent(pluginFolder(), "nodes.plist");
}

}  // namespace kt
