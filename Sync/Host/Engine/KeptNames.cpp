#include "Sync/Host/Engine/KeptNames.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <set>
#include <unordered_map>
#include <utility>

#include "Sync/Host/Engine/EqualKeys.h"
#include "Sync/Host/Engine/IdentityPairing.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/RecordPast.h"

namespace kt {

namespace {

// One conduit and key, while its records are being named.
class Naming {
public:
    Naming(RecordId id, LocalState& state, const Knowledge& knowledge, const StoreReading& reading)
        : _id(std::move(id)),
          _state(state),
          _knowledge(knowledge),
          _reading(reading)
    {}

    void addRow(const KeptRow& row)
    {
        _taken.insert(row.id.key);
        _rows.push_back(&row);
    }
    void addRecord(std::size_t index, const KTSyncRecord& record)
    {
        _records.push_back({index, &record, _reading.places.of(record)});
    }

    void name(KeptNames& names, KeptMissing missing)
    {
        pairPlaces(names, placeOf);
        pairPlaces(names, [](const StorePlace& place) { return place.uid; });
        pair(
            names, [](const Record& record) { return contentHash(record.record->record()); },
            [](const KeptRow& row) { return row.hash; });
        pair(
            names,
            [](const Record& record) {
                return contentHash(record.record->record(), HashScope::neutral);
            },
            [&](const KeptRow& row) {
                return contentHash(_state.keptRecord(row.id), HashScope::neutral);
            });
        pairWhatWasEdited(names, missing);
        for (const Record& record : _records)
            names.ids[record.index] = freeName();
    }

private:
    struct Record {
        std::size_t index;
        const KTSyncRecord* record;
        StorePlace place;
    };
    using FeatureOfRecord = std::function<std::string(const Record&)>;
    using FeatureOfRow = std::function<std::string(const KeptRow&)>;

    static std::string placeOf(const StorePlace& place)
    {
        return place.uid.empty() || place.file.empty() ? "" : place.uid + '\n' + place.file;
    }

    // While the row's own text may be unread, a record of another UID is another record.
    bool mayBe(const Record& record, const KeptRow& row) const
    {
        const UnreadClaim claim =
            _reading.texts.empty()
                ? UnreadClaim::none
                : _reading.texts.claimOn(knownRecord(row, _knowledge, _reading.texts));
        if (claim == UnreadClaim::none)
            return true;
        if (claim == UnreadClaim::possible && (record.place.uid.empty() || row.place.uid.empty()))
            return true;
        return !record.place.uid.empty() && record.place.uid == row.place.uid;
    }

    // Pairs those that share a feature with nobody else: a copied file has the same UID.
    void pairPlaces(KeptNames& names, const std::function<std::string(const StorePlace&)>& feature)
    {
        std::unordered_map<std::string, int> sharers;
        for (const Record& record : _records)
            ++sharers["record" + feature(record.place)];
        for (const KeptRow* row : _rows)
            ++sharers["row" + feature(row->place)];
        const auto unshared = [&](const StorePlace& place) {
            const std::string name = feature(place);
            return sharers["record" + name] == 1 && sharers["row" + name] == 1 ? name : "";
        };
        pair(
            names, [&](const Record& record) { return unshared(record.place); },
            [&](const KeptRow& row) { return unshared(row.place); });
    }

    // Features that several share pair in order, as far as they go.
    void pair(KeptNames& names, const FeatureOfRecord& ofRecord, const FeatureOfRow& ofRow)
    {
        if (_records.empty() || _rows.empty())
            return;
        std::unordered_map<std::string, std::vector<const KeptRow*>> rows;
        for (const KeptRow* row : _rows)
            rows[ofRow(*row)].push_back(row);
        rows.erase("");
        std::vector<Record> rest;
        for (Record& record : _records) {
            const auto found = rows.find(ofRecord(record));
            const KeptRow* row = found == rows.end() ? nullptr : takeFirst(found->second, record);
            if (row != nullptr)
                take(names, record, *row);
            else
                rest.push_back(std::move(record));
        }
        _records = std::move(rest);
    }

    const KeptRow* takeFirst(std::vector<const KeptRow*>& rows, const Record& record) const
    {
        const auto row = std::find_if(rows.begin(), rows.end(),
                                      [&](const KeptRow* each) { return mayBe(record, *each); });
        if (row == rows.end())
            return nullptr;
        const KeptRow* taken = *row;
        rows.erase(row);
        return taken;
    }

    // An item keeps its UID through every edit, but for a rewrite that makes one of its key.
    static bool isAnotherItem(const Record& record, const KeptRow& row)
    {
        const std::string& uid = record.place.uid;
        return row.id.conduit != kConduitCalendar && !uid.empty() && !row.place.uid.empty() &&
               uid != row.place.uid && uid != row.id.key;
    }

    // Where one may be missing without being deleted, it is not known which one was edited.
    void pairWhatWasEdited(KeptNames& names, KeptMissing missing)
    {
        if (missing == KeptMissing::stillThere && _records.size() < _rows.size())
            return;
        std::vector<Record> rest;
        for (Record& record : _records) {
            std::vector<const KeptRow*> rows = _rows;
            if (missing == KeptMissing::stillThere)
                std::erase_if(rows,
                              [&](const KeptRow* row) { return isAnotherItem(record, *row); });
            if (const KeptRow* row = takeFirst(rows, record))
                take(names, record, *row);
            else
                rest.push_back(std::move(record));
        }
        _records = std::move(rest);
    }

