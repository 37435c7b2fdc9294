// One run of a home as the program makes it, with the host's optional class of identities or
// without it, and a settling run where one is due: what knowing each text by itself costs.
//
//   sync_once PLUGIN_BUNDLE HOME SERVER with|without

#include <cstdlib>
#include <iostream>
#include <string>

#include <unistd.h>

#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Services/HostClasses.h"
#include "Sync/Host/Services/PluginLoader.h"
#include "Sync/Host/Services/ReferenceHost.h"
#include "Sync/Host/Services/StoreBackups.h"
#include "Sync/Host/Services/SuiteFolder.h"
#include "Sync/Host/Services/SyncRun.h"
#include "Sync/HostInterface/KTIdentityReport.h"

namespace kt::bench {
namespace {

constexpr int kSystemVersion = 5;

bool run(const std::string& bundle, const std::string& home, const std::string& serverURL,
         bool knowsIdentities)
{
    Platform::shared().setHomeDirectory(home);
    const SuiteFolder suite(home);
    suite.create();
    HostClasses classes(serverURL, keysByState(suite.localStatePath()));
    KTClassTable table = classes.table();
    if (!knowsIdentities)
        table.setClass(KTIdentityReport::className, nullptr);
    StatusLine statusLine(STDERR_FILENO, StatusLine::Detail::warnings);
    HostLog log(suite.logPath(), statusLine);
    HostFileLogger fileLogger(suite.fileLogPath(), statusLine);
    Processes processes;
    Preferences preferences(suite.preferencesPath(), Preferences::Storage::file);
    LocalState state(suite.localStatePath());
    const auto server = syncServerWithURL(serverURL);
    SyncEngine engine(state, *server, classes.reports(), {});
    ReferenceHost host({preferences, log, fileLogger, statusLine, processes, CalendarProgram{},
                        kSystemVersion},
                       engine);
    const auto plugin = PluginLoader::load(bundle, table, host);
    if (!(*plugin)->isEnabled())
        (*plugin)->enable();
    const StoreBackups backups(suite.backupsPath());
    StopWish stop;
    return SyncRun(host, **plugin, engine, backups, home, stop).run({}).isCompleted;
}

}  // namespace
}  // namespace kt::bench

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 5) {
        std::cerr << "sync_once PLUGIN_BUNDLE HOME SERVER with|without\n";
        return 2;
    }
    const bool isDone = kt::bench::run(arguments[1], arguments[2], arguments[3],
                                       std::string(arguments[4]) == "with");
    return isDone ? EXIT_SUCCESS : EXIT_FAILURE;
}
