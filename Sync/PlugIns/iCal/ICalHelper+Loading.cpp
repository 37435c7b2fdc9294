#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <utility>

#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTCarefulWriting.h"
#include "Sync/HostInterface/KTIdentityReport.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/HostInterface/KTSyncEnhancedDate.h"
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
    LoadedStore* loaded = nullptr;
    const LoadedStore* earlier = nullptr;
    KTIdentityReport* identities = hostClass<KTIdentityReport>();
    SyncRecordList records = {};
    bool isSkipping = false;
    ItemSources sources = {};  // of the calendar
    LoadedCalendar* loadedCalendar = nullptr;

    void takeCalendar(const std::string& recordKey, const std::shared_ptr<KTSyncCalendar>& model);
    void noteCalendar(const std::string& recordKey, const SyncRecord& record,
                      const std::shared_ptr<KTSyncCalendar>& model);
    void noteItem(LoadedItem item, std::string_view recurrenceId, const TextPlace* place);
    void takeEarlier(const ItemSources::Item& source, std::int32_t& counter);
    void watchForLosses(const TextPlace* place, const std::function<void()>& take);
    void finishCalendar(KTSyncCalendar& calendar);
    void refuseItem(const KTSyncCalendarItem& item, const TextPlace* place,
                    std::string_view reason);
    void takeGroup(const std::string& recordKey, KTSyncCalendar& group, SyncRecord record);
    void takeOrSkip(const std::string& recordKey, const KTSyncCalendar& calendar,
                    SyncRecord record);
    void takePart(const std::string& recordKey, SyncRecord record);
    void takeEvents(const std::string& recordKey, KTSyncCalendar& calendar);
    void takeEventOrTell(const std::string& recordKey, const KTSyncCalendar& calendar,
                         const KTSyncEvent& event, const TextPlace* place);
    void takeEvent(const std::string& recordKey, const KTSyncCalendar& calendar,
                   const KTSyncEvent& event, const TextPlace* place);
    void takeTasks(const std::string& recordKey, KTSyncCalendar& calendar);
    void takeTask(const std::string& recordKey, const KTSyncCalendar& calendar,
                  const KTSyncTask& task, const TextPlace* place);
    void takeItem(SyncRecord record, std::int32_t& counter);
    void reportBadEvent(const KTSyncCalendar& calendar, const KTSyncEvent& event,
                        const TextPlace* place, const std::string& description);
};

/// Null where places are not known.
const TextPlace* placeAt(const std::vector<ItemSources::Item>& items, std::size_t number)
{
    return number < items.size() ? &items[number].place : nullptr;
}

bool holdsAttachments(const Dictionary& item)
{
    const Value& alarms = item["Alarms"];
    return item.contains("Attachments") ||
           (alarms.isArray() &&
            std::any_of(alarms.array().begin(), alarms.array().end(), [](const Value& alarm) {
                return alarm.isDictionary() && alarm.dictionary().contains("Attachments");
            }));
}

std::string recurrenceIdOf(const Dictionary& item)
{
    const auto date = item["RecurrenceId"].objectOfClass<KTSyncEnhancedDate>();
    return date ? date->iCalDate() : std::string();
}

const LoadedCalendar* calendarOf(const LoadedStore* store, const std::string& recordKey)
{
    if (store == nullptr || store->timezone != Platform::shared().localTimeZoneName())
        return nullptr;
    const auto found =
        std::find_if(store->calendars.begin(), store->calendars.end(),
                     [&](const LoadedCalendar& each) { return each.recordKey == recordKey; });
    return found == store->calendars.end() ? nullptr : &*found;
}

