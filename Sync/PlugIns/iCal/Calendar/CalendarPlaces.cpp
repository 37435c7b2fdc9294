#include "Sync/PlugIns/iCal/Calendar/CalendarPlaces.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <unordered_set>

#include "Sync/Foundation/FileManager.h"
#include "Sync/HostInterface/KTCarefulWriting.h"
#include "Sync/HostInterface/StorePaths.h"
#include "Sync/PlugIns/iCal/Calendar/EmptyFolder.h"
#include "Sync/PlugIns/iCal/Calendar/GivenUp.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/StoreLayout.h"

namespace kt {

namespace {

bool isGroup(const KTSyncRecord& record)
{
    return KTSyncCalendar::calendarTypeForString(record.record()["Type"].stringOrNil()) ==
           kCalendarTypeGroup;
}

std::string sourceKeyIn(const KTSyncRecord& record)
{
    const Value& key = record.record()["SourceKey"];
    return key.isString() ? std::string(key.string()) : std::string();
}

std::string parentKeyIn(const KTSyncRecord& record)
{
    const Value& key = record.record()["ParentRecordKey"];
    return key.isString() && key != Value(record.recordKey()) ? std::string(key.string())
                                                              : std::string();
}

/// The calendar of the store that the host knows a handed one to be; null where it cannot tell.
const LoadedCalendar* knownPlaceOf(const KTSyncRecord& handed, const LoadedStore& loaded)
{
    const auto* const careful = hostClass<KTCarefulWriting>();
    const KTSyncRecord* const stored =
        careful == nullptr ? nullptr : careful->storedRecordOf(handed);
    if (stored == nullptr)
        return nullptr;
    const auto found =
        std::find_if(loaded.calendars.begin(), loaded.calendars.end(),
                     [&](const LoadedCalendar& each) { return each.record.get() == stored; });
    const bool fits = found != loaded.calendars.end() && isGroup(*stored) == isGroup(handed);
    return fits ? &*found : nullptr;
}

/// Calendars of the store that no other one has taken, by a key of theirs. Groups and calendars
/// never take one another's place.
class Unclaimed {
public:
    using KeyOf = std::optional<std::string> (*)(const LoadedCalendar&);

    Unclaimed(const LoadedStore& loaded, KeyOf keyOf,
              const std::unordered_set<const LoadedCalendar*>& claimed)
    {
        for (const LoadedCalendar& calendar : loaded.calendars) {
            const auto key = keyOf(calendar);
            if (key && !claimed.contains(&calendar))
                _byKey.emplace(*key, &calendar);
        }
    }

    const LoadedCalendar* find(const std::string& key, const KTSyncRecord& record) const
    {
        const auto found = _byKey.find(key);
        const bool fits =
            found != _byKey.end() && isGroup(*found->second->record) == isGroup(record);
        return fits ? found->second : nullptr;
    }

private:
    std::unordered_map<std::string, const LoadedCalendar*> _byKey;
};

/// In which groups of the store the members of a group were.
class GroupsOfMembers {
public:
    GroupsOfMembers(const LoadedStore& loaded, const std::vector<SyncRecord>& calendars,
                    const std::vector<CalendarPlaces::Place>& places)
    {
        std::unordered_set<std::string> groups;
        for (const LoadedCalendar& calendar : loaded.calendars) {
            if (isGroup(*calendar.record))
                groups.insert(calendar.recordKey);
        }
        for (std::size_t index = 0; index < calendars.size(); ++index) {
            const LoadedCalendar* const stored = places[index].stored;
            const auto& former =
                stored == nullptr ? std::nullopt : stored->calendar->parentRecordKey();
            if (former && groups.contains(*former))
                _members[parentKeyIn(*calendars[index])][*former]++;
        }
    }

