#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTIdentityReport.h"
#include "Sync/HostInterface/KTSyncPluginHelper.h"
#include "Sync/HostInterface/KTSyncRecord.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/LoadedStore.h"
#include "Sync/PlugIns/iCal/ICalHelper.h"

namespace kt {

/// Turns the calendars of a store into records: what ICalHelper::loadCalendarsWithPluginHelper
/// fills, and the calendar whose turn it is.
struct RecordLoader {
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

    // Calendars.

    /// The calendar and its items. An Exception, passed on, costs only this calendar.
    void takeCalendar(const std::string& recordKey, const std::shared_ptr<KTSyncCalendar>& model);
    /// Whatever ended the calendar's turn. Copies are known by the number of their event until now.
    void finishCalendar(KTSyncCalendar& calendar);
    void noteCalendar(const std::string& recordKey, const SyncRecord& record,
                      const std::shared_ptr<KTSyncCalendar>& model);
    void takeGroup(const std::string& recordKey, KTSyncCalendar& group, SyncRecord record);
    void takeOrSkip(const std::string& recordKey, const KTSyncCalendar& calendar,
                    SyncRecord record);
    void takePart(const std::string& recordKey, SyncRecord record);

    // Items.

    void takeEvents(const std::string& recordKey, KTSyncCalendar& calendar);
    void takeEventOrTell(const std::string& recordKey, const KTSyncCalendar& calendar,
                         const KTSyncEvent& event, const TextPlace* place);
    void takeEvent(const std::string& recordKey, const KTSyncCalendar& calendar,
                   const KTSyncEvent& event, const TextPlace* place);
    void takeTasks(const std::string& recordKey, KTSyncCalendar& calendar);
    void takeTask(const std::string& recordKey, const KTSyncCalendar& calendar,
                  const KTSyncTask& task, const TextPlace* place);
    /// One that stands in its file as an earlier load found it.
    void takeEarlier(const ItemSources::Item& source, std::int32_t& counter);
    void takeItem(SyncRecord record, std::int32_t& counter);
    void noteItem(LoadedItem item, std::string_view recurrenceId, const TextPlace* place);
    /// A file that gives losses is read by every load, so that each of them is told of.
    void watchForLosses(const TextPlace* place, const std::function<void()>& take);
    /// An item that gave no record stays where it stands.
    void refuseItem(const KTSyncCalendarItem& item, const TextPlace* place,
                    std::string_view reason);
    void reportBadEvent(const KTSyncCalendar& calendar, const KTSyncEvent& event,
                        const TextPlace* place, const std::string& description);
};

/// Null where no host makes records, and for what none can be made of.
SyncRecord makeRecord(Dictionary record, const std::optional<std::string>& key,
                      const std::optional<std::string>& parentKey, std::string_view conduit);
/// The folder that a loss is reported for. To be asked for when the items were: a folder that
/// cannot be named is worth a line in the log, and those come in the order of the work.
std::string folderForReports(const KTSyncCalendar& calendar);

}  // namespace kt
