#include "Sync/Host/Site/CalendarCache.h"

#include <algorithm>
#include <utility>

#include "Sync/Host/Publishing/PublishedCalendarReader.h"
#include "Sync/Host/Site/CalendarFile.h"

namespace kt {

std::shared_ptr<const CachedCalendar> CalendarCache::calendar(SyncServerSession& session,
                                                              const std::string& key)
{
    PublishedCalendarReader reader(session);
    const auto state = reader.state(key);
    if (!state)
        return nullptr;
    if (auto kept = find(key, *state))
        return kept;
    auto calendar = reader.calendar(key);
    if (!calendar)
        return nullptr;
    auto read = std::make_shared<CachedCalendar>();
    read->file = calendarFile(*calendar);
    read->calendar = std::move(*calendar);
    keep({key, *state, read});
    return read;
}

std::shared_ptr<const CachedCalendar> CalendarCache::find(const std::string& key,
                                                          const std::string& state)
{
    const std::lock_guard lock(_mutex);
    const auto found = std::find_if(_entries.begin(), _entries.end(), [&](const Entry& entry) {
        return entry.key == key && entry.state == state;
    });
    if (found == _entries.end())
        return nullptr;
    _entries.splice(_entries.begin(), _entries, found);
    return _entries.front().calendar;
}

void CalendarCache::keep(Entry entry)
{
    const std::lock_guard lock(_mutex);
    _entries.remove_if([&](const Entry& kept) { return kept.key == entry.key; });
    _entries.push_front(std::move(entry));
    if (_entries.size() > _capacity)
        _entries.pop_back();
}

}  // namespace kt
