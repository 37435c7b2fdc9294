#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/HostAndSystemLog.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarStore.h"
#include "Sync/PlugIns/iCal/ICalHelper.h"

namespace kt {

namespace {

SyncRecord makeRecord(Dictionary record, const std::optional<std::string>& key,
                      const std::optional<std::string>& parentKey, std::string_view conduit)
{
    const auto* recordClass = hostClass<KTSyncRecordClass>();
    if (recordClass == nullptr)
        return nullptr;
    return recordClass->syncRecordWithRecordType(kRecordTypeRecord, std::move(record), key,
                                                 parentKey, std::string(conduit));
}

/// Whether the calendar's items become records. iCal makes birthdays from the address book.
bool holdsItems(const KTSyncCalendar& calendar)
{
    return calendar.calendarType() != kCalendarTypeGroup &&
           calendar.calendarType() != kCalendarTypeBirthday;
}

/// The folder that a loss is reported for. To be asked for when the items were: a folder that
/// cannot be named is worth a line in the log, and those come in the order of the work.
std::string folderForReports(const KTSyncCalendar& calendar)
{
    return holdsItems(calendar) ? calendar.corestoragePath().value_or("") : "";
}

/// What loading fills, and the calendar that is being turned into records.
struct Loader {
    KTSyncPluginHelper* pluginHelper;
    std::int32_t& numCalendars;
    std::int32_t& numEvents;
    std::int32_t& numTasks;
    Dictionary& activatedCalendars;
    RecordKeySet& calendarRecordKeysToSync;
    std::int32_t& numSkippedCalendars;
    SyncRecordList& skippedRecords;
    RecordKeySet& notSelectedCalendars;
    RecordKeySet& notExpandedGroups;
    SyncRecordList records = {};
    bool isSkipping = false;

