#include "Sync/Host/Engine/RewriteProof.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "Sync/Foundation/Format.h"
#include "Sync/Host/Engine/HostLossReport.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

namespace {

bool isCalendar(const HandedRecord& handed) { return handed.id.conduit == kConduitCalendar; }

std::string textOf(const Dictionary& record, std::string_view field)
{
    const Value& value = record[field];
    return value.isString() ? std::string(value.string()) : std::string();
}

// What a reader tells events of one calendar apart by.
std::string whatMakesUnique(const Dictionary& event)
{
    constexpr std::array<std::string_view, 11> kFields{"Title",          "Notes",       "URL",
                                                       "Location",       "Attachments", "Attendees",
                                                       "StartDate",      "EndDate",     "Duration",
                                                       "RecurrenceRule", "AllDay"};
    std::string features;
    for (const std::string_view field : kFields) {
        const Value& value = event[field];
        const bool isEmpty = value.isNil() || (value.isString() && value.string().empty()) ||
                             (value.isArray() && value.array().empty());
        features += (isEmpty ? std::string() : value.description()) + '\n';
    }
    return features;
}

std::string titleAndType(const HandedRecord& calendar)
{
    return textOf(calendar.record, "Title") + '\n' + textOf(calendar.record, "Type");
}

class Proof {
public:
    Proof(const std::vector<HandedRecord>& handed, const StoreAfterRewrite& store,
          const std::vector<KTLoss>& losses)
        : _handed(handed),
          _back(handed.size())
    {
        noteWhatCameBack(store);
        noteCurtailed(store, lossesOfKind(losses, KTLoss::Kind::curtailed));
        for (std::size_t index = 0; index < handed.size(); ++index) {
            if (isCalendar(handed[index]))
                _calendars.emplace(handed[index].id.key, index);
        }
    }

    std::vector<std::string> faults()
    {
        for (std::size_t index = 0; index < _handed.size(); ++index) {
            if (isCalendar(_handed[index]) && !_back[index])
                askForCalendar(index);
        }
        for (std::size_t index = 0; index < _handed.size(); ++index) {
            if (!isCalendar(_handed[index]) && !_back[index])
                askForItem(index);
        }
        return std::move(_faults);
    }

private:
    // Of one kind, in one calendar: the key it was handed out under.
    using Kind = std::pair<std::string, std::string>;

    void noteWhatCameBack(const StoreAfterRewrite& store)
    {
        RecordIdSet active;
        std::unordered_map<std::string, std::string> handedKeys;  // of calendars, by local key
        for (std::size_t index = 0; index < store.records.size(); ++index) {
            const SyncRecord& record = store.records[index];
            if (!record || !store.agreedKeys[index])
                continue;
            active.insert({record->conduit(), *store.agreedKeys[index]});
            if (record->conduit() == kConduitCalendar)
                handedKeys.emplace(record->recordKey(), *store.agreedKeys[index]);
        }
        for (std::size_t index = 0; index < _handed.size(); ++index)
            _back[index] = _handed[index].isKept()
                               ? store.keptNames.known.count(*_handed[index].keptAs) != 0
                               : active.count(_handed[index].id) != 0;
        for (std::size_t index = 0; index < store.records.size(); ++index) {
            if (store.records[index] && !store.agreedKeys[index])
                addNobodys(*store.records[index], handedKeys);
        }
        for (std::size_t index = 0; index < store.keptRecords.size(); ++index) {
            if (store.keptRecords[index] &&
                store.keptNames.known.count(store.keptNames.ids[index]) == 0)
                addNobodys(*store.keptRecords[index], handedKeys);
        }
    }

    void addNobodys(const KTSyncRecord& record,
                    const std::unordered_map<std::string, std::string>& handedKeys)
    {
        std::string calendar = record.recordParentKey().value_or("");
        if (record.conduit() == kConduitCalendar)
            calendar.clear();
        const auto handed = handedKeys.find(calendar);
        ++_nobodys[{record.conduit(), handed == handedKeys.end() ? calendar : handed->second}];
    }

    // A remark about a file that gives a record is about what of that record was left out.
    void noteCurtailed(const StoreAfterRewrite& store, const std::vector<KTLoss>& curtailed)
    {
        if (curtailed.empty())
            return;
        std::set<std::string> files;
        for (const SyncRecordList* records : {&store.records, &store.keptRecords}) {
            for (const SyncRecord& record : *records) {
                if (record && record->conduit() != kConduitCalendar)
                    files.insert(store.places.of(*record).file);
            }
        }
        for (const KTLoss& loss : curtailed) {
            const std::string file = store.places.relative(loss.file);
            if (file.empty() || files.count(file) == 0)
                _curtailed.push_back(loss);
        }
    }

