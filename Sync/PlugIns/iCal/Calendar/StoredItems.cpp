#include "Sync/PlugIns/iCal/Calendar/StoredItems.h"

#include "Sync/HostInterface/KTCarefulWriting.h"

namespace kt {

StoredItems::StoredItems(const LoadedStore& store)
{
    for (const LoadedCalendar& calendar : store.calendars) {
        for (std::size_t number = 0; number < calendar.items.size(); ++number)
            _items.emplace(calendar.items[number].record.get(), Item{&calendar, number});
    }
}

bool StoredItems::isKnown(const KTSyncRecord& handed)
{
    const auto* const careful = hostClass<KTCarefulWriting>();
    return careful != nullptr && careful->storedRecordOf(handed) != nullptr;
}

std::optional<StoredItems::Item> StoredItems::itemOf(const KTSyncRecord& handed) const
{
    const auto* const careful = hostClass<KTCarefulWriting>();
    // What did not change may be handed back as it was given.
    auto found = _items.find(&handed);
    if (found == _items.end() && careful != nullptr)
        found = _items.find(careful->storedRecordOf(handed));
    return found == _items.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace kt
