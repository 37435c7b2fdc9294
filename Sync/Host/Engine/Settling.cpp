#include "Sync/Host/Engine/Settling.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <numeric>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "Sync/Host/Engine/EqualKeys.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/HostInterface/KTSyncEnhancedDate.h"

namespace kt {

namespace {

// Pairs what is left on both sides wherever a feature of both is equal, step by step from the
// surest feature to the least sure. Each step looks at every record that is left once.
class Pairing {
public:
    using FeatureOfLocal = std::function<std::string(const KTSyncRecord&)>;
    using FeatureOfHanded = std::function<std::string(const HandedRecord&)>;

    // `known` are pairs that are made already, by position in `local`.
    Pairing(const SyncRecordList& local, const std::vector<HandedRecord>& handed,
            std::vector<std::optional<std::string>> known)
        : _local(local),
          _handed(handed),
          _agreedKeys(std::move(known))
    {
        pairWhatIsGiven();
        std::unordered_set<RecordIdView, RecordIdHash> paired;
        for (std::size_t index = 0; index < local.size(); ++index) {
            if (local[index] && _agreedKeys[index])
                paired.emplace(local[index]->conduit(), *_agreedKeys[index]);
            else if (local[index])
                _localLeft.push_back(index);
        }
        for (std::size_t index = 0; index < handed.size(); ++index) {
            if (!handed[index].isKept() && paired.count(handed[index].id) == 0)
                _handedLeft.push_back(index);
        }
    }

    // An empty feature is none.
    void pair(const FeatureOfLocal& ofLocal, const FeatureOfHanded& ofHanded)
    {
        if (_localLeft.empty() || _handedLeft.empty())
            return;
        std::unordered_map<std::string, std::deque<std::size_t>> byFeature;
        for (const std::size_t index : _handedLeft) {
            std::string feature = ofHanded(_handed[index]);
            if (!feature.empty())
                byFeature[std::move(feature)].push_back(index);
        }
        std::vector<std::size_t> rest;
        std::vector<bool> used(_handed.size());
        for (const std::size_t index : _localLeft) {
            const auto found = byFeature.find(ofLocal(*_local[index]));
            if (found == byFeature.end() || found->second.empty()) {
                rest.push_back(index);
                continue;
            }
            used[found->second.front()] = true;
            _agreedKeys[index] = _handed[found->second.front()].id.key;
            found->second.pop_front();
        }
        _localLeft = std::move(rest);
        _handedLeft.erase(std::remove_if(_handedLeft.begin(), _handedLeft.end(),
                                         [&](std::size_t index) { return used[index]; }),
                          _handedLeft.end());
    }

    const std::vector<std::optional<std::string>>& agreedKeys() const { return _agreedKeys; }
    std::vector<std::optional<std::string>> takeAgreedKeys() { return std::move(_agreedKeys); }

private:
    // What the store gives as it is agreed is that record.
    void pairWhatIsGiven()
    {
        std::unordered_map<const KTSyncRecord*, const std::string*> agreedKeys;
        for (const HandedRecord& handed : _handed) {
            if (handed.given)
                agreedKeys.emplace(handed.given.get(), &handed.id.key);
        }
        for (std::size_t index = 0; index < _local.size() && !agreedKeys.empty(); ++index) {
            const auto found = agreedKeys.find(_local[index].get());
            if (found != agreedKeys.end() && !_agreedKeys[index])
                _agreedKeys[index] = *found->second;
        }
    }

