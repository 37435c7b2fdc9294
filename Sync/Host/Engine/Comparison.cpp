#include "Sync/Host/Engine/Comparison.h"

#include <algorithm>
#include <utility>

#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/RecordFields.h"
#include "Sync/Host/Engine/RecordMerge.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

namespace {

std::optional<std::string> parentOf(const Dictionary& record)
{
    const Value& parent = record["ParentRecordKey"];
    return parent.isString() ? parent.stringOrNil() : std::nullopt;
}

}  // namespace

Comparison::Comparison(const Knowledge& knowledge, RemoteChanges& remote, const LocalRecords& local,
                       LocalState& state, SyncServerSession& server, const ComparisonRules& rules)
    : _knowledge(knowledge),
      _remote(remote),
      _local(local),
      _state(state),
      _server(server),
      _rules(rules)
{}

std::map<RecordId, Outcome> Comparison::outcomes()
{
    _outcomes.clear();
    _deletionsNotMade.clear();
    _overwritten.clear();
    if (_rules.serverWins) {
        overwriteWithServer();
        return std::move(_outcomes);
    }
    for (const AgreedRow& agreed : _knowledge.agreed())
        compareAgreed(agreed);
    for (const LocalRecord& local : _local.all()) {
        if (!local.isLeftOver && _knowledge.agreedRow(local.agreedId) == nullptr)
            compareNew(local.agreedId, &local, _remote.change(local.agreedId));
    }
    for (const auto& [id, remote] : _remote.changes()) {
        if (_knowledge.agreedRow(id) == nullptr && _local.recordAgreedAs(id) == nullptr)
            compareNew(id, nullptr, &remote);
    }
    keepSequences();
    bringCalendarsBack();
    notePasts();
    return std::move(_outcomes);
}

Outcome& Comparison::take(const RecordId& id, RecordContent record)
{
    Outcome outcome;
    outcome.id = id;
    outcome.kind = Outcome::Kind::take;
    outcome.parentKey = parentOf(record);
    outcome.record = std::move(record);
    outcome.isNew = _knowledge.agreedRow(id) == nullptr;
    if (!outcome.isNew)
        outcome.past = _state.agreedPast(id);
    return _outcomes.insert_or_assign(id, std::move(outcome)).first->second;
}

// The server has a record under that name that this version cannot take, and it stays there as it
// is. What this device has goes nowhere, but a rewrite must not cost it either: it is kept as what
// nobody has agreed to, and meets the server's record once that can be taken.
Outcome& Comparison::takeHereOnly(const RecordId& id, RecordContent record)
{
    return take(id, std::move(record));
}

Outcome& Comparison::remove(const AgreedRow& agreed)
{
    Outcome outcome;
    outcome.id = agreed.id;
    outcome.kind = Outcome::Kind::remove;
    outcome.record = _state.agreedRecord(agreed.id);
    outcome.parentKey = agreed.parentKey;
    return _outcomes.insert_or_assign(agreed.id, std::move(outcome)).first->second;
}

void Comparison::takeMerged(const RecordId& id, RecordContent merged, const RemoteChange& remote)
{
    Outcome& outcome = take(id, std::move(merged));
    outcome.goesUp = contentHash(outcome.record) != remote.server.hash;
    outcome.serverRevision = remote.server.revision;
    const bool isJoined = outcome.goesUp && !outcome.isNew;
    const std::string origin =
        isJoined ? joinedOrigins(outcome.past.origin, remote.past.origin) : remote.past.origin;
    outcome.past = {origin, remote.past.former};
}

// What goes up has been what both sides had.
void Comparison::notePasts()
{
    for (auto& [id, outcome] : _outcomes) {
        if (!outcome.goesUp || outcome.kind != Outcome::Kind::take)
            continue;
        std::string& former = outcome.past.former;
        if (const AgreedRow* agreed = _knowledge.agreedRow(id))
            former = formerOf(agreed->hash, former);
        if (const RemoteChange* remote = _remote.change(id))
            former = formerOf(remote->server.hash, former);
    }
}