    void takeCalendar(const std::string& recordKey, KTSyncCalendar& calendar);
    void takeGroup(const std::string& recordKey, KTSyncCalendar& group, SyncRecord record);
    void takeOrSkip(const std::string& recordKey, const KTSyncCalendar& calendar,
                    SyncRecord record);
    void takePart(const std::string& recordKey, SyncRecord record);
    void takeEvents(const std::string& recordKey, KTSyncCalendar& calendar);
    void takeEvent(const std::string& recordKey, const KTSyncCalendar& calendar,
                   const KTSyncEvent& event);
    void takeTasks(const std::string& recordKey, KTSyncCalendar& calendar);
    void takeItem(SyncRecord record, std::int32_t& counter);
    void reportBadEvent(const KTSyncCalendar& calendar, const KTSyncEvent& event,
                        const std::string& description) const;
};

void Loader::takeCalendar(const std::string& recordKey, KTSyncCalendar& calendar)
{
    const std::int32_t type = calendar.calendarType();
    isSkipping = false;

    logMsg(pluginHelper, "Ereignisse laden fuer Kalender: '%@'", calendar.title());
    if ((type == kCalendarTypeNode || type == kCalendarTypeSubscriber) &&
        calendar.events() == nullptr) {
        logMsg(pluginHelper, "Keine Ereignisse fuer Kalender: '%@'", calendar.title());
        reportUnread({KTLoss::Extent::calendar},
                     "Die Ereignisse des Kalenders können nicht geladen werden");
        return;
    }
    const LossScope scope("", folderForReports(calendar));
    logMsg(pluginHelper, "%@", calendar.description());

    SyncRecord record =
        makeRecord(calendar.syncRecord(), recordKey, calendar.parentRecordKey(), kConduitCalendar);
    if (!record) {
        logMsg(pluginHelper, "Kalender '%@': Fehlerhafter Sync-Datensatz", calendar.title());
        reportUnread({KTLoss::Extent::calendar},
                     "Der Kalender ergibt keinen gültigen Sync-Datensatz");
        return;
    }
    if (!calendar.selected())
        notSelectedCalendars.insert(recordKey);
    if (type == kCalendarTypeGroup)
        takeGroup(recordKey, calendar, std::move(record));
    else
        takeOrSkip(recordKey, calendar, std::move(record));

    if (!holdsItems(calendar))
        return;
    takeEvents(recordKey, calendar);
    takeTasks(recordKey, calendar);
}

void Loader::takeGroup(const std::string& recordKey, KTSyncCalendar& group, SyncRecord record)
{
    activatedCalendars.set(recordKey, 1);
    takePart(recordKey, std::move(record));
    if (!group.expanded())
        notExpandedGroups.insert(recordKey);
}

void Loader::takeOrSkip(const std::string& recordKey, const KTSyncCalendar& calendar,
                        SyncRecord record)
{
    if (!activatedCalendars.contains(recordKey)) {
        activatedCalendars.set(recordKey, 1);
        logToHostAndSystem(pluginHelper, "Kalender '%@' wurde aktiviert", calendar.title());
    }
    if (activatedCalendars[recordKey].boolValue()) {
        takePart(recordKey, std::move(record));
        return;
    }
    skippedRecords.push_back(std::move(record));
    ++numSkippedCalendars;
    isSkipping = true;
}

void Loader::takePart(const std::string& recordKey, SyncRecord record)
{
    records.push_back(std::move(record));
    ++numCalendars;
    calendarRecordKeysToSync.insert(recordKey);
}

void Loader::takeEvents(const std::string& recordKey, KTSyncCalendar& calendar)
{
    const KTSyncCalendar::Events* events = calendar.events();
    if (events == nullptr)
        return;
    for (const auto& event : *events) {
        guardedOr([&] { takeEvent(recordKey, calendar, *event); },
                  [&](const Exception& exception) {
                      // The record that the line should show is what may have raised.
                      reportBadEvent(calendar, *event,
                                     guardedOr([&] { return event->syncRecord().description(); },
                                               [&](const Exception&) {
                                                   return exception.description();
                                               }));
                  });
    }
}

void Loader::takeEvent(const std::string& recordKey, const KTSyncCalendar& calendar,
                       const KTSyncEvent& event)
{
    SyncRecord record = makeRecord(event.syncRecord(), event.recordKey(), recordKey, kConduitEvent);
    if (record)
        takeItem(std::move(record), numEvents);
    else
        reportBadEvent(calendar, event, event.syncRecord().description());
}

void Loader::takeTasks(const std::string& recordKey, KTSyncCalendar& calendar)
{
    const KTSyncCalendar::Tasks* tasks = calendar.tasks();
    if (tasks == nullptr)
        return;
    for (const auto& task : *tasks) {
        SyncRecord record =
            makeRecord(task->syncRecord(), task->recordKey(), recordKey, kConduitTask);
        if (record) {
            takeItem(std::move(record), numTasks);
            continue;
        }
        logMsg(pluginHelper, "Kalender '%@', Aufgabe '%@': Fehlerhafter Sync-Datensatz",
               calendar.title(), task->description());
        reportUnread({KTLoss::Extent::component},
                     stringWithFormat("Die Aufgabe '%@' ergibt keinen gültigen Sync-Datensatz",
                                      task->title()));
    }
}

void Loader::takeItem(SyncRecord record, std::int32_t& counter)
{
    if (isSkipping) {
        skippedRecords.push_back(std::move(record));
        return;
    }
    records.push_back(std::move(record));
    ++counter;
}

void Loader::reportBadEvent(const KTSyncCalendar& calendar, const KTSyncEvent& event,
                            const std::string& description) const
{
    logMsg(pluginHelper, "Kalender '%@', Ereignis '%@': Fehlerhafter Sync-Datensatz",
           calendar.title(), description);
    reportUnread({KTLoss::Extent::component},
                 stringWithFormat("Das Ereignis '%@' ergibt keinen gültigen Sync-Datensatz",
                                  event.title()));
}

}  // namespace

std::optional<SyncRecordList> ICalHelper::loadCalendarsWithPluginHelper(
    KTSyncPluginHelper* pluginHelper, std::int32_t& numCalendars, std::int32_t& numEvents,
    std::int32_t& numTasks, Dictionary& activatedCalendars, RecordKeySet& calendarRecordKeysToSync,
    std::int32_t& numSkippedCalendars, SyncRecordList& skippedRecords,
    RecordKeySet& notSelectedCalendars, RecordKeySet& notExpandedGroups)
{
    const auto calendars =
        KTSyncCalendarStore::calendarStoreWithPluginHelper(pluginHelper)->calendars();
    if (!calendars) {
        logToHostAndSystem(pluginHelper, "loadCalendarsWithPluginHelper: calendarStore == nil");
        return std::nullopt;
    }

    Loader loader{pluginHelper,
                  numCalendars,
                  numEvents,
                  numTasks,
                  activatedCalendars,
                  calendarRecordKeysToSync,
                  numSkippedCalendars,
                  skippedRecords,
                  notSelectedCalendars,
                  notExpandedGroups};
    int current = 0;
    for (const auto& [recordKey, calendar] : *calendars) {
        const std::string title = calendar->title().value_or("");
        if (pluginHelper != nullptr)
            pluginHelper->progress(title, ++current, static_cast<int>(calendars->size()));
        const LossScope scope(title, "");
        // References, because lambdas cannot capture structured bindings.
        const std::string& key = recordKey;
        KTSyncCalendar& model = *calendar;
        guardedOr([&] { loader.takeCalendar(key, model); },
                  [&](const Exception& exception) {
                      logToHostAndSystem(pluginHelper, "Exception in Kalender '%@': %@", title,
                                         exception);
                      const LossScope folder("", folderForReports(model));
                      reportUnread({KTLoss::Extent::calendar},
                                   stringWithFormat("Der Kalender kann nicht geladen werden: %@",
                                                    exception));
                  });
    }
    return std::move(loader.records);
}

}  // namespace kt
