#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTSyncConnection.h"
#include "Sync/HostInterface/KTSyncPluginProtocol.h"
#include "Sync/HostInterface/KTSyncServicesHook.h"
#include "Sync/HostInterface/Nib.h"
#include "Sync/HostInterface/TableView.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/LoadedStore.h"
#include "Sync/PlugIns/iCal/ConfigViewOutlets.h"

namespace kt {

/// The plug-in's principal class: the one object that the host talks to. Every host service goes
/// through the helper that it was made with. Starts no thread and takes no lock; cancelSync and the
/// watch callbacks may arrive on another thread while doSync runs, and only set flags.
class ICalSyncPlugin : public KTSyncPluginProtocol,
                       public NibOwner,
                       public TableViewDataSource,
                       public TableViewDelegate {
public:
    static constexpr std::string_view className = "ICalSyncPlugin";

    // Keys in the host's preferences.
    static constexpr std::string_view kActivatePreference = "ICAL_SYNC_PLUGIN_ACTIVATE";
    static constexpr std::string_view kFullSyncPreference = "ICAL_SYNC_PLUGIN_FULL_SYNC";
    /// Calendar record key to 1 (takes part) or 0 (switched off).
    static constexpr std::string_view kSyncedPreference = "ICAL_SYNC_PLUGIN_SYNCED_PLUGINS";
    /// Calendar record key to publishing options, see PublishingOptions.h.
    static constexpr std::string_view kPublishedPreference = "ICAL_SYNC_PLUGIN_PUBLISHED_CALENDARS";

    /// initWithKTSyncPluginHelper: the helper must not be null and outlives the plug-in. Resources
    /// are looked for in the bundle at `bundlePath`; without one there are none. Loads the
    /// configuration view where the host can; elsewhere there is no view and all else works.
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

    // The configuration view. On the interface thread alone, and not while doSync runs.
    /// Reads the store and the settings anew each time. Null without a view.
    View* configView() override;
    /// The sharing controls follow what is stored for the selected calendar; without one, or with
    /// one that cannot be published, they stay as they are.
    void updateUI();
    bool setOutlet(std::string_view name, View* view) override { return _outlets.set(name, view); }
    std::function<void(View* sender)> actionNamed(std::string_view selector) override;

    // Actions of the sharing tab; the first two are for the selected calendar and do nothing
    // without one. They wait for the publishing service, whose failures show in the system log only
    // and change nothing.
    /// Publishes the calendar, or takes it back.
    void activatePublicSharing(View* sender);
    /// Stores what the check boxes show.
    void changePublishOptionCheckbox(View* sender);
    /// Does nothing on a host without a public site.
    void showPublicCalendarsInBrowser(View* sender);

    // The table of calendars: column "calendarActive" holds check boxes and can be edited, any
    // other one titles.
    int numberOfRowsInTableView(TableView* tableView) override;
    /// An Exception becomes an empty cell.
    Value tableViewObjectValueForTableColumn(TableView* tableView, const TableColumn& tableColumn,
                                             int row) override;
    /// Makes the next sync a full one. An Exception becomes a line in the system log.
    void tableViewSetObjectValue(TableView* tableView, const Value& objectValue,
                                 const TableColumn& tableColumn, int row) override;
    /// The calendar's record key.
    std::optional<std::string> tableViewIdentityOfRow(TableView* tableView, int row) override;
    std::optional<std::string> tableViewColorForRow(TableView* tableView, int row) override;
    /// Asks the publishing service how it stands with the calendar selected now.
    void tableViewSelectionDidChange() override;

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
    ConfigViewOutlets _outlets;

private:
    class SyncSteps;

    bool runGuarded();
    void cleanUp();
    void triggerSyncUnlessRunning();

    /// Throws Exception for a calendar without a title.
    static std::string recordKeyOf(const KTSyncCalendar& calendar);
    /// Throws Exception for a row that is not there.
    const std::shared_ptr<KTSyncCalendar>& calendarInRow(int row) const;
    /// Null when no row is selected, or one that cannot be published (birthdays).
    std::shared_ptr<KTSyncCalendar> selectedPublishableCalendar() const;

    /// What is stored for the calendar, empty when nothing is. Throws Exception for anything but
    /// a dictionary.
    Dictionary publishingOptions(const std::string& recordKey) const;
    void storePublishingOptions(const std::string& recordKey, Dictionary options);
    Dictionary optionsOfCheckboxes(int isPublic) const;
    /// Null on a host without a publishing service.
    std::shared_ptr<KTSyncConnection> publishingConnection();
    void askForSharing(const std::string& recordKey);
    void publish(const KTSyncCalendar& calendar,
                 const std::shared_ptr<KTSyncConnection>& connection);
    void unpublish(const KTSyncCalendar& calendar,
                   const std::shared_ptr<KTSyncConnection>& connection);
    void showSharingStatus(const std::string& text);
    void endSharing();

    LoadedStore _rewrittenFrom;  // what the last run loaded, if it rewrote the store; for the next
    std::string _bundlePath;
    std::unique_ptr<Nib> _nib;  // null without a view
};

}  // namespace kt