void Loader::takeCalendar(const std::string& recordKey,
                          const std::shared_ptr<KTSyncCalendar>& model)
{
    KTSyncCalendar& calendar = *model;
    const std::int32_t type = calendar.calendarType();
    isSkipping = false;
    if (const LoadedCalendar* before = calendarOf(earlier, recordKey))
        calendar.takeItemsFrom(*before);

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
    noteCalendar(recordKey, record, model);
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

void Loader::noteCalendar(const std::string& recordKey, const SyncRecord& record,
                          const std::shared_ptr<KTSyncCalendar>& model)
{
    sources = model->takeItemSources().value_or(ItemSources());
    if (identities != nullptr)
        identities->reportIdentity(record, {"", "", model->ownSourceKey().value_or(""),
                                            model->storedFolder().value_or("")});
    if (loaded == nullptr)
        return;
    loadedCalendar = &loaded->calendars.emplace_back();
    loadedCalendar->recordKey = recordKey;
    loadedCalendar->record = record;
    loadedCalendar->calendar = model;
    loadedCalendar->areItemsLoaded = model->heldEvents() != nullptr;
}

void Loader::noteItem(LoadedItem item, std::string_view recurrenceId, const TextPlace* place)
{
    const Value& uid = item.uid;
    if (identities != nullptr)
        identities->reportIdentity(item.record,
                                   {uid.isString() ? std::string(uid.string()) : std::string(),
                                    std::string(recurrenceId), "",
                                    place == nullptr ? std::string()
                                                     : sources.files[place->file].path});
    if (loadedCalendar == nullptr || place == nullptr)
        return;
    // The attached files may change while the item's stays as it is.
    if (holdsAttachments(item.record->record()))
        sources.files[place->file].identity = 0;
    item.place = *place;
    loadedCalendar->items.push_back(std::move(item));
}

/// One that stands in its file as an earlier load found it.
void Loader::takeEarlier(const ItemSources::Item& source, std::int32_t& counter)
{
    noteItem(*source.earlier, recurrenceIdOf(source.earlier->record->record()), &source.place);
    takeItem(source.earlier->record, counter);
}

/// A file that gives losses is read by every load, so that each of them is told of.
void Loader::watchForLosses(const TextPlace* place, const std::function<void()>& take)
{
    const std::uint64_t before = lossesTold();
    take();
    if (place != nullptr && lossesTold() != before)
        sources.files[place->file].identity = 0;
}

/// Whatever ended the calendar's turn. Copies are known by the number of their event until now.
void Loader::finishCalendar(KTSyncCalendar& calendar)
{
    if (loadedCalendar == nullptr)
        return;
    LoadedCalendar& kept = *std::exchange(loadedCalendar, nullptr);
    std::map<std::pair<std::uint32_t, std::size_t>, std::size_t> numbers;  // of items, by place
    for (std::size_t number = 0; number < kept.items.size() && !sources.copies.empty(); ++number)
        numbers.emplace(std::pair(kept.items[number].place.file, kept.items[number].place.offset),
                        number);
    for (ItemSources::Copy& copy : sources.copies) {
        const TextPlace& first = sources.events[copy.of].place;
        const auto number = numbers.find({first.file, first.offset});
        if (number == numbers.end())
            continue;
        copy.of = number->second;
        kept.copies.push_back(copy);
    }
    kept.files = std::move(sources.files);
    kept.unread = std::move(sources.unread);
    calendar.dropItems();
}

/// An item that gave no record stays where it stands.
void Loader::refuseItem(const KTSyncCalendarItem& item, const TextPlace* place,
                        std::string_view reason)
{
    const std::string digest = hexText(sha1DigestBytes(item.description()));
    if (place != nullptr)
        sources.unread.push_back({*place, digest});
    const LossScope scope("", place == nullptr ? "" : sources.files[place->file].path);
    reportUnread({KTLoss::Extent::component,
                  item.uid().isString() ? std::string(item.uid().string()) : std::string(), digest},
                 reason);
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
    for (std::size_t number = 0; number < events->size(); ++number) {
        if ((*events)[number] == nullptr) {
            takeEarlier(sources.events[number], numEvents);
            continue;
        }
        const KTSyncEvent& event = *(*events)[number];
        const TextPlace* const place = placeAt(sources.events, number);
        watchForLosses(place, [&] { takeEventOrTell(recordKey, calendar, event, place); });
    }
}

void Loader::takeEventOrTell(const std::string& recordKey, const KTSyncCalendar& calendar,
                             const KTSyncEvent& event, const TextPlace* place)
{
    guardedOr([&] { takeEvent(recordKey, calendar, event, place); },
              [&](const Exception& exception) {
                  // The record that the line should show is what may have raised.
                  reportBadEvent(calendar, event, place,
                                 guardedOr([&] { return event.syncRecord().description(); },
                                           [&](const Exception&) {
                                               return exception.description();
                                           }));
              });
}

void Loader::takeEvent(const std::string& recordKey, const KTSyncCalendar& calendar,
                       const KTSyncEvent& event, const TextPlace* place)
{
    SyncRecord record = makeRecord(event.syncRecord(), event.recordKey(), recordKey, kConduitEvent);
    if (!record)
        return reportBadEvent(calendar, event, place, event.syncRecord().description());
    noteItem({record, event.uid(), {}, event.uniquenessDigest().value_or(SHA1Digest())},
             event.recurrenceId() ? event.recurrenceId()->iCalDate() : std::string(), place);
    takeItem(std::move(record), numEvents);
}

void Loader::takeTasks(const std::string& recordKey, KTSyncCalendar& calendar)
{
    const KTSyncCalendar::Tasks* tasks = calendar.tasks();
    if (tasks == nullptr)
        return;
    for (std::size_t number = 0; number < tasks->size(); ++number) {
        const auto& task = (*tasks)[number];
        if (task == nullptr) {
            takeEarlier(sources.tasks[number], numTasks);
            continue;
        }
        const TextPlace* const place = placeAt(sources.tasks, number);
        watchForLosses(place, [&] { takeTask(recordKey, calendar, *task, place); });
    }
}

void Loader::takeTask(const std::string& recordKey, const KTSyncCalendar& calendar,
                      const KTSyncTask& task, const TextPlace* place)
{
    SyncRecord record = makeRecord(task.syncRecord(), task.recordKey(), recordKey, kConduitTask);
    if (record) {
        noteItem({record, task.uid()}, "", place);
        takeItem(std::move(record), numTasks);
        return;
    }
    logMsg(pluginHelper, "Kalender '%@', Aufgabe '%@': Fehlerhafter Sync-Datensatz",
           calendar.title(), task.description());
    refuseItem(task, place,
               stringWithFormat("Die Aufgabe '%@' ergibt keinen gültigen Sync-Datensatz",
                                task.title()));
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
                            const TextPlace* place, const std::string& description)
{
    logMsg(pluginHelper, "Kalender '%@', Ereignis '%@': Fehlerhafter Sync-Datensatz",
           calendar.title(), description);
    refuseItem(event, place,
               stringWithFormat("Das Ereignis '%@' ergibt keinen gültigen Sync-Datensatz",
                                event.title()));
}

}  // namespace