    /// The key of the group that most of its members were in; empty when none was in one.
    std::string formerKeyOf(const KTSyncRecord& group) const
    {
        const auto members = _members.find(group.recordKey());
        if (!isGroup(group) || members == _members.end())
            return "";
        return std::max_element(members->second.begin(), members->second.end(),
                                [](const auto& left, const auto& right) {
                                    return left.second < right.second;
                                })
            ->first;
    }

private:
    std::unordered_map<std::string, std::map<std::string, int>> _members;  // by group, by former
};

}  // namespace

CalendarPlaces::CalendarPlaces(const LoadedStore& loaded, const StoreLayout& layout)
    : _loaded(loaded),
      _layout(layout)
{
    for (std::string& folder : layout.foldersLeftBehind())
        _leftBehind.insert(std::move(folder));
}

std::vector<CalendarPlaces::Place> CalendarPlaces::placesFor(
    const std::vector<SyncRecord>& calendars) const
{
    std::vector<Place> places(calendars.size());
    std::unordered_set<const LoadedCalendar*> claimed;
    for (std::size_t index = 0; index < calendars.size(); ++index) {
        const LoadedCalendar* const known = knownPlaceOf(*calendars[index], _loaded);
        if (known != nullptr && claimed.insert(known).second)
            places[index].stored = known;
    }
    const auto claim = [&](Unclaimed::KeyOf keyOf, const auto& wantedKey) {
        const Unclaimed unclaimed(_loaded, keyOf, claimed);
        for (std::size_t index = 0; index < calendars.size(); ++index) {
            if (places[index].stored != nullptr)
                continue;
            const LoadedCalendar* const found =
                unclaimed.find(wantedKey(*calendars[index]), *calendars[index]);
            if (found != nullptr && claimed.insert(found).second)
                places[index].stored = found;
        }
    };
    claim([](const LoadedCalendar& loaded) { return loaded.calendar->ownSourceKey(); },
          sourceKeyIn);
    claim([](const LoadedCalendar& loaded) { return std::optional(loaded.recordKey); },
          [](const KTSyncRecord& record) { return record.recordKey(); });
    const GroupsOfMembers groups(_loaded, calendars, places);
    claim([](const LoadedCalendar& loaded) { return std::optional(loaded.recordKey); },
          [&](const KTSyncRecord& record) { return groups.formerKeyOf(record); });

    std::unordered_set<std::string> taken;
    for (const LoadedCalendar* loaded : claimed)
        taken.insert(loaded->calendar->ownSourceKey().value_or(""));
    for (std::size_t index = 0; index < calendars.size(); ++index)
        settle(*calendars[index], places[index], taken);
    return places;
}

void CalendarPlaces::settle(const KTSyncRecord& record, Place& place,
                            std::unordered_set<std::string>& taken) const
{
    place.record = record.record();
    if (place.stored != nullptr && place.stored->calendar->ownSourceKey())
        place.record.set("SourceKey", *place.stored->calendar->ownSourceKey());
    else if (!isGroup(record))
        place.record.set("SourceKey", freeSourceKey(record, taken));
}

/// Its own, or else its record key, as long as nothing stands in the folder of that name: who knows
/// what it is. What a rewrite that was cut off left there is known.
std::string CalendarPlaces::freeSourceKey(const KTSyncRecord& record,
                                          std::unordered_set<std::string>& taken) const
{
    const FileManager& files = FileManager::defaultManager();
    const auto isFree = [&](const std::string& key) {
        const std::string folder = _layout.calendarFolder(key);
        return StorePaths::isFolderKey(key) && !taken.contains(key) &&
               (!files.linkStatusAtPath(folder) || isEmptyFolder(folder) ||
                isFolderGivenUp(_loaded, folder) || _leftBehind.contains(folder));
    };
    const std::string own = sourceKeyIn(record);
    std::string key = isFree(own) ? own : record.recordKey();
    for (int number = 2; StorePaths::isFolderKey(key) && !isFree(key); ++number)
        key = record.recordKey() + '-' + std::to_string(number);
    taken.insert(key);
    return key;
}

}  // namespace kt
