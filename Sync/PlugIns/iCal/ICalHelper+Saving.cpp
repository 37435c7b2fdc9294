#include <algorithm>
#include <tuple>
#include <unordered_map>

#include "Sync/HostInterface/KTCarefulWriting.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/HostInterface/StorePaths.h"
#include "Sync/PlugIns/iCal/Calendar/CarefulStore.h"
#include "Sync/PlugIns/iCal/Calendar/HostAndSystemLog.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarStore.h"
#include "Sync/PlugIns/iCal/Calendar/StoreLayout.h"
#include "Sync/PlugIns/iCal/ICalHelper.h"

namespace kt {

namespace {

/// The source key names the folder of a calendar and its items. One that can name none gives way to
/// the record key; without a folder the calendar would come back empty.
Dictionary storableRecord(KTSyncPluginHelper* pluginHelper, const KTSyncRecord& record)
{
    Dictionary storable = record.record();
    const Value sourceKey = storable["SourceKey"];
    if (sourceKey.isString() && !StorePaths::isFolderKey(sourceKey.string()) &&
        StorePaths::isFolderKey(record.recordKey())) {
        logMsg(pluginHelper,
               "Kalender '%@': '%@' ist kein Ordnername, stattdessen gilt der Datensatzschlüssel",
               storable["Title"], sourceKey);
        storable.set("SourceKey", record.recordKey());
    }
    return storable;
}

/// The calendars and items of one rewrite, before they are written.
struct Saver {
    struct Calendar {
        std::string recordKey;  // empty when it has none
        std::shared_ptr<KTSyncCalendar> calendar;
        SyncRecord record;
    };

    KTSyncPluginHelper* pluginHelper;
    std::int32_t& numCalendars;
    std::int32_t& numEvents;
    std::int32_t& numTasks;
    const RecordKeySet& notSelectedCalendars;
    const RecordKeySet& notExpandedGroups;
    std::vector<Calendar> calendars = {};
    std::unordered_map<std::string, SyncRecordList> itemsByCalendar = {};