void Comparison::noteOverwritten(const RecordId& id, const SettledConflict& conflict)
{
    for (OverwrittenText& text : overwrittenTexts(id, conflict))
        _overwritten.push_back(std::move(text));
}

// The user asked for it: the store becomes what the server has, as far as the plug-in lets it
// through.
void Comparison::overwriteWithServer()
{
    for (const auto& [id, remote] : _remote.changes()) {
        if (remote.isRefused || !remote.isTaken || remote.server.isTombstone)
            continue;
        Outcome& outcome = take(id, remote.record);
        outcome.comesDown = true;
        outcome.serverRevision = remote.server.revision;
        outcome.past = remote.past;
    }
    for (const AgreedRow& agreed : _knowledge.agreed()) {
        const RemoteChange* remote = _remote.change(agreed.id);
        const bool isGone = remote != nullptr && remote->server.isTombstone;
        // What cannot be read here can be written over as little as it can be compared.
        const bool waits = _rules.unread->unread.count(agreed.id) != 0 ||
                           (agreed.id.conduit == kConduitCalendar &&
                            _rules.unread->parents.count(agreed.id.key) != 0);
        if (!waits && (isGone || _remote.isMissingOnServer(agreed.id)))
            remove(agreed).comesDown = true;
    }
    for (const LocalRecord& local : _local.all()) {
        if (!local.isLeftOver && _knowledge.agreedRow(local.agreedId) == nullptr &&
            _outcomes.count(local.agreedId) == 0)
            dropLocal(local);
    }
}

// What only this store has goes with it, which the user is to be told.
void Comparison::dropLocal(const LocalRecord& local)
{
    Outcome outcome;
    outcome.id = local.agreedId;
    outcome.kind = Outcome::Kind::remove;
    outcome.record = _local.underAgreedKeys(local);
    outcome.parentKey = parentOf(outcome.record);
    outcome.comesDown = true;
    _outcomes.insert_or_assign(local.agreedId, std::move(outcome));
}

void Comparison::compareAgreed(const AgreedRow& agreed)
{
    const LocalRecord* local = _local.recordAgreedAs(agreed.id);
    const LocalWish wish = wishFor(agreed, local);
    const RemoteChange* remote = _remote.change(agreed.id);
    if (remote == nullptr) {
        const bool isOnServer =
            _remote.revisionOf(agreed) != 0 && !_remote.isMissingOnServer(agreed.id);
        if (isOnServer)
            meetsNothing(agreed, wish);
        else
            goesUpAgain(agreed, wish);
        return;
    }
    if (remote->isRefused)
        meetsRefused(agreed, wish);
    else if (remote->server.isTombstone)
        meetsTombstone(agreed, isOnlyRenumbered(wish.units) ? LocalWish() : wish, *remote);
    else if (wish.kind == LocalWish::Kind::deleted && isOnlyRenumbered(agreed, *remote))
        meetsNothing(agreed, wish);
    else
        meetsRecord(agreed, wish, *remote);
}

Comparison::LocalWish Comparison::wishFor(const AgreedRow& agreed, const LocalRecord* local)
{
    LocalWish wish;
    if (local == nullptr) {
        // A record that was never seen was not deleted.
        const bool wasSeen = _knowledge.seenOfAgreed(agreed.id) != nullptr;
        if (wasSeen && !_rules.isMissingUnread && _rules.hasBase &&
            !_rules.unread->isMissed(agreed.id))
            wish.kind = LocalWish::Kind::deleted;
        return wish;
    }
    const bool isHealing = _rules.isHealing && !_rules.isPutBack;
    if (local->seen == nullptr)
        return isHealing && _knowledge.pushedRow(agreed.id) != nullptr
                   ? wishWhileHealing(agreed, *local)
                   : wishWithoutSeen(agreed, *local);
    if (local->seen->hash == local->hash)
        return wish;
    wish.units = changesSinceSeen(*local);
    if (wish.units.empty())
        return wish;
    if (_rules.isHealing)
        return isHealing ? wishWhileHealing(agreed, *local) : wishWithoutSeen(agreed, *local);
    wish.kind = LocalWish::Kind::changed;
    wish.record = _local.underAgreedKeys(*local);
    return wish;
}

