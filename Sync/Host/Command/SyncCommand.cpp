#include <utility>

#include <nlohmann/json.hpp>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Host/Command/CancelOnSignal.h"
#include "Sync/Host/Command/Commands.h"
#include "Sync/Host/Command/SyncReport.h"
#include "Sync/Host/Command/Workplace.h"
#include "Sync/Host/Engine/LocalState.h"
#include "Sync/Host/Server/SyncServer.h"
#include "Sync/Host/Services/HomeLayout.h"
#include "Sync/Host/Services/PluginPreferences.h"
#include "Sync/Host/Services/StoreBackups.h"
#include "Sync/Host/Services/SuiteFolder.h"

namespace kt {

namespace {

constexpr std::string_view kPatience =
    "Die Synchronisierung hört auf, sobald nichts halb getan ist; das braucht noch einen Moment. "
    "Ein weiteres Strg-C beendet das Programm auf der Stelle.";

/// A held run did only half of what was asked for, and a rewrite that is not settled may have, so
/// whoever started it has to look.
ExitCode exitCodeFor(const SyncRunResult& result)
{
    return result.isCompleted && !result.summary.held && !isUnsettled(result) ? ExitCode::done
                                                                              : ExitCode::failed;
}

/// The first sync on a home switches the plug-in on; whoever switched it off is not overruled.
bool switchOnAtFirst(Preferences& preferences, KTSyncPluginProtocol& plugin)
{
    if (preferences.contains(kActivatePreference))
        return false;
    plugin.enable();
    return true;
}

/// A dry run's records in the plug-in's own words.
void describeStaged(SyncReport& report, KTSyncPluginProtocol& plugin)
{
    for (const StagedRecord& staged : report.result.summary.staged) {
        std::string line = plugin.describeRecord(*staged.record);
        if (staged.record->recordType() == kRecordTypeTombstone)
            line = "Gelöscht: " + line;
        if (staged.goesUp)
            report.goingUp.push_back(line);
        if (staged.comesDown)
            report.comingDown.push_back(line);
    }
}

void print(const SyncReport& report, const CommandLine& line)
{
    printResult(line.json ? jsonText(jsonForReport(report)) + "\n" : textForReport(report));
}

void finish(SyncReport& report, const CommandLine& line, Workplace& workplace)
{
    workplace.statusLine().setStatus(statusOfRun(report));
    workplace.statusLine().clear();
    print(report, line);
}

/// Where no run has been, none was interrupted either: a store that nobody may touch is reason
/// enough not to begin anything in that home.
std::optional<SyncReport> refusalOfFirstRun(const CommandLine& line, const Place& place)
{
    const FileManager& files = FileManager::defaultManager();
    if (!files.isDirectory(place.home) ||
        files.linkStatusAtPath(SuiteFolder(place.home).localStatePath()))
        return std::nullopt;
    const auto obstacle = obstacleInStore(place.home, place.systemVersion);
    if (!obstacle)
        return std::nullopt;
    SyncReport report;
    report.wishes = line.wishes;
    report.device = place.device;
    report.server = syncServerWithURL(place.serverURL)->description();
    report.result.reasons.push_back(obstacle->reason);
    return report;
}

}  // namespace

ExitCode syncCommand(const CommandLine& line, const Place& place)
{
    if (const auto refusal = refusalOfFirstRun(line, place)) {
        print(*refusal, line);
        return ExitCode::failed;
    }
    const bool isDry = line.wishes.dryRun;
    Workplace workplace(place, line, isDry ? Workplace::Access::look : Workplace::Access::change);
    LocalState state(workplace.suite().localStatePath(),
                     isDry ? StateAccess::readOnly : StateAccess::readWrite);
    const auto server = syncServerWithURL(place.serverURL);
    // Until the report is out: whoever stops a run wants to read how it ended.
    StopWish stop;
    const CancelOnSignal cancel(stop, workplace.statusLine().loneLine(kPatience));
    ReferenceHost* hostForLog = nullptr;
    SyncEngine engine(state, *server, workplace.reports(),
                      [&](std::string_view message) { hostForLog->logMsg(message); });
    ReferenceHost host(workplace.services(workplace.preferences()), engine);
    hostForLog = &host;
    const auto plugin = workplace.loadPlugin(host);

    SyncReport report;
    report.wishes = line.wishes;
    report.device = place.device;
    report.server = server->description();
    report.wasSwitchedOn = switchOnAtFirst(workplace.preferences(), **plugin);
    host.logMsg(stringWithFormat("Gerät '%@', Server %@", report.device, report.server));
    if (line.fullSync)
        workplace.preferences().set(kFullSyncPreference, true);

    const StoreBackups backups(workplace.suite().backupsPath());
    report.result = SyncRun(host, **plugin, engine, backups, place.home, stop).run(line.wishes);
    describeStaged(report, **plugin);
    finish(report, line, workplace);
    return exitCodeFor(report.result);
}

}  // namespace kt
