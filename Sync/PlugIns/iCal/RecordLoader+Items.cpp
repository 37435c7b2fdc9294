// Events and tasks.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "Sync/Foundation/Digest.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/HostInterface/KTSyncEnhancedDate.h"
#include "Sync/PlugIns/iCal/RecordLoader.h"

namespace kt {

namespace {

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

}  // namespace

void RecordLoader::takeEvents(const std::string& recordKey, KTSyncCalendar& calendar)
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

void RecordLoader::takeEventOrTell(const std::string& recordKey, const KTSyncCalendar& calendar,
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

void RecordLoader::takeEvent(const std::string& recordKey, const KTSyncCalendar& calendar,
                             const KTSyncEvent& event, const TextPlace* place)
{
    SyncRecord record = makeRecord(event.syncRecord(), event.recordKey(), recordKey, kConduitEvent);
    if (!record)
        return reportBadEvent(calendar, event, place, event.syncRecord().description());
    noteItem({record, event.uid(), {}, event.uniquenessDigest().value_or(SHA1Digest())},
             event.recurrenceId() ? event.recurrenceId()->iCalDate() : std::string(), place);
    takeItem(std::move(record), numEvents);
}

void RecordLoader::takeTasks(const std::string& recordKey, KTSyncCalendar& calendar)
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

void RecordLoader::takeTask(const std::string& recordKey, const KTSyncCalendar& calendar,
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

void RecordLoader::takeEarlier(const ItemSources::Item& source, std::int32_t& counter)
{
    noteItem(*source.earlier, recurrenceIdOf(source.earlier->record->record()), &source.place);
    takeItem(source.earlier->record, counter);
}

void RecordLoader::takeItem(SyncRecord record, std::int32_t& counter)
{
    if (isSkipping) {
        skippedRecords.push_back(std::move(record));
        return;
    }
    records.push_back(std::move(record));
    ++counter;
}

void RecordLoader::noteItem(LoadedItem item, std::string_view recurrenceId, const TextPlace* place)
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

void RecordLoader::watchForLosses(const TextPlace* place, const std::function<void()>& take)
{
    const std::uint64_t before = lossesTold();
    take();
    if (place != nullptr && lossesTold() != before)
        sources.files[place->file].identity = 0;
}

void RecordLoader::refuseItem(const KTSyncCalendarItem& item, const TextPlace* place,
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

void RecordLoader::reportBadEvent(const KTSyncCalendar& calendar, const KTSyncEvent& event,
                                  const TextPlace* place, const std::string& description)
{
    logMsg(pluginHelper, "Kalender '%@', Ereignis '%@': Fehlerhafter Sync-Datensatz",
           calendar.title(), description);
    refuseItem(event, place,
               stringWithFormat("Das Ereignis '%@' ergibt keinen gültigen Sync-Datensatz",
                                event.title()));
}

}  // namespace kt
