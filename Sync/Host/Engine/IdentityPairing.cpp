#include "Sync/Host/Engine/IdentityPairing.h"

#include <functional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "Sync/Host/Engine/UniquePairs.h"

namespace kt {

namespace {

using Keys = std::unordered_map<std::string, std::string>;

std::string identityWithin(std::string_view conduit, const StorePlace& place,
                           std::string_view calendar)
{
    std::string identity = identityOf(conduit, place);
    if (!identity.empty() && conduit != kConduitCalendar)
        identity.append("\n").append(calendar);
    return identity;
}

class RowPairing {
public:
    RowPairing(std::vector<LocalRecord>& records, const Knowledge& knowledge,
               std::vector<bool>& isRowTaken)
        : _records(records),
          _rows(knowledge.seen()),
          _isRowTaken(isRowTaken)
    {}

    void run()
    {
        pair(
            [](const LocalRecord& local) { return folderOf(local.record->conduit(), local.place); },
            [](const SeenRow& row) { return folderOf(row.local.conduit, row.place); });
        noteCalendars();
        pair(
            [](const LocalRecord& local) {
                return identityWithin(local.record->conduit(), local.place,
                                      local.record->recordParentKey().value_or(""));
            },
            [&](const SeenRow& row) {
                return identityWithin(row.local.conduit, row.place,
                                      calendarNow(row.localParentKey.value_or("")));
            });
        pair(
            [](const LocalRecord& local) {
                return identityOf(local.record->conduit(), local.place);
            },
            [](const SeenRow& row) { return identityOf(row.local.conduit, row.place); });
    }

private:
    using OfRecord = std::function<std::string(const LocalRecord&)>;
    using OfRow = std::function<std::string(const SeenRow&)>;

    static std::string folderOf(std::string_view conduit, const StorePlace& place)
    {
        return conduit == kConduitCalendar ? identityOf(conduit, place) : "";
    }

    void pair(const OfRecord& ofRecord, const OfRow& ofRow)
    {
        UniquePairs pairs;
        for (std::size_t index = 0; index < _records.size(); ++index) {
            if (_records[index].seen == nullptr)
                pairs.addLeft(ofRecord(_records[index]), index);
        }
        for (std::size_t index = 0; index < _rows.size(); ++index) {
            if (!_isRowTaken[index] && _rows[index].agreedKey)
                pairs.addRight(ofRow(_rows[index]), index);
        }
        pairs.forEach([&](std::size_t record, std::size_t row) {
            _isRowTaken[row] = true;
            takeRow(_records[record], _rows[row]);
        });
    }

    void noteCalendars()
    {
        for (const LocalRecord& local : _records) {
            if (local.seen != nullptr && local.record->conduit() == kConduitCalendar)
                _calendarsNow.emplace(local.seen->local.key, local.record->recordKey());
        }
    }

    const std::string& calendarNow(const std::string& keyWhenSeen) const
    {
        const auto found = _calendarsNow.find(keyWhenSeen);
        return found == _calendarsNow.end() ? keyWhenSeen : found->second;
    }

    std::vector<LocalRecord>& _records;
    const std::vector<SeenRow>& _rows;
    std::vector<bool>& _isRowTaken;
    Keys _calendarsNow;  // by the key they had when they were seen
};

}  // namespace

std::unordered_map<std::string, std::string> agreedCalendars(
    const std::vector<LocalRecord>& records)
{
    Keys keys;
    for (const LocalRecord& local : records) {
        if (local.record->conduit() == kConduitCalendar && !local.agreedId.key.empty())
            keys.emplace(local.record->recordKey(), local.agreedId.key);
    }
    return keys;
}

std::string identityOf(std::string_view conduit, const StorePlace& place)
{
    if (conduit == kConduitCalendar && !place.file.empty())
        return "folder\n" + place.file;
    if (place.uid.empty())
        return "";
    std::string identity(conduit);
    for (const std::string* part : {&place.uid, &place.recurrence})
        identity += '\n' + *part;
    return identity;
}

bool haveSameIdentity(std::string_view conduit, const StorePlace& left, const StorePlace& right)
{
    if (conduit == kConduitCalendar)
        return !left.file.empty() && left.file == right.file;
    return !left.uid.empty() && left.uid == right.uid && left.recurrence == right.recurrence;
}

void pairByIdentity(std::vector<LocalRecord>& records, const Knowledge& knowledge,
                    std::vector<bool>& isRowTaken)
{
    RowPairing(records, knowledge, isRowTaken).run();
}

void nameByUnsettledSession(std::vector<LocalRecord>& records, const Knowledge& knowledge)
{
    const std::vector<PushedRow>& rows = knowledge.pushed();
    if (rows.empty())
        return;
    UniquePairs pairs;
    for (std::size_t index = 0; index < records.size(); ++index) {
        const LocalRecord& local = records[index];
        if (local.seen == nullptr && local.agreedId.key.empty())
            pairs.addLeft(identityOf(local.record->conduit(), local.place), index);
    }
    for (std::size_t index = 0; index < rows.size(); ++index) {
        const SeenRow& row = rows[index].seen;
        if (knowledge.seenOfAgreed({row.local.conduit, *row.agreedKey}) == nullptr)
            pairs.addRight(identityOf(row.local.conduit, row.place), index);
    }
    pairs.forEach([&](std::size_t record, std::size_t row) {
        records[record].agreedId = {rows[row].seen.local.conduit, *rows[row].seen.agreedKey};
    });
}

namespace {

// A rewrite gives a group that has no folder another key with its title.
std::string identityThatStays(std::string_view conduit, const StorePlace& place)
{
    return conduit == kConduitCalendar && place.file.empty() ? "" : identityOf(conduit, place);
}

}  // namespace

std::vector<std::optional<std::string>> keysByIdentity(const SyncRecordList& records,
                                                       const StorePlaces& places,
                                                       const std::vector<HandedRecord>& handed,
                                                       const Knowledge& knowledge)
{
    std::vector<std::optional<std::string>> keys(records.size());
    // What came back as it is agreed needs no search.
    std::unordered_set<const KTSyncRecord*> given;
    for (const HandedRecord& record : handed)
        given.insert(record.given.get());
    UniquePairs pairs;
    for (std::size_t index = 0; index < records.size(); ++index) {
        if (records[index] && given.count(records[index].get()) == 0)
            pairs.addLeft(identityThatStays(records[index]->conduit(), places.of(*records[index])),
                          index);
    }
    for (std::size_t index = 0; index < handed.size(); ++index) {
        const HandedRecord& record = handed[index];
        if (record.isKept() || record.given)
            continue;
        const SeenRow* seen = knowledge.seenOfAgreed(record.id);
        const StorePlace place = seen != nullptr ? seen->place : StorePlace{record.id.key, "", ""};
        pairs.addRight(identityThatStays(record.id.conduit, place), index);
    }
    pairs.forEach(
        [&](std::size_t record, std::size_t index) { keys[record] = handed[index].id.key; });
    return keys;
}

}  // namespace kt
