#include "Sync/PlugIns/iCal/Calendar/ItemPairing.h"

#include <algorithm>
#include <array>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "Sync/Foundation/Text.h"
#include "Sync/HostInterface/KTSyncEnhancedDate.h"
#include "Sync/PlugIns/iCal/Calendar/UnreadText.h"

namespace kt {

namespace {

/// Entries that no line of the item's own is made of.
constexpr std::array<std::string_view, 4> kOthers{"ParentRecordKey", "RecurrenceParentRecordKey",
                                                  "RecurrenceExceptionDates", "Timezone"};

bool isOthers(std::string_view key)
{
    return std::find(kOthers.begin(), kOthers.end(), key) != kOthers.end();
}

bool haveEqualContent(const Dictionary& left, const Dictionary& right)
{
    // Hosts hand out what they were given.
    if (&left == &right)
        return true;
    const auto holdsAllOf = [](const Dictionary& holder, const Dictionary& other) {
        return std::all_of(other.begin(), other.end(), [&](const auto& entry) {
            if (isOthers(entry.first))
                return true;
            const Value* const value = holder.find(entry.first);
            return value != nullptr && *value == entry.second;
        });
    };
    const auto ownCount = [](const Dictionary& record) {
        return std::count_if(record.begin(), record.end(),
                             [](const auto& entry) { return !isOthers(entry.first); });
    };
    return ownCount(left) == ownCount(right) && holdsAllOf(left, right);
}

/// What an edit of title or time may change at once.
constexpr std::array<std::string_view, 7> kTitleAndTime{"Title",    "StartDate", "EndDate",
                                                        "Duration", "AllDay",    "Sequence",
                                                        "DateStamp"};

/// A text that equal content has.
std::string contentText(const KTSyncRecord& record)
{
    Dictionary content = record.record();
    for (const std::string_view key : kOthers)
        content.remove(key);
    return content.description();
}

Dictionary restOf(const KTSyncRecord& record)
{
    Dictionary content = record.record();
    for (const std::string_view key : kOthers)
        content.remove(key);
    for (const std::string_view key : kTitleAndTime)
        content.remove(key);
    return content;
}

/// The same without title and time.
std::string restText(const KTSyncRecord& record) { return restOf(record).description(); }

/// Empty where it says nothing that most items do not say.
std::string tellingRest(const KTSyncRecord& record)
{
    Dictionary rest = restOf(record);
    rest.remove("TRANSP");
    rest.remove("Completed");
    rest.remove("RecurrenceId");
    return rest.begin() == rest.end() ? std::string() : rest.description();
}

/// The host tells records of equal keys apart by numbers behind the key.
std::string_view bareKey(std::string_view key)
{
    return isOwnUID(key) ? key.substr(0, key.find('-')) : key;
}

std::string dateText(const Value& date)
{
    const auto object = date.objectOfClass<KTSyncEnhancedDate>();
    return object ? object->iCalDate() : std::string();
}

/// An occurrence is never taken for its series.
std::string occurrence(const KTSyncRecord& record)
{
    return record.conduit() + '\n' + dateText(record.record()["RecurrenceId"]) + '\n';
}

/// Empty for what is no occurrence of a series.
std::string seriesOf(const KTSyncRecord& record)
{
    const Value& series = record.record()["RecurrenceParentRecordKey"];
    return series.isString() && record.record().contains("RecurrenceId")
               ? std::string(bareKey(series.string()))
               : std::string();
}

std::string title(const KTSyncRecord& record) { return record.record()["Title"].description(); }
std::string stamp(const KTSyncRecord& record) { return dateText(record.record()["DateStamp"]); }
std::string start(const KTSyncRecord& record) { return dateText(record.record()["StartDate"]); }

/// Pairs what is left on both sides step by step, from the surest feature to the least sure.
class Pairing {
public:
    using Feature = std::function<std::string(const KTSyncRecord&)>;
    enum class Ways { any, one };

    Pairing(const std::vector<LoadedItem>& stored, const std::vector<SyncRecord>& wanted)
        : _stored(stored),
          _wanted(wanted),
          _pairs(wanted.size()),
          _isTaken(stored.size())
    {}

    void pairKnown(const std::vector<std::optional<std::size_t>>& known)
    {
        for (std::size_t index = 0; index < known.size(); ++index) {
            if (known[index] && !_isTaken[*known[index]])
                take(*known[index], index);
        }
    }

    /// Most items, at once: one stored item of that key, one wanted, of equal content.
    void pairEqual()
    {
        std::unordered_map<std::string_view, std::vector<std::size_t>> byKey;
        byKey.reserve(_stored.size());
        for (std::size_t index = 0; index < _stored.size(); ++index)
            byKey[_stored[index].record->recordKey()].push_back(index);
        for (std::size_t index = 0; index < _wanted.size(); ++index) {
            const auto found = byKey.find(bareKey(_wanted[index]->recordKey()));
            if (_pairs[index].stored || found == byKey.end() || found->second.size() > kFew)
                continue;
            const auto same = std::find_if(found->second.begin(), found->second.end(),
                                           [&](std::size_t at) { return areEqual(at, index); });
            if (same != found->second.end())
                take(*same, index);
        }
    }

