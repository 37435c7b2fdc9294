#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <utility>

#include "Sync/Host/Engine/EqualKeys.h"
#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/ReadRecords.h"
#include "Sync/Host/Engine/SyncSession.h"

namespace kt {

namespace {

constexpr const char* kParent = "ParentRecordKey";
constexpr const char* kOrder = "Order";

using Whose = UnreadRow::Whose;

void merge(UnreadRecords& into, const UnreadRecords& other)
{
    into.unread.insert(other.unread.begin(), other.unread.end());
    into.returning.insert(other.returning.begin(), other.returning.end());
    into.givenUp.resize(std::max(into.givenUp.size(), other.givenUp.size()));
    for (std::size_t text = 0; text < other.givenUp.size(); ++text)
        into.givenUp[text] = into.givenUp[text] || other.givenUp[text];
}

// The group that each calendar was in, by local keys.
std::map<std::string, std::string> formerGroups(const Knowledge& knowledge)
{
    std::map<std::string, std::string> groups;
    for (const SeenRow& row : knowledge.seen()) {
        if (row.local.conduit == kConduitCalendar && row.localParentKey)
            groups.emplace(row.local.key, *row.localParentKey);
    }
    for (const KeptRow& row : knowledge.kept()) {
        if (row.id.conduit == kConduitCalendar && row.parentKey)
            groups.emplace(row.id.key, *row.parentKey);
    }
    return groups;
}

SyncRecord with(const KTSyncRecord& calendar, std::string_view field, Value value,
                const std::optional<std::string>& parentKey)
{
    Dictionary record = calendar.record();
    record.set(field, std::move(value));
    return std::make_shared<HostSyncRecord>(calendar.recordType(), std::move(record),
                                            calendar.recordKey(), parentKey, calendar.conduit());
}

// Empty at the top, where in one of the layouts everything is its own parent.
std::string groupOf(const std::string& key, const std::optional<std::string>& parentKey)
{
    return parentKey && *parentKey != key ? *parentKey : std::string();
}

// Where calendars stood in their groups, by local keys.
class Seats {
public:
    Seats(const Knowledge& knowledge, LocalState& state)
    {
        for (const SeenRow& row : knowledge.seen()) {
            const Value number =
                row.local.conduit == kConduitCalendar ? state.seenRecord(row)[kOrder] : Value();
            if (number.isNumber())
                _seats.emplace(row.local.key,
                               Seat{groupOf(row.local.key, row.localParentKey), number.intValue()});
        }
    }

