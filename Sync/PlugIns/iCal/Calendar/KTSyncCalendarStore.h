#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Sync/Foundation/FileManager.h"
#include "Sync/HostInterface/KTSyncPluginHelper.h"
#include "Sync/PlugIns/iCal/Calendar/CarefulStore.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/ParsedCalendars.h"

namespace kt {

/// iCal's store on disk, in the layout of the system that the host reports (StoreLayout). Holds
/// nothing between calls: reading reads it whole, writing replaces it whole. Not to be used from
/// two threads at once, since both directions work on iCal's files.
class KTSyncCalendarStore : public FileManagerHandler {
public:
    using Calendars = std::vector<std::shared_ptr<KTSyncCalendar>>;

    static std::shared_ptr<KTSyncCalendarStore> calendarStoreWithPluginHelper(
        KTSyncPluginHelper* pluginHelper);
    /// initWithPluginHelper:
    explicit KTSyncCalendarStore(KTSyncPluginHelper* pluginHelper);

    /// Record key to calendar, in reading order; nullopt when the store could not be read, an empty
    /// list for an empty store and on a system without one. Items are loaded when they are asked
    /// for. Changes the disk where there is no store yet: in the 10.5 layout a missing folder is
    /// created; in the 10.4 layout a node file that is missing or cannot be read is answered with a
    /// rewrite without calendars, so the old calendars and an unreadable node file are in the
    /// backups afterwards.
    std::optional<ParsedCalendars> calendars();
    /// The values of `calendars`.
    std::optional<Calendars> calendarsList();
    /// Makes these calendars (none of them null) and their items the complete content of the store.
    /// In the 10.5 layout false only when an Exception ended the writing, which may leave the store
    /// partly written. In the 10.4 layout also when a folder or the node file could not be renewed;
    /// see write104Calendars for where the old store is then. On a system without a store there is
    /// nothing to write, and that succeeds.
    bool storeCalendars(const Calendars& calendars);

    /// The same, but every text of the store that did not change, or that could not be read, stays
    /// as it is. False also when a file could not be written or removed; see
    /// StoreLayout::writeCarefully.
    bool storeCalendarsCarefully(const CarefulStore& content);

    /// fileManager:shouldProceedAfterError: goes on after a failed removal and stops after any
    /// other failure.
    bool fileManager(FileManager& fileManager, const Dictionary& error) override;

    /// May be null.
    KTSyncPluginHelper* pluginHelper() const { return _pluginHelper; }

protected:
    // The work of each layout by itself, whatever system the host reports.

    /// Reads one list of nodes of the 10.4 layout, groups with their members; nothing for nil.
    /// Throws Exception for an entry of a wrong kind, after reporting it as a loss.
    void parseMacOS104CalendarsList(const Value& list, ParsedCalendars& intoParsedCalendars,
                                    const std::optional<std::string>& withParentRecordKey);
    /// True only when the new node file is in place. Where the node file could not be exchanged the
    /// old store is back; after a failure before that, or the Exception of a calendar that could
    /// not be prepared, which is passed on, the old calendars stay in "Sources.bak". Every rewrite
    /// saves what it finds: after two such failures in a row no backup here holds them any more.
    bool write104Calendars(const Calendars& calendars);

    /// Reads one folder level of the 10.5 layout. Throws Exception for an entry of Info.plist that
    /// is of the wrong kind, after reporting it as a loss.
    void parseMacOS105CalendarsAtPath(const std::string& path, ParsedCalendars& intoParsedCalendars,
                                      bool parentIsIMAPGroup,
                                      const std::optional<std::string>& parentIMAPGroupRecordKey);
    /// True, also when single files could not be written; passes on the Exception of a calendar
    /// that could not be prepared.
    bool write105Calendars(const Calendars& calendars);

private:
    template <class Write>
    bool store(const Write& write);

    KTSyncPluginHelper* _pluginHelper;  // not owned, may be null
};

}  // namespace kt
