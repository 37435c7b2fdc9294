#include "Sync/Host/Engine/KeptRecords.h"

#include <algorithm>
#include <iterator>

#include "Sync/Host/Engine/IdentityPairing.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/RecordPast.h"

namespace kt {

namespace {

const std::string* calendarOf(const SyncRecord& record)
{
    if (record->conduit() == kConduitCalendar)
        return &record->recordKey();
    return record->recordParentKey() ? &*record->recordParentKey() : nullptr;
}

bool saysTheSame(const KeptRow& left, const KeptRow& right)
{
    return left.hash == right.hash && left.parentKey == right.parentKey &&
           left.place == right.place && left.agreedKey == right.agreedKey;
}

// The rows of what a switched-off calendar holds, by what the store knows the items by.
class SeenOfKept {
public:
    SeenOfKept(LocalState& state, const Knowledge& knowledge, const SwitchedOffCalendars& calendars)
        : _state(state),
          _knowledge(knowledge),
          _calendars(calendars)
    {}

    // A writer that gives items another UID gives it to those that do not take part, too.
    void follow(const KeptRow& before, const KeptRow& now)
    {
        const std::string former = identityOf(before.id.conduit, before.place);
        if (before.id.conduit == kConduitCalendar || former.empty() ||
            former == identityOf(now.id.conduit, now.place))
            return;
        const auto found = rows().find(former);
        if (found == rows().end() || found->second == nullptr || !isOf(now, *found->second))
            return;
        SeenRow row = *found->second;
        row.place = now.place;
        _state.setSeen(row, _state.seenRecord(row));
    }

private:
    using Rows = std::unordered_map<std::string, const SeenRow*>;  // null: several

    bool isOf(const KeptRow& kept, const SeenRow& row) const
    {
        const UnreadRow* unread =
            _knowledge.unreadRow(UnreadRow::Whose::agreed, {row.local.conduit, *row.agreedKey});
        const auto calendar = _calendars.agreedKey(kept.parentKey.value_or(""));
        return (calendar && row.localParentKey &&
                _knowledge.agreedCalendarKey(*row.localParentKey) == *calendar) ||
               (unread != nullptr && unread->whose == UnreadRow::Whose::moved);
    }

    const Rows& rows()
    {
        if (_rows)
            return *_rows;
        _rows.emplace();
        for (const SeenRow& row : _knowledge.seen()) {
            const auto identity = row.agreedKey && row.local.conduit != kConduitCalendar
                                      ? identityOf(row.local.conduit, row.place)
                                      : "";
            const auto [place, isNew] = _rows->emplace(identity, &row);
            if (!isNew || identity.empty())
                place->second = nullptr;
        }
        return *_rows;
    }

