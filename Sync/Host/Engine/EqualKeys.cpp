#include "Sync/Host/Engine/EqualKeys.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <iterator>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "Sync/Foundation/Text.h"
#include "Sync/Host/Engine/IdentityPairing.h"
#include "Sync/Host/Engine/RecordCoding.h"

namespace kt {

namespace {

bool isNamed(const LocalRecord& record)
{
    return record.seen != nullptr || record.isLeftOver || !record.agreedId.key.empty();
}

bool isDetachedOccurrence(const LocalRecord& record)
{
    return record.record->record().contains("RecurrenceId");
}

// It keeps its name, whatever else turns up.
bool isKnownByIdentity(const LocalRecord& record)
{
    return record.seen != nullptr &&
           haveSameIdentity(record.record->conduit(), record.place, record.seen->place);
}

// An item keeps its UID through every edit. One that came when another one went is no edit of that:
// whoever edits that elsewhere would have it in the place of this one. Its key is the UID that a
// rewrite without regard to the old texts gives it.
bool isAnotherItem(const LocalRecord& record, const SeenRow& row)
{
    return record.record->conduit() != kConduitCalendar && !record.place.uid.empty() &&
           !row.place.uid.empty() && record.place.uid != row.place.uid &&
           record.place.uid != row.agreedKey;
}

// One conduit and key, while its records are being named.
class Group {
public:
    Group(const std::vector<LocalRecord*>& records, const std::vector<const SeenRow*>& rows,
          const EqualKeysContext& context)
        : _context(context),
          _id{records.front()->record->conduit(), records.front()->record->recordKey()},
          _records(records)
    {
        std::unordered_set<const SeenRow*> used;
        for (LocalRecord* record : records) {
            if (!isNamed(*record)) {
                _unnamed.push_back(record);
                continue;
            }
            used.insert(record->seen);
            _taken.insert(record->agreedId.key);
        }
        std::copy_if(rows.begin(), rows.end(), std::back_inserter(_rows),
                     [&](const SeenRow* row) { return used.count(row) == 0; });
        for (const SeenRow* row : _rows)
            _claims.emplace(row, context.unreadClaim(*row));
    }

    void name()
    {
        if (_unnamed.size() == 1 && _rows.size() == 1 && _rows.front()->agreedKey &&
            mayBeEdited(*_unnamed.front(), *_rows.front())) {
            take(*_unnamed.front(), *_rows.front());
            return;
        }
        keepWhatEqualsItsSeen();
        keepWhatWasEdited();
        takeNamesOfEqualContent();
        takeNamesThatAreLeft();
        leaveTheBareKeyToTheSeries();
    }

    void keepWhatEqualsItsSeen()
    {
        // Twins may be alike in everything else, and one of them edited or unread.
        matchPlaces([](const StorePlace& place) {
            return place.uid.empty() || place.file.empty() ? "" : place.uid + '\n' + place.file;
        });
        matchPlaces([](const StorePlace& place) { return place.uid; });
        matchRows(wholeHash, [](const SeenRow& row) { return row.hash; });
        matchRows(neutralHash, [&](const SeenRow& row) { return _context.seenContent(row); });
        // What a rewrite left in the store without being settled equals what is agreed.
        matchRows(neutralHash, [&](const SeenRow& row) { return _context.agreedContent(row); });
    }

private:
    using HashOfRecord = std::function<std::string(const LocalRecord&)>;
    using HashOfRow = std::function<std::optional<std::string>(const SeenRow&)>;

    static std::string wholeHash(const LocalRecord& record) { return record.hash; }
    static std::string neutralHash(const LocalRecord& record)
    {
        return contentHash(record.record->record(), HashScope::neutral);
    }

    using FeatureOfPlace = std::function<std::string(const StorePlace&)>;

    // An item keeps its UID through every edit, a calendar its folder. So while the row's own text
    // may be unread, a record of another UID is another record.
    bool mayBe(const LocalRecord& record, const SeenRow& row) const
    {
        const UnreadClaim claim = _claims.at(&row);
        if (claim == UnreadClaim::none)
            return true;
        const StorePlace& place = record.place;
        if (claim == UnreadClaim::possible && (place.uid.empty() || row.place.uid.empty()))
            return true;
        // Calendars, and items without one, are known by where they stand.
        return place.uid == row.place.uid &&
               (!place.uid.empty() || (!place.file.empty() && place.file == row.place.file));
    }

