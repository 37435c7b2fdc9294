// The 10.4 layout: all items of a calendar in one file, its description and subscription beside it.

#include <string_view>

#include "Sync/Additions/KTDictionaryAdditions.h"
#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/StorePaths.h"

namespace kt {

namespace {

std::string_view sourceType(std::int32_t calendarType)
{
    switch (calendarType) {
    case kCalendarTypeSubscriber:
        return "com.apple.ical.sources.urlsubscribesource";
    case kCalendarTypeBirthday:
        return "com.apple.ical.sources.birthdays";
    default:
        return "com.apple.ical.sources.naivereadwrite";
    }
}

/// What a subscription leaves out, as 10.4 counts it, from the switches of 10.5.
int subscriptionFilter(const Dictionary& subscriber)
{
    return (subscriber["AlarmFilter"].boolValue() ? 2 : 0) +
           (subscriber["TaskFilter"].boolValue() ? 1 : 0);
}

std::string archivedSubscription(const Dictionary& subscriber)
{
    Dictionary settings;
    if (subscriber.contains("SubscriptionURL"))
        settings.set("RemoteURL",
                     std::make_shared<URL>(std::string(subscriber["SubscriptionURL"].string())));
    for (std::string_view key : {"AutoRefresh", "RefreshInterval", "RefreshDate"})
        setObjectFromDictionary(settings, subscriber, key);
    settings.set("Filter", subscriptionFilter(subscriber));
    return archivedDataWithRootObject(settings);
}

/// What came out of a store of this layout goes back as it was.
std::string subscriptionBytes(const Value& subscriberData, const Value& subscriber)
{
    if (!subscriberData.isNil())
        return subscriberData.data().bytes;
    if (subscriber.isData())
        return subscriber.data().bytes;
    return archivedSubscription(subscriber.isNil() ? Dictionary() : subscriber.dictionary());
}

}  // namespace

bool KTSyncCalendar::storeEventsAndTasks104(const std::string& folder)
{
    std::string text;
    const auto write = [&] {
        logMsg(_pluginHelper, "%@", description());
        addItems104(text);
        logMsg(_pluginHelper, "%@ -> %@", _title, folder);
        createPath(folder);
        return FileManager::defaultManager().writeAtomically(text,
                                                             StorePaths::itemsFile104(folder)) &&
               writeDescription104(folder);
    };
    return guarded(
        fileLogger(), "[KTSyncCalendar storeEventsAndTasks(104)]: %@\n%@", [&] { return text; },
        write);
}

/// `text` is what is being built, for the caller to log.
void KTSyncCalendar::addItems104(std::string& text)
{
    const LossScope scope(_title.value_or(""),
                          StorePaths::itemsFile104(corestoragePath().value_or("")));
    text += kItemFileHeader;
    if (_events) {
        for (const auto& event : *_events) {
            event->setUID(uidOfSeries(*event));
            text += event->iCalLines();
        }
    }
    if (_tasks) {
        for (const auto& task : *_tasks)
            text += task->iCalLines();
    }
    text += kItemFileFooter;
}

bool KTSyncCalendar::writeDescription104(const std::string& folder) const
{
    Dictionary info;
    // The first that is missing ends the list.
    if (_title) {
        info.set("Title", _title);
        info.setIfPresent("Key", _sourceKey);
    }
    guarded(
        fileLogger(), "[KTSyncCalendar storeEventsAndTasks(104,info.plist)]: %@\n%@",
        [&] { return info.description(); },
        [&] {
            info.set("Type", sourceType(_calendarType));
            if (_calendarType == kCalendarTypeSubscriber)
                writeSubscription104(folder);
        });
    return writeDictionaryToFile(info, StorePaths::infoFile(folder));
}

void KTSyncCalendar::writeSubscription104(const std::string& folder) const
{
    const std::string path = StorePaths::subscriptionFile104(folder);
    const std::string bytes = subscriptionBytes(_subscriberData, _subscriber);
    if (FileManager::defaultManager().writeAtomically(bytes, path))
        return;
    const LossScope scope(_title.value_or(""), path);
    reportLoss(KTLoss::Kind::unwritten, "Die Abo-Beschreibung konnte nicht geschrieben werden");
}

}  // namespace kt