// While a rewrite is not settled, what differs from what the store gave before it may be what the
// rewrite wrote. But it wrote nothing into a unit that is agreed just as it was: that was the user.
Comparison::LocalWish Comparison::wishWhileHealing(const AgreedRow& agreed,
                                                   const LocalRecord& local)
{
    const Dictionary target = _state.agreedRecord(agreed.id);
    const auto [base, timezone] = beforeRewrite(agreed, local, target);
    const Dictionary own = _local.underAgreedKeys(local);
    std::vector<std::string> changed =
        changedUnits({base, timezone}, {own, Platform::shared().localTimeZoneName()});
    if (changed.empty())
        return {};
    const std::vector<std::string> rewritten = changedUnits(base, target);
    std::erase_if(changed, [&](const std::string& unit) {
        return std::find(rewritten.begin(), rewritten.end(), unit) != rewritten.end();
    });
    LocalWish wish = wishWithoutSeen(agreed, local);
    if (changed.empty())
        return wish;
    Dictionary record = wish.kind == LocalWish::Kind::changed ? std::move(wish.record) : target;
    for (const std::string& unit : changed)
        takeUnit(record, own, unit);
    noteOverwritten(agreed.id, {&base, own, target, record});
    wish.units = changedUnits(target, record);
    wish.kind = wish.units.empty() ? LocalWish::Kind::none : LocalWish::Kind::changed;
    wish.record = std::move(record);
    return wish;
}

// What the session before the rewrite was given, where it had anything to do with that; else what
// was seen. Under agreed keys, with the machine's zone of that time.
std::pair<Dictionary, std::string> Comparison::beforeRewrite(const AgreedRow& agreed,
                                                             const LocalRecord& local,
                                                             const Dictionary& target)
{
    if (const PushedRow* row = _knowledge.pushedRow(agreed.id)) {
        if (auto given = _state.pushedRecord(*row))
            return {_knowledge.underAgreedKeys(std::move(*given)), row->seen.timezone};
        if (row->hash == agreed.hash)
            return {target, row->seen.timezone};
    }
    if (local.seen == nullptr)
        return {};
    return {_knowledge.underAgreedKeys(_state.seenRecord(*local.seen)), local.seen->timezone};
}

Comparison::LocalWish Comparison::wishWithoutSeen(const AgreedRow& agreed, const LocalRecord& local)
{
    LocalWish wish;
    const Dictionary base = _state.agreedRecord(agreed.id);
    wish.record = mergedWithoutBase(_local.underAgreedKeys(local), base);
    wish.units = changedUnits(base, wish.record);
    wish.kind = wish.units.empty() ? LocalWish::Kind::none : LocalWish::Kind::changed;
    return wish;
}

Dictionary Comparison::withWish(const Dictionary& agreed, const LocalWish& wish)
{
    if (wish.kind != LocalWish::Kind::changed)
        return agreed;
    return mergedOntoAgreed(agreed, {wish.record, wish.units}, agreed);
}

// The server does not know the record, and no deletion of it either: somebody put another file in
// the server's place. Nobody deleted it, so it goes up again.
void Comparison::goesUpAgain(const AgreedRow& agreed, const LocalWish& wish)
{
    if (wish.kind == LocalWish::Kind::deleted) {
        remove(agreed);
        return;
    }
    Outcome& outcome = take(agreed.id, withWish(_state.agreedRecord(agreed.id), wish));
    outcome.goesUp = true;
    outcome.comesDown = _local.recordAgreedAs(agreed.id) == nullptr &&
                        _knowledge.seenOfAgreed(agreed.id) != nullptr &&
                        _rules.unread->unread.count(agreed.id) == 0;
}

