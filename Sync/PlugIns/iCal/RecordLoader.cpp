// Calendars and groups.

#include "Sync/PlugIns/iCal/RecordLoader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

#include "Sync/Foundation/Platform.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/HostAndSystemLog.h"

namespace kt {

namespace {

/// Whether the calendar's items become records. iCal makes birthdays from the address book.
bool holdsItems(const KTSyncCalendar& calendar)
{
    return calendar.calendarType() != kCalendarTypeGroup &&
           calendar.calendarType() != kCalendarTypeBirthday;
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

}  // namespace

std::string folderForReports(const KTSyncCalendar& calendar)
{
    return holdsItems(calendar) ? calendar.corestoragePath().value_or("") : "";
}

SyncRecord makeRecord(Dictionary record, const std::optional<std::string>& key,
                      const std::optional<std::string>& parentKey, std::string_view conduit)
{
    const auto* recordClass = hostClass<KTSyncRecordClass>();
    if (recordClass == nullptr)
        return nullptr;
    return recordClass->syncRecordWithRecordType(kRecordTypeRecord, std::move(record), key,
                                                 parentKey, std::string(conduit));
}

void RecordLoader::takeCalendar(const std::string& recordKey,
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

void RecordLoader::noteCalendar(const std::string& recordKey, const SyncRecord& record,
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

void RecordLoader::finishCalendar(KTSyncCalendar& calendar)
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

void RecordLoader::takeGroup(const std::string& recordKey, KTSyncCalendar& group, SyncRecord record)
{
    activatedCalendars.set(recordKey, 1);
    takePart(recordKey, std::move(record));
    if (!group.expanded())
        notExpandedGroups.insert(recordKey);
}

void RecordLoader::takeOrSkip(const std::string& recordKey, const KTSyncCalendar& calendar,
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

void RecordLoader::takePart(const std::string& recordKey, SyncRecord record)
{
    records.push_back(std::move(record));
    ++numCalendars;
    calendarRecordKeysToSync.insert(recordKey);
}

}  // namespace kt
