// A push that the server took and the state could not be told of.

#include <unordered_map>
#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/SyncSession.h"

namespace kt {

namespace {

std::string originOf(const ServerRecord& record)
{
    try {
        return storedRecord(record.content).past.origin;
    } catch (const Exception&) {
        return "";
    }
}

}  // namespace

// What the server has just as it was pushed is agreed, and the store's record of that time was
// seen: edits since then are edits of it. What was entered by that push and has been edited by
// others since is the same record, too (Comparison::compareNew). Takes effect with the session.
// Beside a mark the state was told, and the rows say what the store gave before the rewrite.
void SyncSession::takeUnansweredPush()
{
    LocalState& state = _setting.state;
    const std::vector<PushedRow> pushed = state.pushedRows();
    if (pushed.empty() || isSettling() || state.facts().mark)
        return;
    std::vector<RecordId> ids;
    for (const PushedRow& row : pushed)
        ids.push_back({row.seen.local.conduit, *row.seen.agreedKey});
    std::unordered_map<RecordId, SeenRow, RecordIdHash> before;
    for (const SeenRow& row : state.seenRows()) {
        if (row.agreedKey)
            before.emplace(RecordId{row.local.conduit, *row.agreedKey}, row);
    }
    std::unordered_map<RecordId, ServerRecord, RecordIdHash> onServer;
    for (ServerRecord& record : _server->records(ids)) {
        RecordId id = record.id;
        onServer.emplace(std::move(id), std::move(record));
    }
    std::vector<PushedRow> enteredByIt;
    for (std::size_t index = 0; index < pushed.size(); ++index) {
        const auto found = onServer.find(ids[index]);
        if (found == onServer.end() || found->second.isTombstone)
            continue;
        if (found->second.hash == pushed[index].hash)
            takeAsAgreed(pushed[index], found->second, before);
        else if (before.count(ids[index]) == 0 && originOf(found->second) == pushed[index].hash)
            enteredByIt.push_back(pushed[index]);
    }
    state.clearPushed();
    for (const PushedRow& row : enteredByIt)
        state.setPushed(row, std::nullopt);
}

void SyncSession::takeAsAgreed(const PushedRow& pushed, const ServerRecord& record,
                               const std::unordered_map<RecordId, SeenRow, RecordIdHash>& before)
{
    LocalState& state = _setting.state;
    const auto [content, past] = storedRecord(record.content);
    const Dictionary local = state.pushedRecord(pushed).value_or(content);
    state.setAgreed({record.id, record.parentKey, record.revision, record.hash}, content, past);
    SeenRow seen = pushed.seen;
    const auto row = before.find(record.id);
    if (row == before.end())
        return state.addSeen(seen, local);
    seen.row = row->second.row;
    state.setSeen(seen, local);
}

// Before the server is told, in a transaction of its own: whatever fails from here on, the next run
// can find out what became of it. Where the store is rewritten it is also what an edit of the time
// before the rewrite is settled differs from.
void SyncSession::notePush(const std::vector<const Outcome*>& effective)
{
    LocalState& state = _setting.state;
    if (!_facts.hasMark)
        state.clearPushed();
    const std::string timezone = Platform::shared().localTimeZoneName();
    bool hasAny = false;
    for (const Outcome* outcome : effective) {
        const LocalRecord* local = _local ? _local->recordAgreedAs(outcome->id) : nullptr;
        const bool isAsked = outcome->goesUp || isRewriteExpected(_result);
        if (!isAsked || outcome->kind != Outcome::Kind::take || local == nullptr)
            continue;
        PushedRow row;
        row.hash = outcome->hash;
        row.seen.local = {local->record->conduit(), local->record->recordKey()};
        row.seen.agreedKey = outcome->id.key;
        row.seen.localParentKey = local->record->recordParentKey();
        row.seen.hash = local->hash;
        row.seen.timezone = timezone;
        row.seen.place = local->place;
        state.setPushed(row, row.hash == local->hash ? std::nullopt
                                                     : std::optional(local->record->record()));
        hasAny = hasAny || outcome->goesUp;
    }
    if (!hasAny)
        return;
    state.commit();
    if (!state.begin())
        throw Exception(NSGenericException,
                        "Ein anderer Abgleich dieses Geräts ist noch nicht beendet");
}

}  // namespace kt
