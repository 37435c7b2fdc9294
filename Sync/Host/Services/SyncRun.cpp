#include "Sync/Host/Services/SyncRun.h"

#include <algorithm>
#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Host/Services/CalendarPreferences.h"
#include "Sync/Host/Services/HomeLayout.h"
#include "Sync/Host/Services/StoreFingerprint.h"

namespace kt {

namespace {

/// Why a rewrite is not settled. The lines that name what is missing stand in the summary.
std::string lineForSettlement(const SyncRunSummary& settling)
{
    switch (settling.settlement) {
    case Settlement::storeChanged:
        return "Die Kalender haben sich während der Synchronisierung geändert; die nächste gleicht "
               "sie noch einmal vollständig ab.";
    case Settlement::unproved:
        return "Nicht alles ist im Kalenderspeicher angekommen; die nächste Synchronisierung "
               "schreibt es noch einmal.";
    case Settlement::notStored:
        return "Der Stand dieses Geräts konnte nicht gespeichert werden; die nächste "
               "Synchronisierung gleicht die Kalender noch einmal vollständig ab.";
    case Settlement::notReached:
        return "Was in die Kalender geschrieben wurde, konnte nicht geprüft werden; die nächste "
               "Synchronisierung gleicht sie noch einmal vollständig ab.";
    case Settlement::settled:
        break;
    }
    return "";
}

}  // namespace

SyncRun::SyncRun(ReferenceHost& host, KTSyncPluginProtocol& plugin, SyncEngine& engine,
                 const RunBackups& backups, std::string home, StopWish& stop)
    : _host(host),
      _plugin(plugin),
      _engine(engine),
      _backups(backups),
      _home(std::move(home)),
      _stop(stop)
{}

SyncRunResult SyncRun::run(const SyncRunWishes& wishes)
{
    SyncRunResult result;
    if (!_plugin.isEnabled()) {
        result.isCompleted = _plugin.doSync();  // it knows how to say so
        result.status = _host.status();
        return result;
    }
    try {
        runOnStore(wishes, result);
    } catch (const Exception& exception) {
        refuse(exception.reason(), result);
    }
    return result;
}

void SyncRun::runOnStore(const SyncRunWishes& wishes, SyncRunResult& result)
{
    if (const auto reason = reasonAgainstLayout())
        return refuse(*reason, result);
    // While a rewrite is not settled, its backup is the last that surely holds a whole store.
    const auto marked = _engine.markedBackup();
    const bool canPutBack = marked && !marked->empty() && !wishes.dryRun;
    const auto obstacle = obstacleInStore(_home, _host.macOSVersion());
    const bool isUnfinished = obstacle && obstacle->kind == StoreObstacle::Kind::nodeFile;
    if (obstacle && !(isUnfinished && canPutBack))
        return refuse(obstacle->reason, result);
    if (obstacle && _host.isBinaryRunning(_plugin.binaryToWatch()))
        return refuse(stringWithFormat("%@ ist noch aktiv", _plugin.binaryToWatchDisplayName()),
                      result);

    _stop.check();
    const std::string made = wishes.dryRun ? "" : backUp(wishes);
    _stop.check();
    if (obstacle) {
        _host.logMsg(obstacle->reason);
        putBack(*marked, result);
        if (const auto next = obstacleInStore(_home, _host.macOSVersion()))
            return refuse(next->reason, result);
    }
    if (wishes.storeIsPutBack)
        _engine.noteStorePutBack(made);
    SyncRunOptions options;
    options.fromServer = wishes.fromServer;
    options.acceptLosses = wishes.acceptLosses;
    options.allowMassDelete = wishes.allowMassDelete;
    options.dryRun = wishes.dryRun;
    options.systemVersion = _host.macOSVersion();
    options.home = _home;
    options.backupName = marked.value_or(made);
    options.switches = CalendarPreferences(_host).switches();
    options.renameSwitch = [this](const std::string& former, const std::string& now) {
        CalendarPreferences(_host).moveSwitch(former, now);
    };
    synchronize(options, result);
    if (couldNotLoad(result) && canPutBack && !result.wasRestored) {
        result = {};
        putBack(*marked, result);
        synchronize(options, result);
    }
    if (!wishes.dryRun)
        _backups.prune(_engine.markedBackup());
}

void SyncRun::refuse(const std::string& reason, SyncRunResult& result)
{
    _host.logMsg(reason);
    result.isCompleted = false;
    result.reasons.push_back(reason);
}

/// What an old store of the other layout lacks would look deleted, and what it still has, added.
/// Where the home itself says that it has another layout now, the engine starts without a past.
std::optional<std::string> SyncRun::reasonAgainstLayout()
{
    const int known = _engine.systemVersion();
    const int wanted = _host.macOSVersion();
    if (known == 0 || known == wanted || wanted == systemVersionOfHome(_home))
        return std::nullopt;
    return stringWithFormat(
        "Dieser Heimordner wurde bisher in der Ablage von Mac OS X 10.%d synchronisiert: bitte "
        "--system-version %d angeben.",
        known, known);
}

void SyncRun::putBack(const std::string& backup, SyncRunResult& result)
{
    _host.logMsg(stringWithFormat("Die Sicherungskopie \"%@\" wird zurückgeholt", backup));
    _engine.noteStorePutBack(backup);
    _backups.restore(backup, storeFiles());
    _storeBefore.clear();
    result.wasRestored = true;
}

std::vector<std::string> SyncRun::storeFiles()
{
    return _plugin.filesToBackup().value_or(std::vector<std::string>{});
}

std::string SyncRun::backUp(const SyncRunWishes& wishes)
{
    const auto copy = _backups.make(storeFiles(), [this] { _stop.check(); });
    if (!copy)
        return "";
    _storeBefore = copy->fingerprint;
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
    _host.beginRun([files = storeFiles()] { return fingerprintOfFiles(files); }, _storeBefore,
                   &_stop);
    _engine.beginRun(options);
    {
        const StopWish::Listener listener(_stop, _plugin);
        result.isCompleted = _plugin.doSync();
    }
    // At once: whatever changes the store from here on must be noticed.
    const std::string fingerprint =
        _host.course().hasTakenState ? fingerprintOfFiles(storeFiles()) : "";
    result.summary = _engine.endRun(result.isCompleted);
    result.status = _host.status();
    result.course = _host.course();
    result.reasons = result.summary.reasons;
    if (!result.course.refusal.empty())
        result.reasons.push_back(result.course.refusal);
    if (result.summary.needsSettling)
        settle(options, fingerprint, result);
    CalendarPreferences preferences(_host);
    preferences.moveSwitchesOff(result.summary.renamedCalendars, options.switches);
    preferences.movePublished(result.summary.renamedCalendars);
}

void SyncRun::settle(SyncRunOptions options, const std::string& notedFingerprint,
                     SyncRunResult& result)
{
    options.fromServer = false;
    options.acceptLosses = false;
    options.dryRun = false;
    options.settling =
        SettlingCheck{notedFingerprint, [this] { return fingerprintOfFiles(storeFiles()); },
                      result.summary.losses, result.summary.overwritten};
    SyncRunSummary settling;
    {
        const PluginHost::Silence silence(_host);
        _engine.beginRun(options);
        settling = _engine.endRun(_plugin.doSync());
    }
    result.summary.settled = settling.settled;
    result.summary.settlement = settling.settlement;
    result.summary.unproved = settling.unproved;
    result.summary.renamedCalendars = settling.renamedCalendars;
    if (settling.settled)
        return;
    result.reasons.push_back(lineForSettlement(settling));
    for (const std::string& reason : settling.reasons)
        result.reasons.push_back(reason);
    for (const std::string& missing : settling.unproved)
        _host.logMsg("Nicht im Kalenderspeicher angekommen: " + missing);
}

/// It ended before there was a session, and neither because of a running program nor because
/// somebody wished it to stop: an old backup over a store that can be read would cost what was
/// edited since.
bool SyncRun::couldNotLoad(const SyncRunResult& result) const
{
    return !result.isCompleted && !result.course.hasStarted && !result.course.foundProgramRunning &&
           !_stop.isThere();
}

}  // namespace kt
