#include "tests/Sync/Host/Engine/SimulatedHome.h"

#include <utility>

#include "Sync/Host/Server/SyncServer.h"

namespace kt::test {

SimulatedHome::SimulatedHome(std::string statePath, std::string serverUrl)
    : _statePath(std::move(statePath)),
      _serverUrl(std::move(serverUrl))
{}

SyncRunSummary SimulatedHome::sync()
{
    LocalState state(_statePath);
    const auto server = syncServerWithURL(_serverUrl);
    SyncEngine engine(state, *server, _reports, {});
    SyncRunOptions options;
    options.backupName = "2007-12-24";
    options.home = "/home";
    engine.beginRun(options);
    SyncRunSummary summary = engine.endRun(doSync(engine));
    if (!summary.needsSettling)
        return summary;
    options.settling = SettlingCheck{store.fingerprint(), [&] { return store.fingerprint(); },
                                     summary.losses, summary.overwritten};
    engine.beginRun(options);
    summary.settled = engine.endRun(doSync(engine)).settled;
    return summary;
}

/// The very record that an earlier load gave for what stands there as it stood: the plug-in reads
/// no file again that stands as it stood.
SyncRecord SimulatedHome::asBefore(const SyncRecord& record, const std::string& place)
{
    SyncRecord& before = _given[place];
    const bool isSame = before && record && before->record() == record->record() &&
                        before->recordKey() == record->recordKey() &&
                        before->recordParentKey() == record->recordParentKey();
    if (!isSame)
        before = record;
    return before;
}

SyncRecordList SimulatedHome::load()
{
    SyncRecordList records;
    for (const auto& loaded : store.load()) {
        records.push_back(loaded.calendar);
        _reports.identities.reportIdentity(loaded.calendar,
                                           {"", "", loaded.text->sourceKey,
                                            SimulatedStore::folderOf(*loaded.text)});
        for (std::size_t index = 0; index < loaded.items.size(); ++index) {
            const HomeItem& text = *loaded.itemTexts[index];
            const std::string file = SimulatedStore::fileOf(*loaded.text, text);
            records.push_back(asBefore(loaded.items[index], file));
            _reports.identities.reportIdentity(records.back(), {text.uid, "", "", file});
        }
    }
    return records;
}

bool SimulatedHome::doSync(SyncEngine& engine)
{
    const SyncRecordList local = load();
    const int startResult = engine.startSync(5);
    if (startResult == 0 || startResult == 7)
        return false;
    const auto result = engine.diffLocalStateWithLocalUpdates(local, engine.pullRecords(), 7);
    const bool isPushed = result && engine.pushSyncResult(*result);
    if (!engine.finishSync() || !isPushed)
        return false;
    if (startResult <= 2)
        return true;
    const auto state = engine.getLocalState();
    if (state)
        store.rewrite(*state);
    return state.has_value();
}

}  // namespace kt::test
