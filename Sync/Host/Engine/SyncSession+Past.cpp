// A server that was brought back from an older copy.

#include <map>

#include "Sync/Host/Engine/ServerPast.h"
#include "Sync/Host/Engine/SyncSession.h"

namespace kt {

// Whether something would be written over what this device does not know. What the server has told
// of is known.
bool SyncSession::isWrittenOverUnseen()
{
    std::vector<RecordId> ids;
    for (const auto& [id, outcome] : _outcomes) {
        if (outcome.goesUp && _remote.change(id) == nullptr && _knowledge->agreedRow(id) != nullptr)
            ids.push_back(id);
    }
    for (const ServerRecord& record : _server->records(ids)) {
        if (contradictsPast(record, *_knowledge->agreedRow(record.id), *_knowledge))
            return true;
    }
    return false;
}

// Nothing that was agreed says anything about this server any more. What the plug-in let through
// stays let through; the rest comes with the full comparison that is owed then.
void SyncSession::compareWithoutPast()
{
    std::map<RecordId, std::int64_t> taken;
    for (const auto& [id, change] : _remote.changes()) {
        if (change.isTaken)
            taken.emplace(id, change.server.revision);
    }
    _hasBase = false;
    _isPastLost = true;
    _offered.clear();
    readRemote(RemoteChanges::Reach::byHash);
    for (const auto& [id, revision] : taken) {
        RemoteChange* change = _remote.change(id);
        if (change != nullptr && change->server.revision == revision)
            change->isTaken = true;
    }
    tellOfOlderServer();
    compare();
}

void SyncSession::tellOfOlderServer()
{
    const std::string line =
        "Der Server hat einen älteren Stand als dieses Gerät schon kannte; es wird alles "
        "verglichen, nichts gilt als gelöscht.";
    _setting.summary.notices.push_back(line);
    _setting.log(line);
}

}  // namespace kt
