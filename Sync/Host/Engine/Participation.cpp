#include "Sync/Host/Engine/Participation.h"

#include <algorithm>
#include <iterator>
#include <tuple>

#include "Sync/Host/Engine/KeptRecords.h"
#include "Sync/Host/Engine/RemoteChanges.h"
#include "Sync/Host/Engine/SwitchedOffCalendars.h"

namespace kt {

namespace {

bool isCalendar(const SyncRecord& record)
{
    return record && record->conduit() == kConduitCalendar;
}

SyncRecordList notAmong(const SyncRecordList& active, const StorePlaces& places)
{
    SyncRecordList off;
    if (places.report().size() <= active.size())
        return off;
    std::unordered_set<const KTSyncRecord*> taking;
    for (const SyncRecord& record : active)
        taking.insert(record.get());
    places.report().forEach([&](const SyncRecord& record) {
        if (taking.count(record.get()) == 0)
            off.push_back(record);
    });
    std::sort(off.begin(), off.end(), [&](const SyncRecord& left, const SyncRecord& right) {
        const auto rank = [&](const SyncRecord& record) {
            const StorePlace place = places.of(*record);
            return std::make_tuple(record->conduit(), record->recordKey(), place.file, place.uid,
                                   place.recurrence);
        };
        return rank(left) < rank(right);
    });
    return off;
}

const KeptRow* keptIn(const std::string& folder, const Knowledge& knowledge)
{
    const auto& kept = knowledge.kept();
    const auto row = std::find_if(kept.begin(), kept.end(), [&](const KeptRow& each) {
        return each.id.conduit == kConduitCalendar && each.place.file == folder;
    });
    return folder.empty() || row == kept.end() ? nullptr : &*row;
}

// A rewrite brings a calendar that this store never had under its SourceKey or its title.
bool isBrought(const KTSyncRecord& calendar, const Knowledge& knowledge, LocalState& state)
{
    return std::any_of(knowledge.agreed().begin(), knowledge.agreed().end(),
                       [&](const AgreedRow& row) {
                           if (row.id.conduit != kConduitCalendar ||
                               knowledge.seenOfAgreed(row.id) != nullptr)
                               return false;
                           const Dictionary agreed = state.agreedRecord(row.id);
                           const auto isSame = [&](std::string_view field) {
                               return agreed[field].isString() &&
                                      agreed[field] == calendar.record()[field];
                           };
                           return isSame("SourceKey") || (isSame("Title") && isSame("Type"));
                       });
}

}  // namespace

Participation::Participation(const SyncRecordList& active, const StorePlaces& places,
                             const Knowledge& knowledge, LocalState& state,
                             const CalendarSwitches& switches, Rewrite rewrite)
    : _active(active),
      _off(notAmong(active, places))
{
    if (rewrite == Rewrite::unsettled && !_off.empty())
        findStaying(places, knowledge, state);
    if (!knowledge.switchedOff().empty())
        findRenamed(places, knowledge, switches);
    if (!_staying.empty() || !_renamed.empty())
        move();
}

void Participation::findStaying(const StorePlaces& places, const Knowledge& knowledge,
                                LocalState& state)
{
    // What the server has beside all that is no part of the rewrite.
    const SwitchedOffCalendars off =
        switchedOffCalendars(_off, _active, places, knowledge, RemoteChanges());
    for (const SyncRecord& record : _off) {
        if (!isCalendar(record))
            continue;
        const std::string& key = record->recordKey();
        const std::string folder = places.of(*record).file;
        const bool wasOff = folder.empty() ? knowledge.switchedOff().hasLocal(key)
                                           : keptIn(folder, knowledge) != nullptr;
        const auto agreedKey = off.agreedKey(key);
        if (!wasOff && !(agreedKey && knowledge.switchedOff().hasAgreed(*agreedKey)) &&
            (agreedKey || isBrought(*record, knowledge, state)))
            _staying.insert(key);
    }
}

void Participation::findRenamed(const StorePlaces& places, const Knowledge& knowledge,
                                const CalendarSwitches& switches)
{
    for (const SyncRecord& record : _active) {
        if (!isCalendar(record))
            continue;
        const KeptRow* kept = keptIn(places.of(*record).file, knowledge);
        if (kept == nullptr || kept->id.key == record->recordKey())
            continue;
        const auto former = switches.find(kept->id.key);
        const bool isOff = former != switches.end() && !former->second;
        if (isOff && switches.count(record->recordKey()) == 0)
            _renamed.emplace_back(kept->id.key, record->recordKey());
    }
}

void Participation::move()
{
    std::unordered_set<std::string> leaving;
    for (const auto& [former, now] : _renamed)
        leaving.insert(now);
    const auto split = [](const SyncRecordList& records,
                          const std::unordered_set<std::string>& calendars, SyncRecordList& rest) {
        const SyncRecordList taken = recordsOfCalendars(records, calendars);
        const std::unordered_set<SyncRecord> takenOnes(taken.begin(), taken.end());
        std::copy_if(records.begin(), records.end(), std::back_inserter(rest),
                     [&](const SyncRecord& record) { return takenOnes.count(record) == 0; });
        return taken;
    };
    SyncRecordList active;
    SyncRecordList off;
    _leaving = split(_active, leaving, active);
    const SyncRecordList staying = split(_off, _staying, off);
    active.insert(active.end(), staying.begin(), staying.end());
    off.insert(off.end(), _leaving.begin(), _leaving.end());
    _active = std::move(active);
    _off = std::move(off);
}

SyncRecordList Participation::kept(const SyncRecordList& skipped) const
{
    const SyncRecordList staying = recordsOfCalendars(skipped, _staying);
    const std::unordered_set<SyncRecord> stayingOnes(staying.begin(), staying.end());
    SyncRecordList kept;
    std::copy_if(skipped.begin(), skipped.end(), std::back_inserter(kept),
                 [&](const SyncRecord& record) { return stayingOnes.count(record) == 0; });
    kept.insert(kept.end(), _leaving.begin(), _leaving.end());
    return kept;
}

}  // namespace kt