    const SyncRecordList& _local;
    const std::vector<HandedRecord>& _handed;
    std::vector<std::size_t> _localLeft;
    std::vector<std::size_t> _handedLeft;
    std::vector<std::optional<std::string>> _agreedKeys;
};

std::string textOf(const Dictionary& record, std::string_view field)
{
    const Value& value = record[field];
    return value.isString() ? std::string(value.string()) : std::string();
}

std::string joined(std::initializer_list<std::string_view> parts)
{
    std::string feature;
    for (const std::string_view part : parts) {
        feature += std::to_string(part.size());
        feature += ':';
        feature += part;
    }
    return feature;
}

bool isCalendarConduit(std::string_view conduit) { return conduit == kConduitCalendar; }

std::string orderAndColor(std::string_view conduit, const Dictionary& record)
{
    if (!isCalendarConduit(conduit))
        return "";
    return joined({textOf(record, "Type"), record["Order"].description(), textOf(record, "Color")});
}

std::string titleAndType(std::string_view conduit, const Dictionary& record)
{
    if (!isCalendarConduit(conduit))
        return "";
    return joined({textOf(record, "Title"), textOf(record, "Type")});
}

void pairCalendars(Pairing& pairing)
{
    const auto key = [](std::string_view conduit, const std::string& recordKey) {
        return isCalendarConduit(conduit) ? recordKey : std::string();
    };
    const auto sourceKey = [](std::string_view conduit, const Dictionary& record) {
        return isCalendarConduit(conduit) ? textOf(record, "SourceKey") : std::string();
    };
    // Of two calendars of one title only one comes back, and its folder says which.
    pairing.pair([&](const auto& local) { return sourceKey(local.conduit(), local.record()); },
                 [&](const auto& handed) {
                     return sourceKey(handed.id.conduit, handed.content());
                 });
    // A folder that was there already makes a store take another one. The title is the one that was
    // handed out, while the key that is agreed may be made of an earlier one.
    pairing.pair([&](const auto& local) { return titleAndType(local.conduit(), local.record()); },
                 [&](const auto& handed) {
                     return titleAndType(handed.id.conduit, handed.content());
                 });
    pairing.pair([&](const auto& local) { return key(local.conduit(), local.recordKey()); },
                 [&](const auto& handed) { return key(handed.id.conduit, handed.id.key); });
}

void pairCalendarsByLooks(Pairing& pairing)
{
    pairing.pair([&](const auto& local) { return orderAndColor(local.conduit(), local.record()); },
                 [&](const auto& handed) {
                     return orderAndColor(handed.id.conduit, handed.content());
                 });
}

using CalendarKeys = std::unordered_map<std::string, std::string>;  // local to agreed

CalendarKeys calendarKeys(const SyncRecordList& local, const Pairing& pairing)
{
    CalendarKeys keys;
    for (std::size_t index = 0; index < local.size(); ++index) {
        if (local[index] && isCalendarConduit(local[index]->conduit()) &&
            pairing.agreedKeys()[index])
            keys.emplace(local[index]->recordKey(), *pairing.agreedKeys()[index]);
    }
    return keys;
}

std::string agreedCalendar(const CalendarKeys& keys, const std::string& localKey)
{
    const auto found = keys.find(localKey);
    return found == keys.end() ? localKey : found->second;
}

// Twins are told apart by their content, the fullest comparison first.
void pairItemsByKey(Pairing& pairing)
{
    const auto keyAnd = [](std::string_view conduit, const std::string& key,
                           const std::string& content) {
        return isCalendarConduit(conduit) ? std::string() : joined({conduit, key, content});
    };
    const auto bareKey = [](const std::string& key) { return keyBeforeNumber(key).value_or(key); };
    for (const HashScope scope : {HashScope::neutral, HashScope::simple}) {
        const auto localFeature = [&](const KTSyncRecord& local) {
            return keyAnd(local.conduit(), local.recordKey(), contentHash(local.record(), scope));
        };
        pairing.pair(localFeature, [&](const HandedRecord& handed) {
            return keyAnd(handed.id.conduit, handed.id.key, contentHash(handed.content(), scope));
        });
        pairing.pair(localFeature, [&](const HandedRecord& handed) {
            return keyAnd(handed.id.conduit, bareKey(handed.id.key),
                          contentHash(handed.content(), scope));
        });
    }
    pairing.pair([&](const auto& local) { return keyAnd(local.conduit(), local.recordKey(), ""); },
                 [&](const auto& handed) { return keyAnd(handed.id.conduit, handed.id.key, ""); });
    pairing.pair([&](const auto& local) { return keyAnd(local.conduit(), local.recordKey(), ""); },
                 [&](const auto& handed) {
                     return keyAnd(handed.id.conduit, bareKey(handed.id.key), "");
                 });
}

void pairItemsByContent(Pairing& pairing, const CalendarKeys& calendars)
{
    using Feature = std::function<std::string(const Dictionary&)>;
    const auto titleAndStart = [](const Dictionary& record) {
        const auto start = record["StartDate"].objectOfClass<KTSyncEnhancedDate>();
        return joined({textOf(record, "Title"), start ? start->iCalDate() : std::string()});
    };
    const auto simple = [](const Dictionary& record) {
        return contentHash(record, HashScope::simple);
    };
    for (const Feature& feature : {Feature(simple), Feature(titleAndStart)}) {
        pairing.pair(
            [&](const KTSyncRecord& local) {
                if (isCalendarConduit(local.conduit()))
                    return std::string();
                const std::string parent =
                    agreedCalendar(calendars, textOf(local.record(), "ParentRecordKey"));
                return joined({local.conduit(), parent, feature(local.record())});
            },
            [&](const HandedRecord& handed) {
                if (isCalendarConduit(handed.id.conduit))
                    return std::string();
                return joined({handed.id.conduit, textOf(handed.content(), "ParentRecordKey"),
                               feature(handed.content())});
            });
    }
}

void pairItems(Pairing& pairing, const SyncRecordList& local)
{
    const CalendarKeys calendars = calendarKeys(local, pairing);
    pairItemsByKey(pairing);
    pairItemsByContent(pairing, calendars);
}

}  // namespace

std::vector<std::optional<std::string>> pairWithHanded(
    const SyncRecordList& local, const std::vector<HandedRecord>& handed,
    std::vector<std::optional<std::string>> known, Looks looks)
{
    Pairing pairing(local, handed, std::move(known));
    pairCalendars(pairing);
    if (looks == Looks::count)
        pairCalendarsByLooks(pairing);
    pairItems(pairing, local);
    return pairing.takeAgreedKeys();
}

}  // namespace kt
