#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Sync/Foundation/FileManager.h"
#include "Sync/PlugIns/iCal/Calendar/LoadedStore.h"

namespace kt {

/// What the item files of one calendar gave when they were loaded before, for those that stand as
/// they stood then.
class EarlierItems {
public:
    struct File {
        const ItemSources::File& source;
        std::span<const LoadedItem> events;
        std::span<const LoadedItem> tasks;
    };

    /// The calendar as it was loaded, null for none; it is not owned and outlives this. `folder` is
    /// where its item files are now.
    EarlierItems(const LoadedCalendar* calendar, std::string folder);

    /// Nullopt for a file that is another one now, or gave more than its records tell. To be asked
    /// in the order of the names.
    std::optional<File> next(const std::string& name);

private:
    std::span<const LoadedItem> takeOfFile(std::span<const LoadedItem>& items) const;

    const LoadedCalendar* _calendar;
    std::string _folder;
    std::vector<DirectoryEntry> _entries;  // as it is now
    std::size_t _entry = 0;
    std::size_t _file = 0;                // of the calendar
    std::span<const LoadedItem> _events;  // of this file and of those behind it
    std::span<const LoadedItem> _tasks;
};

}  // namespace kt