    bool mayBeEdited(const LocalRecord& record, const SeenRow& row) const
    {
        return mayBe(record, row) && !isAnotherItem(record, row);
    }

    // Pairs records and rows that share a feature with nobody else.
    void matchPlaces(const FeatureOfPlace& feature)
    {
        if (_unnamed.empty() || _rows.empty() || _unnamed.size() + _rows.size() == 2)
            return;
        std::unordered_map<std::string, std::vector<const SeenRow*>> rows;
        std::unordered_map<std::string, std::vector<LocalRecord*>> records;
        for (const SeenRow* row : _rows)
            rows[feature(row->place)].push_back(row);
        for (LocalRecord* record : _unnamed)
            records[feature(record->place)].push_back(record);
        for (const auto& [name, sharers] : records) {
            const auto found = rows.find(name);
            if (name.empty() || sharers.size() != 1 || found == rows.end() ||
                found->second.size() != 1)
                continue;
            take(*sharers.front(), *found->second.front());
            std::erase(_rows, found->second.front());
            std::erase(_unnamed, sharers.front());
        }
    }

    void take(LocalRecord& record, const SeenRow& row)
    {
        takeRow(record, row);
        if (row.agreedKey)
            _taken.insert(*row.agreedKey);
    }

    void takeName(LocalRecord& record, std::string key)
    {
        _taken.insert(key);
        record.agreedId = {_id.conduit, std::move(key)};
    }

    void matchRows(const HashOfRecord& hashOfRecord, const HashOfRow& hashOfRow)
    {
        if (_unnamed.empty() || _rows.empty())
            return;
        std::unordered_map<std::string, std::deque<const SeenRow*>> rowsByHash;
        for (const SeenRow* row : _rows) {
            if (const auto hash = hashOfRow(*row))
                rowsByHash[*hash].push_back(row);
        }
        std::unordered_set<const SeenRow*> used;
        std::vector<LocalRecord*> rest;
        for (LocalRecord* record : _unnamed) {
            const auto found = rowsByHash.find(hashOfRecord(*record));
            if (found == rowsByHash.end()) {
                rest.push_back(record);
                continue;
            }
            const auto row =
                std::find_if(found->second.begin(), found->second.end(),
                             [&](const SeenRow* each) { return mayBe(*record, *each); });
            if (row == found->second.end()) {
                rest.push_back(record);
                continue;
            }
            used.insert(*row);
            take(*record, **row);
            found->second.erase(row);
        }
        _unnamed = std::move(rest);
        _rows.erase(std::remove_if(_rows.begin(), _rows.end(),
                                   [&](const SeenRow* row) { return used.count(row) != 0; }),
                    _rows.end());
    }

    // Names that are left over belong to records that were edited, in load order. What a rewrite
    // brought without belonging to anything is no name: an edit makes it a new record.
    void keepWhatWasEdited()
    {
        std::stable_sort(_rows.begin(), _rows.end(), [](const SeenRow* left, const SeenRow* right) {
            return std::make_pair(left->agreedKey.value_or("").size(),
                                  left->agreedKey.value_or("")) <
                   std::make_pair(right->agreedKey.value_or("").size(),
                                  right->agreedKey.value_or(""));
        });
        std::erase_if(_rows, [](const SeenRow* row) { return !row->agreedKey; });
        std::vector<LocalRecord*> rest;
        std::deque<const SeenRow*> left(_rows.begin(), _rows.end());
        for (LocalRecord* record : _unnamed) {
            const auto row = std::find_if(left.begin(), left.end(), [&](const SeenRow* each) {
                return mayBeEdited(*record, *each);
            });
            if (row == left.end()) {
                rest.push_back(record);
                continue;
            }
            take(*record, **row);
            left.erase(row);
        }
        _unnamed = std::move(rest);
        _rows.assign(left.begin(), left.end());
    }

    std::unordered_map<std::string, const SeenRow*> rowsThatAreLeft() const
    {
        std::unordered_map<std::string, const SeenRow*> rows;
        for (const SeenRow* row : _rows)
            rows.emplace(row->agreedKey.value_or(""), row);
        return rows;
    }

