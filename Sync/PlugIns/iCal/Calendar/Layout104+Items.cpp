// All items of a calendar in one file, its description and subscription beside it.

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
#include "Sync/PlugIns/iCal/Calendar/Layout104.h"

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

Dictionary Layout104::description(const KTSyncCalendar& calendar)
{
    Dictionary info;
    // The first that is missing ends the list.
    if (calendar.title()) {
        info.set("Title", calendar.title());
        info.setIfPresent("Key", calendar.ownSourceKey());
    }
    info.set("Type", sourceType(calendar.calendarType()));
    return info;
}

std::string Layout104::subscription(const KTSyncCalendar& calendar)
{
    return subscriptionBytes(calendar.subscriberData(), calendar.subscriber());
}

void Layout104::writeSubscription(const KTSyncCalendar& calendar, const std::string& calendarFolder)
{
    const std::string path = StorePaths::subscriptionFile104(calendarFolder);
    if (FileManager::defaultManager().writeAtomically(subscription(calendar), path))
        return;
    const LossScope scope(calendar.title().value_or(""), path);
    reportLoss(KTLoss::Kind::unwritten, "Die Abo-Beschreibung konnte nicht geschrieben werden");
}

bool Layout104::writeDescription(const KTSyncCalendar& calendar, const std::string& calendarFolder)
{
    const Dictionary info = description(calendar);
    guarded(
        calendar.fileLogger(), "[KTSyncCalendar storeEventsAndTasks(104,info.plist)]: %@\n%@",
        [&] { return info.description(); },
        [&] {
            if (calendar.calendarType() == kCalendarTypeSubscriber)
                writeSubscription(calendar, calendarFolder);
        });
    return writeDictionaryToFile(info, StorePaths::infoFile(calendarFolder));
}

bool Layout104::storeItems(const KTSyncCalendar& calendar, const std::string& calendarFolder) const
{
    std::string text;
    const std::string path = StorePaths::itemsFile104(calendarFolder);
    const auto write = [&] {
        logMsg(calendar.pluginHelper(), "%@", calendar.description());
        addItems(calendar, path, text);
        logMsg(calendar.pluginHelper(), "%@ -> %@", calendar.title(), calendarFolder);
        createPath(calendarFolder);
        return FileManager::defaultManager().writeAtomically(text, path) &&
               writeDescription(calendar, calendarFolder);
    };
    return guarded(
        calendar.fileLogger(), "[KTSyncCalendar storeEventsAndTasks(104)]: %@\n%@",
        [&] { return text; }, write);
}

/// `text` is what is being built, for the caller to log.
void Layout104::addItems(const KTSyncCalendar& calendar, const std::string& path, std::string& text)
{
    const LossScope scope(calendar.title().value_or(""), path);
    text += kItemFileHeader;
    if (const auto* events = calendar.heldEvents()) {
        for (const auto& event : *events) {
            event->setUID(uidOfSeries(*event));
            text += event->iCalLines();
        }
    }
    if (const auto* tasks = calendar.heldTasks()) {
        for (const auto& task : *tasks)
            text += task->iCalLines();
    }
    text += kItemFileFooter;
}

}  // namespace kt
