#include "Sync/Host/Services/SyncRun.h"

#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Host/Services/HomeLayout.h"
#include "Sync/Host/Services/StoreFingerprint.h"

namespace kt {

SyncRun::SyncRun(ReferenceHost& host, KTSyncPluginProtocol& plugin, SyncEngine& engine,
                 const StoreBackups& backups, std::string home)
    : _host(host),
      _plugin(plugin),
      _engine(engine),
      _backups(backups),
      _home(std::move(home))
{}

SyncRunResult SyncRun::run(const SyncRunWishes& wishes)
{
    SyncRunResult result;
    if (!_plugin.isEnabled()) {
        result.isCompleted = _plugin.doSync();  // it knows how to say so
        result.status = _host.status();
        return result;
    }
    if (auto reason = reasonNotToTouchStore(_home, _host.macOSVersion())) {
        _host.logMsg(*reason);
        result.reasons.push_back(std::move(*reason));
        return result;
    }
    try {
        SyncRunOptions options;
        options.fromServer = wishes.fromServer;
        options.acceptLosses = wishes.acceptLosses;
        options.allowMassDelete = wishes.allowMassDelete;
        options.dryRun = wishes.dryRun;
        // While a rewrite is not settled, its backup is the last that surely holds a whole store.
        const auto marked = _engine.markedBackup();
        const std::string made = wishes.dryRun ? "" : backUp(wishes);
        options.backupName = marked.value_or(made);
        synchronize(options, result);

        if (couldNotLoad(result) && marked && !marked->empty() && !wishes.dryRun) {
            _host.logMsg(stringWithFormat("Die Sicherungskopie \"%@\" wird zurückgeholt", *marked));
            _backups.restore(*marked, storeFiles());
            result = {};
            synchronize(options, result);
            result.wasRestored = true;
        }
        if (!wishes.dryRun)
            _backups.prune(_engine.markedBackup());
    } catch (const Exception& exception) {
        _host.logMsg(exception.reason());
        result.isCompleted = false;
        result.reasons.push_back(exception.reason());
    }
    return result;
}

std::vector<std::string> SyncRun::storeFiles()
{
    return _plugin.filesToBackup().value_or(std::vector<std::string>{});
}

std::string SyncRun::backUp(const SyncRunWishes& wishes)
{
    const auto copy = _backups.make(storeFiles());
    if (!copy)
        return "";
    for (const std::string& path : copy->unreadable)
        _host.logMsg(stringWithFormat("Nicht gesichert, da nicht lesbar: \"%@\"", path));
    if (wishes.acceptLosses && !copy->unreadable.empty())
        throw Exception(NSGenericException,
                        stringWithFormat("\"%@\" kann nicht gelesen und deshalb auch nicht "
                                         "gesichert werden.",
                                         copy->unreadable.front()));
    return copy->name;
}

void SyncRun::synchronize(const SyncRunOptions& options, SyncRunResult& result)
{
    _host.beginRun();
    _engine.beginRun(options);
    result.isCompleted = _plugin.doSync();
    // At once: whatever changes the store from here on must be noticed.
    const std::string fingerprint =
        _host.course().hasTakenState ? fingerprintOfFiles(storeFiles()) : "";
    result.summary = _engine.endRun(result.isCompleted);
    result.status = _host.status();
    result.course = _host.course();
    result.reasons = result.summary.reasons;
    if (result.summary.needsSettling)
        settle(options, fingerprint, result);
}

void SyncRun::settle(SyncRunOptions options, const std::string& notedFingerprint,
                     SyncRunResult& result)
{
    options.fromServer = false;
    options.dryRun = false;
    options.settling =
        SettlingCheck{notedFingerprint, [this] { return fingerprintOfFiles(storeFiles()); }};
    const PluginHost::Silence silence(_host);
    _engine.beginRun(options);
    result.summary.settled = _engine.endRun(_plugin.doSync()).settled;
    if (!result.summary.settled)
        result.reasons.emplace_back(
            "Die Kalender haben sich während der Synchronisierung geändert; die nächste gleicht "
            "sie noch einmal vollständig ab.");
}

/// It ended before there was a session, and neither because of a running program nor because
/// somebody cancelled: an old backup over a store that can be read would cost what was edited
/// since.
bool SyncRun::couldNotLoad(const SyncRunResult& result) const
{
    constexpr std::string_view kCancelledStatus = "Die Synchronisierung wurde abgebrochen!";
    return !result.isCompleted && !result.course.hasStarted && !result.course.foundProgramRunning &&
           result.status != kCancelledStatus;
}

}  // namespace kt
