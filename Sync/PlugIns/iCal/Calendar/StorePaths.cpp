#include "Sync/PlugIns/iCal/Calendar/StorePaths.h"

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"

namespace kt {

namespace {

std::string belowHome(std::string_view relative)
{
    return stringByAppendingPathComponent(NSHomeDirectory(), relative);
}

}  // namespace

std::string StorePaths::iCalFolder() { return belowHome("Library/Application Support/iCal"); }

std::string StorePaths::nodeFile()
{
    return stringByAppendingPathComponent(iCalFolder(), "nodes.plist");
}

std::string StorePaths::sources()
{
    return stringByAppendingPathComponent(iCalFolder(), "Sources");
}

std::string StorePaths::sourcesAside()
{
    return stringByAppendingPathComponent(iCalFolder(), "Sources.bak");
}

std::string StorePaths::nodeFileAside()
{
    return stringByAppendingPathComponent(iCalFolder(), "nodes.plist.bak");
}

std::string StorePaths::calendarFolder104(std::string_view sourceKey)
{
    return stringWithFormat("%@/Library/Application Support/iCal/Sources/%@.calendar",
                            NSHomeDirectory(), sourceKey);
}

std::string StorePaths::itemsFile104(std::string_view calendarFolder)
{
    return stringByAppendingPathComponent(calendarFolder, "corestorage.ics");
}

std::string StorePaths::subscriptionFile104(std::string_view calendarFolder)
{
    return stringByAppendingPathComponent(calendarFolder, "Properties.plist");
}

std::string StorePaths::calendarsFolder() { return belowHome("Library/Calendars"); }

std::string StorePaths::calendarCache()
{
    return stringByAppendingPathComponent(calendarsFolder(), "Calendar Cache");
}

std::string StorePaths::calendarFolder105(std::string_view sourceKey)
{
    return stringWithFormat("%@/Library/Calendars/%@.calendar", NSHomeDirectory(), sourceKey);
}

std::string StorePaths::folderName105(std::string_view recordKey, std::int32_t calendarType)
{
    return stringWithFormat("%@.%@", recordKey,
                            calendarType == kCalendarTypeGroup ? "group" : "calendar");
}

std::string StorePaths::eventsFolder(std::string_view calendarFolder)
{
    return stringByAppendingPathComponent(calendarFolder, "Events");
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

std::string StorePaths::pluginFolder()
{
    return belowHome("Library/Application Support/VeloraSuite/SyncPlugins/ICalSyncPlugin");
}

std::string StorePaths::calendarsBackup()
{
    return stringByAppendingPathComponent(pluginFolder(), "Calendars");
}

std::string StorePaths::sourcesBackup()
{
    return stringByAppendingPathComponent(pluginFolder(), "Sources.bak");
}

std::string StorePaths::nodeFileBackup()
{
    return stringByAppendingPathComponent(pluginFolder(), "nodes.plist.bak");
}

std::string StorePaths::newNodeFile()
{
    return stringByAppendingPathComponent(pluginFolder(), "nodes.plist");
}

}  // namespace kt
