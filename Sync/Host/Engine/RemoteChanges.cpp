#include "Sync/Host/Engine/RemoteChanges.h"

#include <algorithm>
#include <memory>
#include <tuple>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Host/Engine/EqualKeys.h"
#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/ServerPast.h"

namespace kt {

namespace {

// How often a record that the plug-in does not take makes a run of its own. After that it only
// comes along with others, or every run would rewrite the store.
constexpr int kOffersInVain = 2;

bool decode(RemoteChange& change)
{
    try {
        StoredRecord stored = storedRecord(change.server.content);
        change.record = std::move(stored.record);
        change.past = std::move(stored.past);
    } catch (const Exception&) {
        return false;
    }
    return true;
}

// Whether an offer that was not taken is worth a run: not while its calendar is switched off.
bool isWorthAnotherRun(const UntakenRow& row, const Knowledge& knowledge)
{
    if (row.refused || row.offers >= kOffersInVain)
        return false;
    const std::string& calendar =
        row.id.conduit == kConduitCalendar ? row.id.key : row.parentKey.value_or(row.id.key);
    return !knowledge.switchedOff().hasAgreed(calendar);
}

// Whether a change can only be taken once a text of the store can be read again. When that is so, a
// full comparison is due anyway.
bool waitsForItsText(const ServerDigest& digest, const Knowledge& knowledge)
{
    constexpr auto kAgreed = UnreadRow::Whose::agreed;
    return knowledge.unreadRow(kAgreed, digest.id) != nullptr ||
           (digest.parentKey && knowledge.unreadRow(kAgreed, {std::string(kConduitCalendar),
                                                              *digest.parentKey}) != nullptr);
}

// Groups, calendars, items; tombstones the other way round and last.
int placeInOffer(const RemoteChange& change)
{
    const bool isCalendar = change.server.id.conduit == kConduitCalendar;
    int place = 2;
    if (isCalendar)
        place = isGroup(change.record) ? 0 : 1;
    constexpr int lastPlace = 5;
    return change.server.isTombstone ? lastPlace - place : place;
}

SyncRecord offeredRecord(const RemoteChange& change, const Knowledge& knowledge)
{
    const ServerRecord& server = change.server;
    const bool isCalendar = server.id.conduit == kConduitCalendar;
    std::optional<std::string> parent = server.parentKey;
    if (parent)
        parent = knowledge.localCalendarKey(*parent);
    return std::make_shared<HostSyncRecord>(
        server.isTombstone ? kRecordTypeTombstone : kRecordTypeRecord, change.record,
        isCalendar ? knowledge.localCalendarKey(server.id.key) : server.id.key, parent,
        server.id.conduit);
}

// What something deleted is known again by: a calendar's colour and place are no more than edits.
std::string hashOfRemains(const RecordId& id, const Dictionary& record)
{
    if (id.conduit != kConduitCalendar)
        return contentHash(record, HashScope::neutral);
    Dictionary name;
    name.set("Title", record["Title"]);
    name.set("Type", record["Type"]);
    return contentHash(name, HashScope::neutral);
}

}  // namespace

RemoteChanges::RemoteChanges(SyncServerSession& server, const Knowledge& knowledge, Reach reach,
                             Base base, const Log& log)
{
    if (reach == Reach::byHash)
        addByHash(server, knowledge, base, log);
    else
        addByRevision(server, knowledge, base, log);
}

void RemoteChanges::addByRevision(SyncServerSession& server, const Knowledge& knowledge, Base base,
                                  const Log& log)
{
    const std::int64_t anchor = knowledge.facts().anchor;
    for (ServerRecord& record : server.changesSince(anchor)) {
        if (isDifferent(record, knowledge, base))
            add(std::move(record), knowledge, log);
    }
    // What was offered before and not taken lies behind the anchor.
    std::vector<RecordId> untaken;
    for (const UntakenRow& row : knowledge.untaken())
        untaken.push_back(row.id);
    for (ServerRecord& record : server.records(untaken)) {
        if (record.revision <= anchor && isDifferent(record, knowledge, base))
            add(std::move(record), knowledge, log);
    }
}

void RemoteChanges::addByHash(SyncServerSession& server, const Knowledge& knowledge, Base base,
                              const Log& log)
{
    std::vector<RecordId> differing;
    std::unordered_set<RecordId, RecordIdHash> known;
    for (const ServerDigest& digest : server.digests()) {
        const bool differs = isDifferent(digest, knowledge, base);
        if (differs)
            differing.push_back(digest.id);
        if (differs || !digest.isTombstone)
            known.insert(digest.id);
    }
    for (const AgreedRow& row : knowledge.agreed()) {
        if (known.count(row.id) != 0)
            continue;
        _missing.insert(row.id);
        // No server forgets what it had: of what is deleted there is a tombstone.
        _contradictsPast = _contradictsPast || row.revision != 0;
    }
    for (ServerRecord& record : server.records(differing))
        add(std::move(record), knowledge, log);
}

// A deletion counts against the record's own agreed revision: whatever this device took or wrote
// later than the deletion stands. The anchor says nothing about a single record.
bool RemoteChanges::isDifferent(const ServerDigest& digest, const Knowledge& knowledge, Base base)
{
    const AgreedRow* agreed = knowledge.agreedRow(digest.id);
    if (agreed != nullptr && kt::contradictsPast(digest, *agreed, knowledge))
        _contradictsPast = true;
    if (digest.isTombstone)
        return agreed != nullptr && base == Base::agreed && digest.revision > agreed->revision;
    if (agreed == nullptr || agreed->hash != digest.hash)
        return true;
    if (agreed->revision != digest.revision || base == Base::none)
        _renumbered.emplace(digest.id, digest.revision);
    return false;
}

void RemoteChanges::add(ServerRecord record, const Knowledge& knowledge, const Log& log)
{
    RemoteChange change;
    change.server = std::move(record);
    const RecordId id = change.server.id;
    const bool isReadable = decode(change);
    change.isRefused = !change.server.isTombstone &&
                       (!isReadable || !isAcceptableRecord(change.record, id.key, id.conduit));
    const UntakenRow* untaken = knowledge.untakenRow(id);
    const bool isOffer = untaken != nullptr && untaken->revision == change.server.revision;
    if (change.isRefused && !isOffer)
        log(stringWithFormat(
            "Der Datensatz '%@' (%@) des Servers ist unvollständig oder fehlerhaft und wird nicht "
            "übernommen",
            id.key, id.conduit));
    const bool isNews = !isOffer || isWorthAnotherRun(*untaken, knowledge);
    if (!change.isRefused && isNews && !waitsForItsText(change.server, knowledge))
        _hasNews = true;
    _changes.insert_or_assign(id, std::move(change));
}

std::int64_t RemoteChanges::revisionOf(const AgreedRow& agreed) const
{
    const auto found = _renumbered.find(agreed.id);
    return found == _renumbered.end() ? agreed.revision : found->second;
}

void RemoteChanges::findBuried(SyncServerSession& server, std::vector<RecordId> names)
{
    for (int number = 1; !names.empty(); ++number) {
        std::vector<RecordId> ids;
        for (const RecordId& name : names)
            ids.push_back({name.conduit, numberedKey(name.key, number)});
        std::unordered_set<RecordId, RecordIdHash> known;
        for (ServerRecord& record : server.records(ids)) {
            known.insert(record.id);
            if (record.isTombstone)
                bury(std::move(record));
        }
        std::erase_if(names, [&](const RecordId& name) {
            return known.count({name.conduit, numberedKey(name.key, number)}) == 0;
        });
    }
}

void RemoteChanges::bury(ServerRecord record)
{
    const RecordId id = record.id;
    RemoteChange last{std::move(record)};
    if (decode(last))
        _buried.emplace(id, Remains{hashOfRemains(id, last.record), last.past.origin});
    else
        _buried.emplace(id, Remains{});
}

bool RemoteChanges::mayRevive(const RecordId& id, const Dictionary& record,
                              const std::string& origin) const
{
    const auto found = _buried.find(id);
    return found == _buried.end() || found->second.hash == hashOfRemains(id, record) ||
           hasOrigin(found->second.origin, origin);
}

RemoteChange* RemoteChanges::change(const RecordId& id)
{
    const auto found = _changes.find(id);
    return found == _changes.end() ? nullptr : &found->second;
}

const RemoteChange* RemoteChanges::change(const RecordId& id) const
{
    const auto found = _changes.find(id);
    return found == _changes.end() ? nullptr : &found->second;
}

std::size_t RemoteChanges::refusedCount() const
{
    return static_cast<std::size_t>(
        std::count_if(_changes.begin(), _changes.end(),
                      [](const auto& entry) { return entry.second.isRefused; }));
}

std::vector<std::pair<SyncRecord, RemoteChange*>> RemoteChanges::offer(const Knowledge& knowledge)
{
    std::vector<RemoteChange*> offered;
    for (auto& [id, change] : _changes) {
        if (!change.isRefused)
            offered.push_back(&change);
    }
    std::stable_sort(offered.begin(), offered.end(), [](const auto* left, const auto* right) {
        return placeInOffer(*left) < placeInOffer(*right);
    });
    std::vector<std::pair<SyncRecord, RemoteChange*>> result;
    for (RemoteChange* change : offered) {
        change->isOffered = true;
        result.emplace_back(offeredRecord(*change, knowledge), change);
    }
    return result;
}

}  // namespace kt
