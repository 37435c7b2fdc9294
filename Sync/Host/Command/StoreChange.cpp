#include "Sync/Host/Command/StoreChange.h"

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"

namespace kt {

StoreChange::StoreChange(Workplace& workplace)
    : _host(workplace.services(workplace.preferences())),
      _plugin(workplace.loadPlugin(_host)),
      _files((*_plugin)->filesToBackup().value_or(std::vector<std::string>{}))
{}

void StoreChange::refuseWhileProgramRuns()
{
    KTSyncPluginProtocol& plugin = **_plugin;
    // Looking is never kept out, changing is.
    if (_host.PluginHost::isBinaryRunning(plugin.binaryToWatch()))
        throw Exception(NSGenericException,
                        stringWithFormat("%@ ist noch aktiv", plugin.binaryToWatchDisplayName()));
}

}  // namespace kt
