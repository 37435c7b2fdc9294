#include "Sync/Host/Engine/MovedRecords.h"

#include <algorithm>
#include <string>
#include <unordered_map>

#include "Sync/Host/Engine/IdentityPairing.h"

namespace kt {

namespace {

// The items that do not take part, by what the store knows them by.
class SwitchedOffItems {
public:
    SwitchedOffItems(const SyncRecordList& active, const SyncRecordList& off,
                     const StorePlaces& places)
        : _places(places)
    {
        for (const SyncRecord& record : off)
            add(record);
        for (const SyncRecord& record : active) {
            if (record && record->conduit() != kConduitCalendar)
                _items.erase(identity(*record));
        }
    }

    bool empty() const { return _items.empty(); }

    // Null for what stands nowhere, or several times.
    SyncRecord itemOf(const SeenRow& row) const
    {
        const auto found = _items.find(identityOf(row.local.conduit, row.place));
        return found == _items.end() ? nullptr : found->second;
    }

private:
    std::string identity(const KTSyncRecord& record) const
    {
        return identityOf(record.conduit(), _places.of(record));
    }

    void add(const SyncRecord& record)
    {
        if (!record || record->conduit() == kConduitCalendar)
            return;
        const std::string name = identity(*record);
        if (name.empty())
            return;
        const auto [place, isNew] = _items.emplace(name, record);
        if (!isNew)
            place->second = nullptr;
    }

    const StorePlaces& _places;
    std::unordered_map<std::string, SyncRecord> _items;
};

// Where items of switched-off calendars stood at the last run.
class Before {
public:
    explicit Before(const Knowledge& knowledge) : _knowledge(knowledge)
    {
        for (const SeenRow& row : knowledge.seen()) {
            if (row.agreedKey && row.local.conduit != kConduitCalendar)
                ++_seen[identityOf(row.local.conduit, row.place)];
        }
        for (const KeptRow& row : knowledge.kept()) {
            if (row.id.conduit != kConduitCalendar)
                _kept[identityOf(row.id.conduit, row.place)].push_back(
                    knowledge.switchedOff().agreedKey(row.parentKey.value_or("")).value_or(""));
        }
    }

    bool isSeenOnce(const SeenRow& row) const { return countOf(row) == 1; }

    // Then what is missing of it in its own calendar was deleted there.
    bool wasInBothPlaces(const SeenRow& row) const
    {
        const auto kept = _kept.find(identityOf(row.local.conduit, row.place));
        if (kept == _kept.end() || hasMovedAlready(row))
            return false;
        const std::string& calendar = _knowledge.agreedCalendarKey(*row.localParentKey);
        const auto& calendars = kept->second;
        return !_knowledge.switchedOff().hasAgreed(calendar) ||
               std::find(calendars.begin(), calendars.end(), calendar) != calendars.end();
    }

private:
    std::size_t countOf(const SeenRow& row) const
    {
        const auto found = _seen.find(identityOf(row.local.conduit, row.place));
        return found == _seen.end() ? 0 : found->second;
    }

    bool hasMovedAlready(const SeenRow& row) const
    {
        const UnreadRow* unread =
            _knowledge.unreadRow(UnreadRow::Whose::agreed, {row.local.conduit, *row.agreedKey});
        return unread != nullptr && unread->whose == UnreadRow::Whose::moved;
    }

    const Knowledge& _knowledge;
    std::unordered_map<std::string, std::size_t> _seen;
    std::unordered_map<std::string, std::vector<std::string>> _kept;  // agreed keys of calendars
};

}  // namespace

std::vector<MovedRecord> movedIntoSwitchedOff(const SyncRecordList& active,
                                              const SyncRecordList& off,
                                              const SwitchedOffCalendars& switchedOff,
                                              const StorePlaces& places, const Knowledge& knowledge)
{
    std::vector<MovedRecord> moved;
    if (off.empty())
        return moved;
    const SwitchedOffItems items(active, off, places);
    if (items.empty())
        return moved;
    const Before before(knowledge);
    for (const SeenRow& row : knowledge.seen()) {
        const bool isItem =
            row.agreedKey && row.localParentKey && row.local.conduit != kConduitCalendar;
        if (!isItem || switchedOff.holds(row, knowledge))
            continue;
        SyncRecord record = items.itemOf(row);
        if (record && before.isSeenOnce(row) && !before.wasInBothPlaces(row) &&
            knowledge.agreedRow({row.local.conduit, *row.agreedKey}) != nullptr)
            moved.push_back({std::move(record), &row});
    }
    std::sort(moved.begin(), moved.end(), [](const MovedRecord& left, const MovedRecord& right) {
        return left.agreedId() < right.agreedId();
    });
    return moved;
}

namespace {

// How often items are read and were known before, by what the store knows them by.
class Sightings {
public:
    Sightings(const Knowledge& knowledge, const StorePlaces& places) : _places(places)
    {
        for (const KeptRow& row : knowledge.kept()) {
            if (row.id.conduit == kConduitCalendar)
                continue;
            Sighting& sighting = _all[identityOf(row.id.conduit, row.place)];
            ++sighting.kept;
            const std::string parent = row.parentKey.value_or("");
            sighting.calendar = knowledge.switchedOff().agreedKey(parent).value_or(
                knowledge.agreedCalendarKey(parent));
        }
        _all.erase("");
        for (const SeenRow& row : knowledge.seen())
            addBefore(row, knowledge);
        for (const PushedRow& row : knowledge.pushed())
            addBefore(row.seen, knowledge);
    }

    void add(const SyncRecordList& records)
    {
        for (const SyncRecord& record : records) {
            if (!record || record->conduit() == kConduitCalendar)
                continue;
            const auto found = _all.find(identityOf(record->conduit(), _places.of(*record)));
            if (found != _all.end())
                ++found->second.read;
        }
    }

    bool isOnlyElsewhere(const KeptRow& row) const
    {
        const auto found = _all.find(identityOf(row.id.conduit, row.place));
        return found != _all.end() && found->second.kept == 1 && found->second.read == 1 &&
               !found->second.wasElsewhere;
    }

private:
    struct Sighting {
        int kept = 0;
        std::string calendar;  // agreed key, or the local one of what was never agreed
        int read = 0;
        bool wasElsewhere = false;
    };

    void addBefore(const SeenRow& row, const Knowledge& knowledge)
    {
        const auto found = _all.find(identityOf(row.local.conduit, row.place));
        if (found != _all.end() && row.localParentKey &&
            knowledge.agreedCalendarKey(*row.localParentKey) != found->second.calendar)
            found->second.wasElsewhere = true;
    }

    const StorePlaces& _places;
    std::unordered_map<std::string, Sighting> _all;
};

}  // namespace

RecordIdSet movedOutOfSwitchedOff(const SyncRecordList& active, const SyncRecordList& off,
                                  const StorePlaces& places, const Knowledge& knowledge)
{
    RecordIdSet moved;
    if (knowledge.kept().empty())
        return moved;
    Sightings sightings(knowledge, places);
    sightings.add(active);
    sightings.add(off);
    for (const KeptRow& row : knowledge.kept()) {
        if (row.id.conduit != kConduitCalendar && sightings.isOnlyElsewhere(row))
            moved.insert(row.id);
    }
    return moved;
}

}  // namespace kt
