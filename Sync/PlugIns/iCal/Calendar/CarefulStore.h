#pragma once

#include <memory>
#include <vector>

#include "Sync/HostInterface/KTSyncPluginHelper.h"
#include "Sync/PlugIns/iCal/Calendar/LoadedStore.h"

namespace kt {

class StoreLayout;

/// A calendar or group that is to be written, and what it was in the store.
struct CarefulCalendar {
    std::shared_ptr<KTSyncCalendar> calendar;  // without its items
    std::vector<SyncRecord> items;             // its events and tasks as they were handed out
    const LoadedCalendar* stored = nullptr;    // null for a new one
};

/// The whole content that a store is to have, for a rewrite that keeps the store's texts.
struct CarefulStore {
    std::vector<CarefulCalendar> calendars;
    const LoadedStore& loaded;
};

/// Tells, as a loss, of a calendar that was to leave a group which cannot be read, because another
/// one has its title, and which therefore keeps its members.
void tellThatGroupStays(const CarefulStore& store, const CarefulCalendar& calendar);

/// A calendar or group as the host handed it out, and how iCal shows it.
struct HandedCalendar {
    SyncRecord record;
    std::vector<SyncRecord> items;
    bool isSelected = true;
    bool isExpanded = true;
};

/// Finds the place of each calendar in the store; one that the store has is shown as there.
CarefulStore carefulStore(KTSyncPluginHelper* pluginHelper, const StoreLayout& layout,
                          std::vector<HandedCalendar> handed, const LoadedStore& loaded);

}  // namespace kt
