#include "Sync/PlugIns/iCal/Calendar/StoreLayout.h"
#include "Sync/PlugIns/iCal/ICalSyncPlugin.h"

namespace kt {

namespace {

// iCal saves its open changes before it quits.
constexpr std::string_view kQuitScript = "tell application \"iCal\"\nquit saving yes\nend tell\n";
constexpr std::string_view kLaunchScript = "tell application \"iCal\"\nlaunch\nend tell\n";

}  // namespace

std::optional<std::vector<std::string>> ICalSyncPlugin::filesToWatch()
{
    const auto layout = StoreLayout::ofHost(_pluginHelper);
    return layout ? std::optional(layout->filesToWatch()) : std::nullopt;
}

void ICalSyncPlugin::watchedFileChanged(const std::string&)
{
    _pluginHelper->logMsg("Die iCal-Kalender wurden aktualisiert");
    cancelSync();
    triggerSyncUnlessRunning();
}

void ICalSyncPlugin::watchedBinaryDidLaunch()
{
    _pluginHelper->logMsg("iCal wurde gestartet");
    _cancelSync = true;
}

void ICalSyncPlugin::watchedBinaryDidTerminate()
{
    _pluginHelper->logMsg("iCal wurde beendet");
    if (_isICalDidEndNotificationDisabled)
        return;
    cancelSync();
    triggerSyncUnlessRunning();
}

void ICalSyncPlugin::triggerSyncUnlessRunning()
{
    if (_pluginHelper->isAutomaticSyncActivated() && !_isSynchronizing)
        _pluginHelper->triggerExternalSync();
}

bool ICalSyncPlugin::terminateApplication()
{
    if (!_pluginHelper->isBinaryRunning(binaryToWatch()))
        return true;
    return _pluginHelper->runAppleScript(kQuitScript);
}

bool ICalSyncPlugin::launchApplication() { return _pluginHelper->runAppleScript(kLaunchScript); }

}  // namespace kt
