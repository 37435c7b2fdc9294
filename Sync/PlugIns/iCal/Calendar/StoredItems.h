#pragma once

#include <cstddef>
#include <optional>
#include <unordered_map>

#include "Sync/PlugIns/iCal/Calendar/LoadedStore.h"

namespace kt {

/// Which item of the store a record that was handed out is, as far as the host knows: however much
/// of it was edited, and whatever calendar it is in now.
class StoredItems {
public:
    struct Item {
        const LoadedCalendar* calendar = nullptr;
        std::size_t number = 0;  // in the calendar's items

        const LoadedItem& item() const { return calendar->items[number]; }
        /// The path of its file.
        const std::string& path() const { return calendar->files[item().place.file].path; }
    };

    /// The store is not owned and outlives this.
    explicit StoredItems(const LoadedStore& store);

    /// Whether the host can tell of that record which it is, be it a new one.
    static bool isKnown(const KTSyncRecord& handed);
    /// Nullopt for a new one, and where nobody can tell.
    std::optional<Item> itemOf(const KTSyncRecord& handed) const;

private:
    std::unordered_map<const KTSyncRecord*, Item> _items;
};

}  // namespace kt