void Comparison::meetsNothing(const AgreedRow& agreed, const LocalWish& wish)
{
    if (wish.kind == LocalWish::Kind::none)
        return;
    Outcome& outcome = wish.kind == LocalWish::Kind::deleted
                           ? remove(agreed)
                           : take(agreed.id, withWish(_state.agreedRecord(agreed.id), wish));
    outcome.goesUp = true;
}

void Comparison::meetsRefused(const AgreedRow& agreed, const LocalWish& wish)
{
    if (wish.kind == LocalWish::Kind::changed)
        takeHereOnly(agreed.id, withWish(_state.agreedRecord(agreed.id), wish));
    else if (wish.kind == LocalWish::Kind::deleted)
        _deletionsNotMade.push_back(agreed.id);
}

void Comparison::meetsRecord(const AgreedRow& agreed, const LocalWish& wish,
                             const RemoteChange& remote)
{
    // An edit there beats a deletion here, whether the plug-in let the edit through or not; what it
    // did not let through comes again. But a change of this device never goes up without what the
    // server has.
    if (!remote.isTaken && wish.kind != LocalWish::Kind::changed) {
        if (wish.kind == LocalWish::Kind::deleted)
            _deletionsNotMade.push_back(agreed.id);
        return;
    }
    const Dictionary base = _state.agreedRecord(agreed.id);
    if (!_rules.hasBase || agreed.revision == 0) {
        meetsWithoutPast(agreed, withWish(base, wish), remote);
    } else if (wish.kind == LocalWish::Kind::changed) {
        takeMerged(agreed.id, mergedOntoPast(agreed, base, wish, remote), remote);
        noteOverwritten(agreed.id, {&base, withWish(base, wish), remote.record,
                                    _outcomes.at(agreed.id).record});
    } else {
        takeMerged(agreed.id, remote.record, remote);
    }
    Outcome& outcome = _outcomes.at(agreed.id);
    outcome.comesDown = true;
}

// What was deleted there may have left its key to something that was entered since.
Dictionary Comparison::mergedOntoPast(const AgreedRow& agreed, const Dictionary& base,
                                      const LocalWish& wish, const RemoteChange& remote)
{
    return haveOtherOrigins(_state.agreedPast(agreed.id).origin, remote.past.origin)
               ? mergedAsNew(withWish(base, wish), remote.record)
               : mergedOntoAgreed(base, {wish.record, wish.units}, remote.record);
}

// A server that was put back may have what was agreed before, which says nothing new; or something
// else that somebody entered since under the same key.
void Comparison::meetsWithoutPast(const AgreedRow& agreed, const Dictionary& own,
                                  const RemoteChange& remote)
{
    const RecordPast past = _state.agreedPast(agreed.id);
    if (wasFormerly(past.former, remote.server.hash)) {
        takeMerged(agreed.id, own, remote);
        return;
    }
    const bool isAnother = haveOtherOrigins(past.origin, remote.past.origin);
    takeMerged(agreed.id,
               isAnother ? mergedAsNew(own, remote.record) : mergedWithoutBase(own, remote.record),
               remote);
    noteOverwritten(agreed.id, {nullptr, own, remote.record, _outcomes.at(agreed.id).record});
}

void Comparison::meetsTombstone(const AgreedRow& agreed, const LocalWish& wish,
                                const RemoteChange& remote)
{
    if (wish.kind == LocalWish::Kind::changed || agreed.revision == 0) {
        // An edit beats a deletion, also one that this server has never got.
        Outcome& outcome = take(agreed.id, withWish(_state.agreedRecord(agreed.id), wish));
        outcome.goesUp = true;
        return;
    }
    if (remote.isTaken || wish.kind == LocalWish::Kind::deleted)
        remove(agreed).comesDown = true;
}

std::vector<std::string> Comparison::changesSinceSeen(const LocalRecord& local)
{
    return changedUnits({_knowledge.underAgreedKeys(_state.seenRecord(*local.seen)),
                         local.seen->timezone},
                        {_local.underAgreedKeys(local), Platform::shared().localTimeZoneName()});
}

}  // namespace kt
