#pragma once

#include <string>
#include <unordered_set>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/PlugIns/iCal/Calendar/LoadedStore.h"

namespace kt {

class StoreLayout;

/// Where the calendars of a rewrite stand. A calendar stays in the folder that the store has it in,
/// which the host may know, whatever the calendar is called now and was called elsewhere. Where it
/// does not, it is found by its source key, which is that folder, or else by its record key, which
/// another calendar may take over with the title. A group that has neither is known by its members.
/// A new calendar gets a folder that nothing stands in.
class CalendarPlaces {
public:
    /// Both outlive the object.
    CalendarPlaces(const LoadedStore& loaded, const StoreLayout& layout);

    struct Place {
        Dictionary record;  // with the source key of the folder
        const LoadedCalendar* stored = nullptr;
    };
    /// One place for each record of a calendar or group, in order.
    std::vector<Place> placesFor(const std::vector<SyncRecord>& calendars) const;

private:
    void settle(const KTSyncRecord& record, Place& place,
                std::unordered_set<std::string>& taken) const;
    std::string freeSourceKey(const KTSyncRecord& record,
                              std::unordered_set<std::string>& taken) const;

    const LoadedStore& _loaded;
    const StoreLayout& _layout;
    std::unordered_set<std::string> _leftBehind;  // folders
};

}  // namespace kt
