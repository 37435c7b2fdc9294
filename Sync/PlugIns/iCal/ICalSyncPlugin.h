#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTSyncPluginProtocol.h"
#include "Sync/HostInterface/KTSyncServicesHook.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"

namespace kt {

/// The plug-in's principal class: the one object that the host talks to. Every host service goes
/// through the helper that it was made with. Starts no thread and takes no lock; cancelSync and the
/// watch callbacks may arrive on another thread while doSync runs, and only set flags.
class ICalSyncPlugin : public KTSyncPluginProtocol {
public:
    static constexpr std::string_view className = "ICalSyncPlugin";

    // Keys in the host's preferences.
    static constexpr std::string_view kActivatePreference = "ICAL_SYNC_PLUGIN_ACTIVATE";
    static constexpr std::string_view kFullSyncPreference = "ICAL_SYNC_PLUGIN_FULL_SYNC";
    /// Calendar record key to 1 (takes part) or 0 (switched off).
    static constexpr std::string_view kSyncedPreference = "ICAL_SYNC_PLUGIN_SYNCED_PLUGINS";
    /// Calendar record key to publishing options: "Public", "PublishEvents", "PublishTasks" and
    /// "Anonymize", each 0 or 1.
    static constexpr std::string_view kPublishedPreference = "ICAL_SYNC_PLUGIN_PUBLISHED_CALENDARS";

    /// initWithKTSyncPluginHelper: the helper must not be null and outlives the plug-in. Resources
    /// are looked for in the bundle at `bundlePath`; without one there are none.
    explicit ICalSyncPlugin(KTSyncPluginHelper* pluginHelper, std::string bundlePath = {});
    ~ICalSyncPlugin() override;
    ICalSyncPlugin(const ICalSyncPlugin&) = delete;
    ICalSyncPlugin& operator=(const ICalSyncPlugin&) = delete;

    // Identity and settings.
    bool isEnabled() override;
    void enable() override;
    void disable() override;
    bool needsLocalState() override { return true; }
    int minimumRequiredOSVersion() override { return 4; }
    std::string name() override { return "ICalSyncPlugin"; }
    std::string displayName() override { return "iCal-Kalender"; }
    std::string shortDisplayName() override { return "iCal"; }
    std::vector<std::string> syncConduits() override;
    View* configView() override { return _outlets.configView; }
    /// Kept once loaded; null while there is no icon file.
    std::shared_ptr<Image> menuIcon() override;
    bool showInSyncPluginsList() override;
    std::optional<std::vector<std::string>> filesToBackup() override;
    std::string describeRecord(const KTSyncRecord& record) override;
    bool resetSync() override;
    bool cancelSync() override;

    /// The store's calendars in its own order; empty, after a log line, when it cannot be read.
    std::vector<std::shared_ptr<KTSyncCalendar>> calendarsList();
    /// Takes over what the preferences hold, adds what is new in `_localCalendarsList`, and stores
    /// the result. Entries of calendars that are gone stay.
    void updateActivatedCalendars();

    // iCal and its files.
    std::optional<std::vector<std::string>> filesToWatch() override;
    void watchedFileChanged(const std::string& path) override;
    std::string binaryToWatch() override { return "iCal"; }
    std::string binaryToWatchDisplayName() override { return "iCal"; }
    bool canSyncWithRunningBinary() override { return false; }
    void watchedBinaryDidLaunch() override;
    void watchedBinaryDidTerminate() override;
    bool terminateApplication() override;
    bool launchApplication() override;
    bool activate() override { return true; }
    bool deactivate() override { return true; }
    bool removePermanently() override { return true; }

    /// One whole run. Progress and outcome go to the host's status line and log. False after a
    /// refusal, a failure, a cancel or an Exception; a foreign object passes after the clean-up.
    bool doSync() override;

protected:
    /// What the configuration view is made of; all null without one.
    struct Outlets {
        View* configView = nullptr;
        View* syncedCalendarsList = nullptr;
        View* syncCalendarsStatusLabel = nullptr;
        View* sharingTabView = nullptr;
        View* activatePublicSharingButton = nullptr;
        View* publishEventsCheckbox = nullptr;
        View* publishTasksCheckbox = nullptr;
        View* anonymizeAllCheckbox = nullptr;
        View* showPublicCalendarsInBrowserButton = nullptr;
        View* publicSharingProgress = nullptr;
        View* publicSharingStatusLabel = nullptr;
    };

    KTSyncPluginHelper* _pluginHelper;  // not owned
    std::shared_ptr<KTSyncServicesHook> _syncServicesHook;
    std::shared_ptr<Image> _menuIcon;
    std::atomic<bool> _resetSync = false;        // the next run is a full one
    std::atomic<bool> _cancelSync = false;       // the run is to stop at its next check
    std::atomic<bool> _isSynchronizing = false;  // for the whole run
    std::atomic<bool> _isICalDidEndNotificationDisabled = false;  // while the run needs iCal closed
    std::vector<std::shared_ptr<KTSyncCalendar>> _localCalendarsList;  // shown in the view
    Dictionary _activatedCalendars;                                    // record key to 0 or 1
    Dictionary _publicCalendars;  // record key to publishing options
    Outlets _outlets;

private:
    class SyncRun;

    void triggerSyncUnlessRunning();

    std::string _bundlePath;
};

}  // namespace kt