    void takeNamesOfEqualContent()
    {
        if (_unnamed.empty())
            return;
        std::unordered_map<std::string, std::deque<std::string>> keysByHash;
        constexpr int kGapsInNumbers = 4;
        const int last = static_cast<int>(_records.size()) + kGapsInNumbers;
        for (int number = 1; number <= last; ++number) {
            const std::string key = numberedKey(_id.key, number);
            if (_taken.count(key) != 0)
                continue;
            if (const auto hash = _context.unseenContent({_id.conduit, key}))
                keysByHash[*hash].push_back(key);
        }
        if (keysByHash.empty())
            return;
        std::vector<LocalRecord*> rest;
        for (LocalRecord* record : _unnamed) {
            const auto found = keysByHash.find(neutralHash(*record));
            if (found == keysByHash.end() || found->second.empty()) {
                rest.push_back(record);
                continue;
            }
            takeName(*record, found->second.front());
            found->second.pop_front();
        }
        _unnamed = std::move(rest);
    }

    void takeNamesThatAreLeft()
    {
        const auto left = rowsThatAreLeft();
        const auto isOfAnotherItem = [&](const std::string& key, const LocalRecord& record) {
            const auto row = left.find(key);
            return row != left.end() && isAnotherItem(record, *row->second);
        };
        int number = 1;
        for (LocalRecord* record : _unnamed) {
            std::string key = numberedKey(_id.key, number);
            while (_taken.count(key) != 0 || isOfAnotherItem(key, *record) ||
                   !_context.mayTake({_id.conduit, key}, *record))
                key = numberedKey(_id.key, ++number);
            takeName(*record, std::move(key));
            ++number;
        }
        _unnamed.clear();
    }

    void leaveTheBareKeyToTheSeries()
    {
        const auto holder = std::find_if(_records.begin(), _records.end(), [&](const auto* record) {
            return record->agreedId.key == _id.key && isDetachedOccurrence(*record) &&
                   !isKnownByIdentity(*record);
        });
        const auto series = std::find_if(_records.begin(), _records.end(), [](const auto* record) {
            return !isDetachedOccurrence(*record) && !record->isLeftOver &&
                   !isKnownByIdentity(*record);
        });
        if (holder == _records.end() || series == _records.end())
            return;
        std::swap((*holder)->agreedId, (*series)->agreedId);
        std::swap((*holder)->seen, (*series)->seen);
    }

    const EqualKeysContext& _context;
    RecordId _id;
    const std::vector<LocalRecord*>& _records;
    std::vector<LocalRecord*> _unnamed;
    std::vector<const SeenRow*> _rows;
    std::unordered_map<const SeenRow*, UnreadClaim> _claims;
    std::unordered_set<std::string> _taken;
};

}  // namespace

std::string numberedKey(std::string_view key, int number)
{
    std::string result(key);
    if (number > 1) {
        result += '-';
        result += std::to_string(number);
    }
    return result;
}

std::optional<std::string> keyBeforeNumber(std::string_view key)
{
    const std::size_t dash = key.rfind('-');
    if (dash == std::string_view::npos || dash == 0 || dash + 1 == key.size() ||
        key[dash + 1] == '0')
        return std::nullopt;
    const std::string_view digits = key.substr(dash + 1);
    if (!std::all_of(digits.begin(), digits.end(), isDecimalDigit) || digits == "1")
        return std::nullopt;
    return std::string(key.substr(0, dash));
}

void keepWhatEqualsItsSeen(const std::vector<LocalRecord*>& records,
                           const std::vector<const SeenRow*>& rows, const EqualKeysContext& context)
{
    if (!records.empty())
        Group(records, rows, context).keepWhatEqualsItsSeen();
}

void tellEqualKeysApart(const std::vector<LocalRecord*>& records,
                        const std::vector<const SeenRow*>& rows, const EqualKeysContext& context)
{
    const bool isDone = records.size() == 1 && isNamed(*records.front());
    if (records.empty() || isDone)
        return;
    // Nearly always a key is one record's, and was.
    const bool isSimple = records.size() == 1 && rows.size() == 1 && !isNamed(*records.front()) &&
                          rows.front()->agreedKey &&
                          !isAnotherItem(*records.front(), *rows.front()) &&
                          context.unreadClaim(*rows.front()) == UnreadClaim::none;
    if (isSimple)
        takeRow(*records.front(), *rows.front());
    else
        Group(records, rows, context).name();
}

}  // namespace kt