    void takeRecord(const SyncRecord& record);
    void takeCalendar(const SyncRecord& record);
    void takeItem(const SyncRecord& record);
    void sortCalendars();
    void addItems(const Calendar& calendar);
    void addEvent(KTSyncCalendar& calendar, const SyncRecord& record);
    void addTask(KTSyncCalendar& calendar, const SyncRecord& record);
    bool store();
    bool storeCarefully(const LoadedStore& loaded);
    void tellProgress(std::size_t position) const;
};

void Saver::takeRecord(const SyncRecord& record)
{
    if (record->recordType() == kRecordTypeTombstone)
        return;
    if (record->conduit() == kConduitCalendar)
        takeCalendar(record);
    else
        takeItem(record);
}

void Saver::takeCalendar(const SyncRecord& record)
{
    itemsByCalendar.try_emplace(record->recordKey());
    auto calendar =
        KTSyncCalendar::syncCalendarWithPluginHelper(pluginHelper, record->recordKey(),
                                                     storableRecord(pluginHelper, *record));
    if (!calendar) {
        logMsg(pluginHelper, "Leerer Kalender fuer:\n%@", record);
        return;
    }
    logMsg(pluginHelper, "Kalender: %@", calendar->title());
    ++numCalendars;
    const std::string recordKey = calendar->recordKey().value_or("");
    calendar->setSelected(!notSelectedCalendars.contains(recordKey));
    if (calendar->calendarType() == kCalendarTypeGroup)
        calendar->setExpanded(!notExpandedGroups.contains(recordKey));
    calendars.push_back(Calendar{recordKey, std::move(calendar), record});
}

/// Items may come before their calendar.
void Saver::takeItem(const SyncRecord& record)
{
    const Value& parent = record->record()["ParentRecordKey"];
    if (parent.isString()) {
        itemsByCalendar[std::string(parent.string())].push_back(record);
        return;
    }
    logToHostAndSystem(pluginHelper, "Defekter Datensatz: %@", record);
    reportLoss(KTLoss::Kind::curtailed,
               stringWithFormat("Der Datensatz '%@' gehört zu keinem Kalender",
                                record->recordKey()));
}

/// By order; calendars of equal order by record key, so that a rewrite always gives the same store.
void Saver::sortCalendars()
{
    std::sort(calendars.begin(), calendars.end(), [](const Calendar& left, const Calendar& right) {
        const auto leftOrder = left.calendar->order();
        const auto rightOrder = right.calendar->order();
        return std::tie(leftOrder, left.recordKey) < std::tie(rightOrder, right.recordKey);
    });
}

void Saver::addItems(const Calendar& calendar)
{
    const auto items = itemsByCalendar.find(calendar.recordKey);
    if (items == itemsByCalendar.end())
        return;
    for (const SyncRecord& record : items->second) {
        if (record->conduit() == kConduitEvent)
            addEvent(*calendar.calendar, record);
        else if (record->conduit() == kConduitTask)
            addTask(*calendar.calendar, record);
    }
}

void Saver::addEvent(KTSyncCalendar& calendar, const SyncRecord& record)
{
    auto event =
        KTSyncEvent::syncEventWithPluginHelper(pluginHelper, record->recordKey(), record->record());
    if (!event) {
        logMsg(pluginHelper, "Leeres Ereignis fuer '%@':\n%@", calendar.title(), record);
        return;
    }
    ++numEvents;
    calendar.addEvent(std::move(event));
}

void Saver::addTask(KTSyncCalendar& calendar, const SyncRecord& record)
{
    auto task =
        KTSyncTask::syncTaskWithPluginHelper(pluginHelper, record->recordKey(), record->record());
    if (!task) {
        logMsg(pluginHelper, "Leere Aufgabe fuer '%@':\n%@", calendar.title(), record);
        return;
    }
    ++numTasks;
    calendar.addTask(std::move(task));
}

void Saver::tellProgress(std::size_t position) const
{
    if (pluginHelper != nullptr)
        pluginHelper->progress(calendars[position].calendar->title().value_or(""),
                               static_cast<int>(position + 1), static_cast<int>(calendars.size()));
}

bool Saver::store()
{
    KTSyncCalendarStore::Calendars all;
    all.reserve(calendars.size());
    for (std::size_t position = 0; position < calendars.size(); ++position) {
        tellProgress(position);
        addItems(calendars[position]);
        all.push_back(calendars[position].calendar);
    }
    return KTSyncCalendarStore::calendarStoreWithPluginHelper(pluginHelper)->storeCalendars(all);
}

bool Saver::storeCarefully(const LoadedStore& loaded)
{
    std::vector<HandedCalendar> handed;
    handed.reserve(calendars.size());
    for (std::size_t position = 0; position < calendars.size(); ++position) {
        tellProgress(position);
        const Calendar& calendar = calendars[position];
        SyncRecordList& items = itemsByCalendar[calendar.recordKey];
        for (const SyncRecord& item : items) {
            numEvents += item->conduit() == kConduitEvent ? 1 : 0;
            numTasks += item->conduit() == kConduitTask ? 1 : 0;
        }
        handed.push_back({calendar.record, std::move(items), calendar.calendar->selected(),
                          calendar.calendar->expanded()});
    }
    const auto layout = StoreLayout::ofHost(pluginHelper);
    if (!layout)
        return true;
    return KTSyncCalendarStore::calendarStoreWithPluginHelper(pluginHelper)
        ->storeCalendarsCarefully(carefulStore(pluginHelper, *layout, std::move(handed), loaded));
}

}  // namespace

bool ICalHelper::saveCalendars(const std::optional<SyncRecordList>& records,
                               KTSyncPluginHelper* withPluginHelper, std::int32_t& numCalendars,
                               std::int32_t& numEvents, std::int32_t& numTasks,
                               const RecordKeySet& notSelectedCalendars,
                               const RecordKeySet& notExpandedGroups, const LoadedStore* loaded)
{
    if (!records) {
        logToHostAndSystem(withPluginHelper, "saveCalendars: calendarData == nil");
        return false;
    }
    logMsg(withPluginHelper, "Kalender speichern");

    Saver saver{withPluginHelper, numCalendars,         numEvents,
                numTasks,         notSelectedCalendars, notExpandedGroups};
    for (const SyncRecord& record : *records)
        saver.takeRecord(record);
    saver.sortCalendars();

    const bool isCareful = loaded != nullptr && hostClass<KTCarefulWriting>() != nullptr;
    if (isCareful ? saver.storeCarefully(*loaded) : saver.store())
        return true;
    logToHostAndSystem(withPluginHelper, "[KTSyncCalendarStore storeCalendars] == NO");
    return false;
}

}  // namespace kt