    /// An item whose feature is empty has none.
    void pair(const Feature& feature, Ways ways) { pair(feature, feature, ways); }

    void pair(const Feature& ofStored, const Feature& ofWanted, Ways ways)
    {
        std::unordered_map<std::string, std::deque<std::size_t>> byFeature;
        std::unordered_map<std::string, std::size_t> wantedCount;
        for (std::size_t index = 0; index < _stored.size(); ++index) {
            if (!_isTaken[index])
                byFeature[ofStored(*_stored[index].record)].push_back(index);
        }
        byFeature.erase(std::string());
        if (byFeature.empty())
            return;
        std::vector<std::pair<std::size_t, std::string>> left;
        for (std::size_t index = 0; index < _wanted.size(); ++index) {
            if (_pairs[index].stored)
                continue;
            left.emplace_back(index, ofWanted(*_wanted[index]));
            ++wantedCount[left.back().second];
        }
        for (const auto& [index, text] : left) {
            const auto found = byFeature.find(text);
            const bool isOneWay =
                found != byFeature.end() && found->second.size() == 1 && wantedCount[text] == 1;
            if (found == byFeature.end() || found->second.empty() ||
                (ways == Ways::one && !isOneWay))
                continue;
            take(found->second.front(), index);
            found->second.pop_front();
        }
    }

    /// An occurrence has the date that it stands for, in a series whose key may have changed.
    void pairOccurrences()
    {
        std::unordered_set<std::string> wantedSeries;  // of occurrences that are left
        for (std::size_t index = 0; index < _wanted.size(); ++index) {
            if (!_pairs[index].stored)
                wantedSeries.insert(seriesOf(*_wanted[index]));
        }
        wantedSeries.erase(std::string());
        std::unordered_map<std::string, std::string> formerKeys;
        for (std::size_t index = 0; index < _wanted.size() && !wantedSeries.empty(); ++index) {
            const std::string key(bareKey(_wanted[index]->recordKey()));
            if (_pairs[index].stored && wantedSeries.contains(key))
                formerKeys.emplace(key,
                                   bareKey(_stored[*_pairs[index].stored].record->recordKey()));
        }
        pair(
            [](const KTSyncRecord& record) {
                const std::string series = seriesOf(record);
                return series.empty() ? series : occurrence(record) + series;
            },
            [&](const KTSyncRecord& record) {
                const auto former = formerKeys.find(seriesOf(record));
                return former == formerKeys.end() ? std::string()
                                                  : occurrence(record) + former->second;
            },
            Ways::one);
    }

    std::vector<ItemPair> takePairs() { return std::move(_pairs); }

private:
    static constexpr std::size_t kFew = 8;  // more of one key are told apart by their texts

    bool areEqual(std::size_t stored, std::size_t wanted) const
    {
        return !_isTaken[stored] &&
               _stored[stored].record->conduit() == _wanted[wanted]->conduit() &&
               haveEqualContent(_stored[stored].record->record(), _wanted[wanted]->record());
    }

    void take(std::size_t stored, std::size_t wanted)
    {
        const bool hasEqualRecord = areEqual(stored, wanted);
        _isTaken[stored] = true;
        _pairs[wanted] = {stored, hasEqualRecord};
    }

    const std::vector<LoadedItem>& _stored;
    const std::vector<SyncRecord>& _wanted;
    std::vector<ItemPair> _pairs;
    std::vector<bool> _isTaken;
};

}  // namespace

std::vector<ItemPair> pairItems(const std::vector<LoadedItem>& stored,
                                const std::vector<SyncRecord>& wanted,
                                const std::vector<std::optional<std::size_t>>& known,
                                Unknown unknown)
{
    using Record = KTSyncRecord;
    using Ways = Pairing::Ways;
    Pairing pairing(stored, wanted);
    pairing.pairKnown(known);
    pairing.pairEqual();
    if (unknown == Unknown::isNew)
        return pairing.takePairs();
    pairing.pair([](const Record& record) { return record.conduit() + contentText(record); },
                 Ways::any);
    pairing.pair(
        [](const Record& record) {
            return occurrence(record) + std::string(bareKey(record.recordKey()));
        },
        Ways::any);
    pairing.pairOccurrences();
    pairing.pair(
        [](const Record& record) {
            return occurrence(record) + start(record) + '\n' + title(record);
        },
        Ways::any);
    for (const Pairing::Feature& feature : std::initializer_list<Pairing::Feature>{
             [](const Record& record) { return start(record) + '\n' + restText(record); },
             [](const Record& record) { return title(record) + '\n' + restText(record); }, stamp,
             tellingRest})
        pairing.pair(
            [&](const Record& record) {
                const std::string text = feature(record);
                return text.empty() ? text : occurrence(record) + text;
            },
            Ways::one);
    pairing.pairOccurrences();
    return pairing.takePairs();
}

}  // namespace kt
