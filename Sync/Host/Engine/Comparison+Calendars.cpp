#include "Sync/Host/Engine/Comparison.h"
#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

// An edit beats a deletion, for calendars too: an item that either side added or changed needs its
// calendar. If the other side deleted that, it comes back as it last was.
void Comparison::bringCalendarsBack()
{
    for (const std::string& calendarKey : calendarsWithLiveChanges())
        bringBack(calendarKey);
}

std::unordered_set<std::string> Comparison::calendarsWithLiveChanges() const
{
    std::unordered_set<std::string> calendars;
    for (const auto& [id, outcome] : _outcomes) {
        if (id.conduit != kConduitCalendar && outcome.kind == Outcome::Kind::take &&
            outcome.parentKey)
            calendars.insert(*outcome.parentKey);
    }
    // What the plug-in did not let through, because its calendar is gone here, is an edit none the
    // less.
    for (const auto& [id, remote] : _remote.changes()) {
        const bool isLive = !remote.server.isTombstone && !remote.isRefused;
        if (id.conduit != kConduitCalendar && isLive && remote.server.parentKey)
            calendars.insert(*remote.server.parentKey);
    }
    // It stays there with the others, as long as nothing can be said of where it is here.
    for (const RecordId& id : _rules.unread->moved) {
        const AgreedRow* agreed = _knowledge.agreedRow(id);
        if (agreed != nullptr && agreed->parentKey)
            calendars.insert(*agreed->parentKey);
    }
    return calendars;
}

void Comparison::bringBack(const std::string& calendarKey)
{
    const RecordId id{std::string(kConduitCalendar), calendarKey};
    const RemoteChange* remote = _remote.change(id);
    const bool isDeletedThere = remote != nullptr && remote->server.isTombstone;
    const auto found = _outcomes.find(id);
    if (found != _outcomes.end()) {
        Outcome& outcome = found->second;
        if (outcome.kind == Outcome::Kind::take)
            return;
        if (!isDeletedThere && _remote.revisionOf(*_knowledge.agreedRow(id)) != 0 &&
            !_remote.isMissingOnServer(id)) {
            // Deleted here only: it stays agreed, and a rewrite brings it back.
            _outcomes.erase(found);
            _deletionsNotMade.push_back(id);
            return;
        }
        RecordContent last = std::move(outcome.record);
        take(id, std::move(last)).goesUp = true;
        _outcomes.at(id).comesDown = _local.recordAgreedAs(id) == nullptr;
        return;
    }
    if (_knowledge.agreedRow(id) != nullptr) {
        // Deleted there, and the plug-in or this run did not take that. If an item of it goes up,
        // so does it.
        if (isDeletedThere)
            take(id, _state.agreedRecord(id)).goesUp = true;
        return;
    }
    for (const ServerRecord& record : _server.records({&id, 1})) {
        if (!record.isTombstone)
            continue;
        StoredRecord last = storedRecord(record.content);
        if (!isAcceptableRecord(last.record, id.key, id.conduit))
            continue;
        Outcome& outcome = take(id, std::move(last.record));
        outcome.past = std::move(last.past);
        outcome.goesUp = true;
        outcome.comesDown = true;
    }
}

}  // namespace kt