std::optional<SyncRecordList> ICalHelper::loadCalendarsWithPluginHelper(
    KTSyncPluginHelper* pluginHelper, std::int32_t& numCalendars, std::int32_t& numEvents,
    std::int32_t& numTasks, Dictionary& activatedCalendars, RecordKeySet& calendarRecordKeysToSync,
    std::int32_t& numSkippedCalendars, SyncRecordList& skippedRecords,
    RecordKeySet& notSelectedCalendars, RecordKeySet& notExpandedGroups, LoadedStore* loaded,
    const LoadedStore* earlier)
{
    if (hostClass<KTCarefulWriting>() == nullptr)
        loaded = nullptr;  // nobody is going to ask
    if (loaded != nullptr)
        loaded->timezone = Platform::shared().localTimeZoneName();
    UnreadCollector unread;
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
                  notExpandedGroups,
                  loaded,
                  earlier};
    int current = 0;
    for (const auto& [recordKey, calendar] : *calendars) {
        const std::string title = calendar->title().value_or("");
        if (pluginHelper != nullptr)
            pluginHelper->progress(title, ++current, static_cast<int>(calendars->size()));
        const LossScope scope(title, "", recordKey);
        // References, because lambdas cannot capture structured bindings.
        const std::string& key = recordKey;
        const std::shared_ptr<KTSyncCalendar>& model = calendar;
        guardedOr([&] { loader.takeCalendar(key, model); },
                  [&](const Exception& exception) {
                      logToHostAndSystem(pluginHelper, "Exception in Kalender '%@': %@", title,
                                         exception);
                      const LossScope folder("", folderForReports(*model));
                      reportUnread({KTLoss::Extent::calendar},
                                   stringWithFormat("Der Kalender kann nicht geladen werden: %@",
                                                    exception));
                  });
        loader.finishCalendar(*model);
    }
    if (loaded != nullptr)
        loaded->unread = unread.takeTexts();
    return std::move(loader.records);
}

}  // namespace kt