    // The number that a calendar had, if it has only moved up by as many as are unread before it.
    std::optional<int> formerNumber(const KTSyncRecord& calendar,
                                    const std::unordered_set<std::string>& unread) const
    {
        const auto seat = _seats.find(calendar.recordKey());
        const Value& number = calendar.record()[kOrder];
        if (seat == _seats.end() || !number.isNumber() ||
            seat->second.group != groupOf(calendar.recordKey(), calendar.recordParentKey()))
            return std::nullopt;
        const auto missing = std::count_if(_seats.begin(), _seats.end(), [&](const auto& each) {
            return unread.count(each.first) != 0 && each.second.group == seat->second.group &&
                   each.second.number < seat->second.number;
        });
        const bool hasMovedUp =
            missing != 0 && number.intValue() == seat->second.number - static_cast<int>(missing);
        return hasMovedUp ? std::optional(seat->second.number) : std::nullopt;
    }

private:
    struct Seat {
        std::string group;
        int number = 0;
    };
    std::map<std::string, Seat> _seats;
};

}  // namespace

// The same calendar otherwise than it was told, with what the store itself knows it by.
void SyncSession::replace(SyncRecord& record, SyncRecord other)
{
    const KTStoreIdentity known =
        _setting.reports.identities.identityOf(*record).value_or(KTStoreIdentity{});
    record = std::move(other);
    _setting.reports.identities.reportIdentity(record, known);
}

// While the text of a group cannot be read its calendars seem to stand at the top, and a store that
// counts its calendars leaves out those that it cannot read. Nobody moved them.
SyncRecordList SyncSession::withGroupsThatAreUnread(const SyncRecordList& records)
{
    SyncRecordList result = records;
    if (_texts->empty())
        return result;
    std::unordered_set<std::string> unread;
    for (const SeenRow& row : _knowledge->seen()) {
        if (row.local.conduit == kConduitCalendar &&
            !_setting.reports.identities.hasCalendar(row.local.key) &&
            _texts->claimOn(knownRecord(row, *_knowledge, *_texts)) != UnreadClaim::none)
            unread.insert(row.local.key);
    }
    if (unread.empty())
        return result;
    const auto groups = formerGroups(*_knowledge);
    for (SyncRecord& record : result) {
        const bool isAtTop =
            record && record->conduit() == kConduitCalendar &&
            (!record->recordParentKey() || record->recordParentKey() == record->recordKey());
        const auto group = isAtTop ? groups.find(record->recordKey()) : groups.end();
        if (group == groups.end() || group->second == record->recordKey() ||
            unread.count(group->second) == 0)
            continue;
        replace(record, with(*record, kParent, group->second, group->second));
    }
    const Seats seats(*_knowledge, _setting.state);
    for (SyncRecord& record : result) {
        const auto number = record && record->conduit() == kConduitCalendar
                                ? seats.formerNumber(*record, unread)
                                : std::nullopt;
        if (number)
            replace(record, with(*record, kOrder, *number, record->recordParentKey()));
    }
    return result;
}

// Changes of what cannot be read wait. So does what comes into a calendar that is unread as a
// whole, and the deletion of one that holds something unread: its folder would have to go.
bool SyncSession::waitsForItsText(const RecordId& id, const RemoteChange& change)
{
    if (_unread.unread.count(id) != 0)
        return true;
    if (id.conduit == kConduitCalendar)
        return change.server.isTombstone ? _unread.parents.count(id.key) != 0
                                         : isPlaceTaken(id, change);
    if (!change.server.parentKey || change.server.isTombstone)
        return false;
    const RecordId parent{std::string(kConduitCalendar), *change.server.parentKey};
    const RemoteChange* calendar = _remote.change(parent);
    return _unread.closed.count(_local->localCalendarKey(parent.key)) != 0 ||
           _unread.unread.count(parent) != 0 ||
           (calendar != nullptr && !calendar->server.isTombstone &&
            _local->recordAgreedAs(parent) == nullptr && isPlaceTaken(parent, *calendar));
}

// A calendar that is new here, but whose folder is there and cannot be read, or one whose title
// another one has.
bool SyncSession::isPlaceTaken(const RecordId& id, const RemoteChange& change)
{
    const LocalRecord* local = _local->recordAgreedAs(id);
    const bool isHere = _knowledge->agreedRow(id) != nullptr || local != nullptr;
    const Value& sourceKey = change.record["SourceKey"];
    if (!isHere && sourceKey.isString() && _texts->isInFolderOf(std::string(sourceKey.string())))
        return true;
    if (local != nullptr && local->record->record()["Title"] == change.record["Title"])
        return false;
    if (!_takenTitles)
        _takenTitles.emplace(_participation->off(), reading(), *_knowledge, _setting.state);
    return _takenTitles->isAnothers(id, change.record);
}

// What was kept of calendars that are switched on now, and what the store lacks without anybody
// having deleted it. Only where the store is rewritten: what was kept is nowhere else until then.
SyncRecordList SyncSession::withKeptRecordsThatComeBack(const SyncRecordList& records)
{
    SyncRecordList all = records;
    _keptAndRead = movedOutOfSwitchedOff(records, _participation->off(), _places, *_knowledge);
    if (_switchedOn.empty())
        return all;
    std::unordered_set<std::string> switchedOn;
    for (const auto& [former, now] : _switchedOn)
        switchedOn.insert(now);
    const KeptNames names = keptNames(recordsOfCalendars(records, switchedOn), _setting.state,
                                      *_knowledge, reading(), keptMissing());
    _keptAndRead.insert(names.known.begin(), names.known.end());
    RecordIdSet present = _keptAndRead;
    for (const KeptRow& row : _knowledge->kept()) {
        if (!isSwitchedOn(row))
            present.insert(row.id);
    }
    if (_isHeld)
        return all;
    _unreadKept = unreadKeptRecords(*_texts, *_knowledge, present, unreadRules(), _setting.state);
    if (!isRewriteExpected(_result))
        return all;
    for (const KeptRow& row : _knowledge->kept()) {
        const bool comesBack = isMissingUnread() ? _unreadKept.unread.count(row.id) == 0
                                                 : _unreadKept.returning.count(row.id) != 0;
        if (present.count(row.id) == 0 && comesBack)
            all.push_back(keptAsLocal(row));
    }
    return all;
}

// Under the key that the plug-in computes: numbers behind it are the engine's.
SyncRecord SyncSession::keptAsLocal(const KeptRow& row)
{
    std::string key = row.id.key;
    if (const auto bareKey = keyBeforeNumber(key)) {
        const auto isBare = [&](const RecordId& id) {
            return id.conduit == row.id.conduit && id.key == *bareKey;
        };
        const auto& kept = _knowledge->kept();
        const auto& seen = _knowledge->seen();
        if (std::any_of(kept.begin(), kept.end(),
                        [&](const auto& each) { return isBare(each.id); }) ||
            std::any_of(seen.begin(), seen.end(),
                        [&](const auto& each) { return isBare(each.local); }))
            key = *bareKey;
    }
    Dictionary content = _setting.state.keptRecord(row.id);
    std::optional<std::string> parent = row.parentKey;
    const auto now = parent ? _switchedOn.find(*parent) : _switchedOn.end();
    if (now != _switchedOn.end() && now->second != *parent) {
        parent = now->second;
        content.set(kParent, now->second);
    }
    auto record = std::make_shared<HostSyncRecord>(kRecordTypeRecord, std::move(content), key,
                                                   parent, row.id.conduit);
    _setting.reports.identities.reportIdentity(record, {row.place.uid, row.place.recurrence, "",
                                                        row.place.file});
    return record;
}

// What the switched-off calendars hold is known only now.
void SyncSession::decideKept()
{
    if (!_keptRecords)
        return;
    _keptNames = keptNames(*_keptRecords, _setting.state, *_knowledge, reading(), keptMissing());
    _stillOff = calendarKeysNow(*_keptRecords, _places, *_knowledge);
    if (_isHeld || isSettling())
        return;
    RecordIdSet present = _keptNames.known;
    present.insert(_keptAndRead.begin(), _keptAndRead.end());
    for (const KeptRow& row : _knowledge->kept()) {
        if (isSwitchedOn(row))
            present.insert(row.id);
    }
    merge(_unreadKept,
          unreadKeptRecords(*_texts, *_knowledge, present, unreadRules(), _setting.state));
    keepWhatIsMissed();
}

// What is unread of a calendar that was switched off just now is kept as it was last seen. What
// could be read again meanwhile is kept as it is.
void SyncSession::keepWhatIsMissed()
{
    const SwitchedOffCalendars switchedOff =
        switchedOffCalendars(*_keptRecords, _localRecords, _places, *_knowledge, _remote);
    const ReadRecords read(*_keptRecords, _places);
    std::unordered_set<RecordId, RecordIdHash> taken(_keptNames.ids.begin(), _keptNames.ids.end());
    for (const KeptRow& row : _knowledge->kept())
        taken.insert(row.id);
    for (const SeenRow* row : _unread.rows) {
        if (!row->agreedKey || !switchedOff.holds(*row, *_knowledge))
            continue;
        const RecordId agreed{row->local.conduit, *row->agreedKey};
        if (read.has(*row)) {
            _unread.unread.erase(agreed);
            _unread.returning.erase(agreed);
            continue;
        }
        RecordId id = row->local;
        for (int number = 2; !taken.insert(id).second; ++number)
            id.key = numberedKey(row->local.key, number);
        KeptRow kept{id, row->localParentKey, row->hash, row->place};
        if (id.conduit == kConduitCalendar)
            kept.agreedKey = row->agreedKey;
        else if (kept.parentKey)
            kept.parentKey =
                _local->localCalendarKey(_knowledge->agreedCalendarKey(*kept.parentKey));
        _keptFromSeen.emplace_back(std::move(kept), row);
        if (_unread.unread.erase(agreed) != 0)
            _unreadKept.unread.insert(id);
        _unread.returning.erase(agreed);
    }
}

void SyncSession::writeKept()
{
    if (!_keptRecords)
        return;
    RecordIdSet stays;
    for (const KeptRow& row : _knowledge->kept()) {
        const bool isActive = isSwitchedOn(row);
        const bool isMissed = isMissingUnread() || _unreadKept.returning.count(row.id) != 0;
        // Where the store is rewritten a calendar that is switched on has got it back.
        const bool isNowhereElse = !isActive || !isRewriteExpected(_result);
        if (_keptAndRead.count(row.id) != 0 || _keptNames.known.count(row.id) != 0)
            continue;
        if (isUnreadKept(row) || (isMissed && isNowhereElse))
            stays.insert(row.id);
    }
    replaceKept(_setting.state, *_knowledge,
                {*_keptRecords, _keptNames, stays, _stillOff, _switchedOff, _places});
    for (const auto& [kept, seen] : _keptFromSeen) {
        Dictionary record = _setting.state.seenRecord(*seen);
        if (kept.id.conduit != kConduitCalendar && kept.parentKey)
            record.set(kParent, *kept.parentKey);
        _setting.state.setKept(kept, record);
    }
}

bool SyncSession::isUnreadKept(const KeptRow& row) const
{
    return isSettling() || _isHeld ? _knowledge->unreadRow(Whose::kept, row.id) != nullptr
                                   : _unreadKept.unread.count(row.id) != 0;
}

// What comes back and is not written in this run stays known as unread until it is.
void SyncSession::writeUnread()
{
    if (_isHeld) {
        for (const RecordId& id : _unread.moved)
            _setting.state.setUnread({Whose::moved, id, _texts->now()});
        return;
    }
    const bool isRewritten = isRewriteExpected(_result);
    std::set<std::pair<Whose, RecordId>> unread;
    const auto add = [&](Whose whose, const UnreadRecords& records) {
        for (const RecordId& id : records.unread)
            unread.emplace(records.moved.count(id) != 0 ? Whose::moved : whose, id);
        if (isRewritten)
            return;
        for (const RecordId& id : records.returning)
            unread.emplace(whose, id);
    };
    add(Whose::agreed, _unread);
    add(Whose::kept, _unreadKept);
    for (const UnreadRow& row : _knowledge->unread()) {
        if (unread.erase({row.whose, row.id}) == 0)
            _setting.state.removeUnread(row);
    }
    for (const auto& [whose, id] : unread)
        _setting.state.setUnread({whose, id, _texts->now()});
}

void SyncSession::writeUnreadTexts(StateFacts& facts)
{
    std::set<std::string> present;
    std::set<std::string> added;
    for (std::size_t text = 0; text < _texts->count(); ++text) {
        present.insert(_texts->name(text));
        if (_texts->isNew(text))
            added.insert(_texts->name(text));
    }
    bool hasChanged = !added.empty();
    for (const UnreadTextRow& row : _knowledge->unreadTexts()) {
        if (present.count(row.name) != 0)
            continue;
        _setting.state.removeUnreadText(row.name);
        hasChanged = true;
    }
    for (const std::string& name : added)
        _setting.state.setUnreadText({name, _texts->now()});
    if (hasChanged)
        facts.unreadTextsChanged = _texts->now();
}

void SyncSession::tellOfTexts()
{
    SyncRunSummary& summary = _setting.summary;
    const auto isGivenUp = [&](std::size_t text) {
        const auto says = [&](const std::vector<bool>& given) {
            return text < given.size() && given[text];
        };
        return isRewriteExpected(_result) && (says(_unread.givenUp) || says(_unreadKept.givenUp));
    };
    for (std::size_t text = 0; text < _texts->count(); ++text) {
        if (isGivenUp(text))
            summary.overwritten.push_back(_texts->loss(text));
        else if (_texts->isNew(text))
            summary.newlyUnread.push_back(_texts->loss(text));
    }
    _setting.reports.carefulWriting.giveUp(summary.overwritten);
}

}  // namespace kt