    LocalState& _state;
    const Knowledge& _knowledge;
    const SwitchedOffCalendars& _calendars;
    std::optional<Rows> _rows;
};

}  // namespace

const std::string& calendarOf(const KeptRow& row)
{
    return row.id.conduit == kConduitCalendar || !row.parentKey ? row.id.key : *row.parentKey;
}

SyncRecordList recordsOfCalendars(const SyncRecordList& records,
                                  const std::unordered_set<std::string>& calendars)
{
    SyncRecordList result;
    std::copy_if(records.begin(), records.end(), std::back_inserter(result),
                 [&](const SyncRecord& record) {
                     const std::string* calendar = record ? calendarOf(record) : nullptr;
                     return calendar != nullptr && calendars.count(*calendar) != 0;
                 });
    return result;
}

CalendarKeysNow calendarKeysNow(const SyncRecordList& records, const StorePlaces& places,
                                const Knowledge& knowledge)
{
    CalendarKeysNow now;
    if (knowledge.kept().empty())
        return now;
    std::unordered_map<std::string, std::string> folders;  // of kept calendars
    for (const KeptRow& row : knowledge.kept()) {
        if (row.id.conduit == kConduitCalendar && !row.place.file.empty())
            folders.emplace(row.place.file, row.id.key);
    }
    std::unordered_map<std::string, std::string> byFolder;
    std::unordered_set<std::string> byKey;
    for (const SyncRecord& record : records) {
        if (!record || record->conduit() != kConduitCalendar)
            continue;
        const std::string folder = places.of(*record).file;
        const auto kept = folders.find(folder);
        if (kept != folders.end())
            now.emplace(kept->second, record->recordKey());
        else
            byKey.insert(record->recordKey());
        if (!folder.empty())
            byFolder.emplace(folder, record->recordKey());
    }
    for (const KeptRow& row : knowledge.kept()) {
        const std::string& key = calendarOf(row);
        const SeenRow* seen = knowledge.seenCalendarUnder(key);
        const auto sameFolder = seen == nullptr ? byFolder.end() : byFolder.find(seen->place.file);
        if (byKey.count(key) != 0)
            now.emplace(key, key);
        else if (row.id.conduit != kConduitCalendar && sameFolder != byFolder.end())
            now.emplace(key, sameFolder->second);
    }
    return now;
}

namespace {

// What stays of a calendar that has another key now still stands in that.
void followCalendar(LocalState& state, KeptRow row, const CalendarKeysNow& calendarKeys)
{
    const auto now = row.parentKey ? calendarKeys.find(*row.parentKey) : calendarKeys.end();
    if (now == calendarKeys.end() || now->second == row.parentKey)
        return;
    Dictionary record = state.keptRecord(row.id);
    record.set("ParentRecordKey", now->second);
    row.parentKey = now->second;
    row.hash = contentHash(record);
    state.setKept(row, record, state.keptPast(row.id));
}

// An older copy of the store knows the item by the UID that it had before a rewrite made one of its
// key. With any other UID it is another item, in the place of one that was deleted.
RecordPast pastOf(LocalState& state, const KeptRow& before, const KeptRow& now)
{
    const std::string former = originOfIdentity(before.id.conduit, before.place);
    const std::string present = originOfIdentity(now.id.conduit, now.place);
    if (former == present)
        return state.keptPast(before.id);
    if (former.empty() || present != originOfIdentity(now.id.conduit, {now.id.key}))
        return {};
    RecordPast past = state.keptPast(before.id);
    past.origin = past.origin.empty() ? former : joinedOrigins(past.origin, former);
    return past;
}

}  // namespace

void replaceKept(LocalState& state, const Knowledge& knowledge, const NewlyKept& kept)
{
    std::unordered_map<RecordId, const KeptRow*, RecordIdHash> former;
    for (const KeptRow& row : knowledge.kept())
        former.emplace(row.id, &row);
    RecordIdSet names;
    SeenOfKept seen(state, knowledge, kept.calendars);
    for (std::size_t index = 0; index < kept.records.size(); ++index) {
        const SyncRecord& record = kept.records[index];
        if (!record)
            continue;
        const RecordId& id = kept.names.ids[index];
        names.insert(id);
        const bool isCalendar = id.conduit == kConduitCalendar;
        const KeptRow row{id, record->recordParentKey(), contentHash(record->record()),
                          kept.places.of(*record),
                          isCalendar ? kept.calendars.agreedKey(record->recordKey())
                                     : std::nullopt};
        const auto found = former.find(id);
        if (found == former.end() || !saysTheSame(*found->second, row))
            state.setKept(row, record->record(),
                          found == former.end() ? RecordPast{}
                                                : pastOf(state, *found->second, row));
        if (found != former.end())
            seen.follow(*found->second, row);
    }
    for (const KeptRow& row : knowledge.kept()) {
        if (names.count(row.id) != 0)
            continue;
        if (kept.stays.count(row.id) == 0)
            state.removeKept(row.id);
        else
            followCalendar(state, row, kept.calendarKeys);
    }
}

}  // namespace kt
