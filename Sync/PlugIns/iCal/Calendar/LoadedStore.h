#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/Value.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/HostInterface/KTSyncRecord.h"
#include "Sync/PlugIns/iCal/Calendar/ItemSources.h"

namespace kt {

class KTSyncCalendar;

/// An event or a task of the store: the record that it gave and its text.
struct LoadedItem {
    SyncRecord record;
    Value uid;  // as it stands in the text, or nil
    TextPlace place{};
    SHA1Digest uniqueness{};  // of an event: KTSyncEvent::uniquenessDigest
};

/// A calendar or group of the store as it was loaded.
struct LoadedCalendar {
    std::string recordKey;
    SyncRecord record;
    std::shared_ptr<KTSyncCalendar> calendar;  // its settings, without its items
    bool areItemsLoaded = false;
    std::vector<ItemSources::File> files{};
    std::vector<LoadedItem> items{};
    std::vector<ItemSources::Copy> copies{};
    std::vector<ItemSources::Unread> unread{};
};

/// What the store held when a run loaded it: what a rewrite that keeps texts compares with.
struct LoadedStore {
    std::vector<LoadedCalendar> calendars;
    std::vector<KTLoss> unread;  // as they were told
    std::string timezone;        // the machine's, which dates may depend on
};

}  // namespace kt