    bool takeNobodys(const HandedRecord& missing)
    {
        const std::string calendar =
            isCalendar(missing) ? "" : textOf(missing.content(), "ParentRecordKey");
        const auto found = _nobodys.find({missing.id.conduit, calendar});
        if (found == _nobodys.end() || found->second == 0)
            return false;
        --found->second;
        return true;
    }

    static bool isOfCalendar(const KTLoss& loss, const HandedRecord& calendar)
    {
        if (!loss.calendarKey.empty())
            return loss.calendarKey == calendar.id.key;
        return !loss.calendar.empty() && loss.calendar == textOf(calendar.record, "Title");
    }

    // One that names another item is no excuse; one that names none excuses one item.
    bool takeCurtailed(const HandedRecord& item, const HandedRecord& calendar)
    {
        const auto found =
            std::find_if(_curtailed.begin(), _curtailed.end(), [&](const KTLoss& loss) {
                return isOfCalendar(loss, calendar) &&
                       (loss.uid.empty() || loss.uid == item.id.key);
            });
        if (found == _curtailed.end())
            return false;
        _curtailed.erase(found);
        return true;
    }

    void askForCalendar(std::size_t index)
    {
        const HandedRecord& calendar = _handed[index];
        const bool hasNamesake =
            std::any_of(_calendars.begin(), _calendars.end(), [&](const auto& entry) {
                return _back[entry.second] &&
                       titleAndType(_handed[entry.second]) == titleAndType(calendar);
            });
        const bool isCurtailed =
            std::any_of(_curtailed.begin(), _curtailed.end(),
                        [&](const KTLoss& loss) { return isOfCalendar(loss, calendar); });
        // Whose items the one that is read holds cannot be said.
        if (hasNamesake)
            _shared.insert(titleAndType(calendar));
        if (hasNamesake || isCurtailed || takeNobodys(calendar))
            return;
        _faults.push_back(stringWithFormat("Kalender '%@'", calendar.record["Title"]));
    }

    // Asked for at the first item that is missing: hardly any store lacks one.
    const std::unordered_set<std::string>& uniqueEvents()
    {
        if (!_unique.empty())
            return _unique;
        for (std::size_t index = 0; index < _handed.size(); ++index) {
            if (_handed[index].id.conduit == kConduitEvent && _back[index])
                _unique.insert(uniqueInCalendar(_handed[index]));
        }
        return _unique;
    }

    static std::string uniqueInCalendar(const HandedRecord& event)
    {
        return textOf(event.content(), "ParentRecordKey") + '\n' + whatMakesUnique(event.content());
    }

    void askForItem(std::size_t index)
    {
        const HandedRecord& item = _handed[index];
        const auto place = _calendars.find(textOf(item.content(), "ParentRecordKey"));
        // Without its calendar it has no place, and what became of that is told already.
        if (place == _calendars.end() || !_back[place->second])
            return;
        const HandedRecord& calendar = _handed[place->second];
        if (_shared.count(titleAndType(calendar)) != 0)
            return;
        const bool isCopy =
            item.id.conduit == kConduitEvent && uniqueEvents().count(uniqueInCalendar(item)) != 0;
        if (calendar.record["Type"] == Value("BirthdayCalendar") || isCopy || takeNobodys(item) ||
            takeCurtailed(item, calendar))
            return;
        _faults.push_back(stringWithFormat("'%@' (Kalender '%@')", item.content()["Title"],
                                           calendar.record["Title"]));
    }

    const std::vector<HandedRecord>& _handed;
    std::vector<bool> _back;
    std::unordered_map<std::string, std::size_t> _calendars;
    std::map<Kind, int> _nobodys;
    std::vector<KTLoss> _curtailed;
    std::unordered_set<std::string> _unique;
    std::unordered_set<std::string> _shared;  // title and type of several calendars
    std::vector<std::string> _faults;
};

}  // namespace

std::vector<std::string> faultsOfRewrite(const std::vector<HandedRecord>& handed,
                                         const StoreAfterRewrite& store,
                                         const std::vector<KTLoss>& losses)
{
    return Proof(handed, store, losses).faults();
}

}  // namespace kt