    void take(KeptNames& names, const Record& record, const KeptRow& row)
    {
        names.ids[record.index] = row.id;
        names.known.insert(row.id);
        std::erase(_rows, &row);
    }

    RecordId freeName()
    {
        int number = 1;
        while (!_taken.insert(numberedKey(_id.key, number)).second)
            ++number;
        return {_id.conduit, numberedKey(_id.key, number)};
    }

    RecordId _id;
    LocalState& _state;
    const Knowledge& _knowledge;
    const StoreReading& _reading;
    std::vector<const KeptRow*> _rows;
    std::vector<Record> _records;
    std::unordered_set<std::string> _taken;
};

// What stores know or knew kept records by.
class KeptByIdentity {
public:
    KeptByIdentity(const std::vector<KeptRow>& rows, LocalState& state) : _rows(rows), _state(state)
    {
        for (const KeptRow& row : rows)
            _byIdentity[identityOf(row.id.conduit, row.place)].push_back(&row);
    }

    // Null where there is none, or several.
    const KeptRow* rowOf(const std::string& conduit, const StorePlace& place)
    {
        const std::string identity = identityOf(conduit, place);
        if (identity.empty())
            return nullptr;
        if (const KeptRow* row = onlyOne(_byIdentity, identity))
            return row;
        return conduit == kConduitCalendar ? nullptr
                                           : onlyOne(origins(), originOfIdentity(conduit, place));
    }

private:
    using Rows = std::unordered_map<std::string, std::vector<const KeptRow*>>;

    static const KeptRow* onlyOne(const Rows& rows, const std::string& name)
    {
        const auto found = rows.find(name);
        return found == rows.end() || found->second.size() != 1 ? nullptr : found->second.front();
    }

    // The UID that a rewrite makes of a key, and those that there were before.
    const Rows& origins()
    {
        if (_byOrigin)
            return *_byOrigin;
        _byOrigin.emplace();
        for (const KeptRow& row : _rows) {
            if (row.id.conduit == kConduitCalendar)
                continue;
            std::set<std::string> names = originsIn(_state.keptPast(row.id).origin);
            names.insert(originOfIdentity(row.id.conduit, {row.id.key}));
            for (const std::string& name : names)
                (*_byOrigin)[name].push_back(&row);
        }
        return *_byOrigin;
    }

    const std::vector<KeptRow>& _rows;
    LocalState& _state;
    Rows _byIdentity;
    std::optional<Rows> _byOrigin;  // once it is asked for
};

// An item keeps its UID through an edit that gives it another key, unless a rewrite or an older
// copy of the store gives it another one; a calendar its folder. Without that the old one would
// stand beside it while a rewrite is not settled.
void knowByIdentity(const SyncRecordList& records, LocalState& state, const Knowledge& knowledge,
                    const StorePlaces& places, KeptNames& names)
{
    std::unordered_map<std::string, int> sharers;
    for (const SyncRecord& record : records) {
        if (record)
            ++sharers[identityOf(record->conduit(), places.of(*record))];
    }
    KeptByIdentity kept(knowledge.kept(), state);
    for (std::size_t index = 0; index < records.size(); ++index) {
        if (!records[index] || names.known.count(names.ids[index]) != 0)
            continue;
        const std::string& conduit = records[index]->conduit();
        const StorePlace& place = places.of(*records[index]);
        const KeptRow* row =
            sharers[identityOf(conduit, place)] == 1 ? kept.rowOf(conduit, place) : nullptr;
        if (row != nullptr)
            names.known.insert(row->id);
    }
}

}  // namespace

KeptNames keptNames(const SyncRecordList& records, LocalState& state, const Knowledge& knowledge,
                    const StoreReading& reading, KeptMissing missing)
{
    std::unordered_map<RecordId, Naming, RecordIdHash> groups;
    std::vector<RecordId> order;
    const auto group = [&](const RecordId& id) -> Naming& {
        const auto [place, isNew] = groups.try_emplace(id, Naming(id, state, knowledge, reading));
        if (isNew)
            order.push_back(id);
        return place->second;
    };
    for (std::size_t index = 0; index < records.size(); ++index) {
        if (records[index])
            group({records[index]->conduit(), records[index]->recordKey()})
                .addRecord(index, *records[index]);
    }
    for (const KeptRow& row : knowledge.kept()) {
        const auto ofKey = groups.find(row.id);
        const auto bareKey = keyBeforeNumber(row.id.key);
        const auto ofBareKey = bareKey ? groups.find({row.id.conduit, *bareKey}) : groups.end();
        if (ofKey != groups.end())
            ofKey->second.addRow(row);
        else if (ofBareKey != groups.end())
            ofBareKey->second.addRow(row);
    }
    KeptNames names;
    names.ids.resize(records.size());
    for (const RecordId& id : order)
        groups.at(id).name(names, missing);
    if (!knowledge.kept().empty())
        knowByIdentity(records, state, knowledge, reading.places, names);
    return names;
}

}  // namespace kt
