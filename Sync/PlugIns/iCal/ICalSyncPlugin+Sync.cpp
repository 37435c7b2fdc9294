#include <utility>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/PlugIns/iCal/Calendar/HostAndSystemLog.h"
#include "Sync/PlugIns/iCal/ICalHelper.h"
#include "Sync/PlugIns/iCal/ICalSyncPlugin.h"

namespace kt {

namespace {

constexpr int kIncrementalSync = 5;
constexpr int kFullSync = 6;
constexpr int kDiffMode = 7;

// Groups of start results.
bool endsAtOnce(int startResult) { return startResult == 0 || startResult == 7; }
bool leavesStoreAlone(int startResult) { return startResult == 1 || startResult == 2; }
bool overwritesStore(int startResult) { return startResult == 3 || startResult == 4; }

/// The key of the calendar that a record is, or belongs to.
const std::string* calendarKey(const KTSyncRecord& record)
{
    if (record.conduit() == kConduitCalendar)
        return &record.recordKey();
    return record.recordParentKey() ? &*record.recordParentKey() : nullptr;
}

}  // namespace

/// The steps of one run and what they hand to one another. A step that ends the run has told the
/// log and the status line why, and answers false.
class ICalSyncPlugin::SyncSteps {
public:
    explicit SyncSteps(ICalSyncPlugin& plugin) : _plugin(plugin), _host(*plugin._pluginHelper) {}

    bool run();

private:
    bool refuseWhileICalRuns();
    bool loadCalendars();
    int chooseMode() const;
    std::optional<SyncRecordList> pull();
    SyncRecordList withoutSwitchedOff(const SyncRecordList& pulled);
    void removeSwitchedOff(SyncResult& result) const;
    bool exchange();
    bool rewriteStore();
    void stopSyncServices() const;
    bool succeed();
    bool endCancelled();
    bool fail(std::string_view text) { return fail(text, text); }
    bool fail(std::string_view message, std::string_view status);
    std::string countSummary() const;
    bool takesPart(const KTSyncRecord& record) const
    {
        const std::string* key = calendarKey(record);
        return key != nullptr && _keysToSync.contains(*key);
    }

    ICalSyncPlugin& _plugin;
    KTSyncPluginHelper& _host;
    std::int32_t _numCalendars = 0;
    std::int32_t _numEvents = 0;
    std::int32_t _numTasks = 0;
    std::int32_t _numSkippedCalendars = 0;
    SyncRecordList _localRecords;
    SyncRecordList _skippedRecords;
    RecordKeySet _keysToSync;
    RecordKeySet _notSelectedCalendars;
    RecordKeySet _notExpandedGroups;
    LoadedStore _loaded;
};

bool ICalSyncPlugin::doSync()
{
    if (!_pluginHelper->boolPreferenceForKey(kActivatePreference, false)) {
        _pluginHelper->logMsg("Die iCal-Synchronisierung ist nicht aktiviert.");
        _pluginHelper->setStatusMsg("Die iCal-Synchronisierung ist nicht aktiviert");
        return false;
    }

    bool isSynchronized = false;
    try {
        isSynchronized = runGuarded();
    } catch (...) {
        cleanUp();
        throw;
    }
    cleanUp();
    return isSynchronized;
}

bool ICalSyncPlugin::runGuarded()
{
    return guardedOr(
        [&] {
            _isSynchronizing = true;
            _cancelSync = false;
            return SyncSteps(*this).run();
        },
        [&](const Exception& exception) {
            logToHostAndSystem(_pluginHelper,
                               "Nichtabgefangener Fehler in [ICalSyncPlugin doSync]: %@",
                               exception);
            return false;
        });
}

/// Not in a destructor: the host may raise here as well, and the flags must fall even then.
void ICalSyncPlugin::cleanUp()
{
    struct Flags {
        ICalSyncPlugin& plugin;
        ~Flags()
        {
            plugin._isSynchronizing = false;
            plugin._isICalDidEndNotificationDisabled = false;
        }
    };
    const Flags flags{*this};
    _pluginHelper->enableFileNotifications();
}

bool ICalSyncPlugin::SyncSteps::run()
{
    if (!refuseWhileICalRuns() || !loadCalendars())
        return false;
    if (_plugin._cancelSync)
        return endCancelled();

    const int startResult = _host.startSync(chooseMode());
    if (endsAtOnce(startResult))
        return false;
    if (leavesStoreAlone(startResult))
        _loaded = {};  // only a rewrite compares with it
    if (overwritesStore(startResult))
        _host.setStatusMsg("Die lokalen Kalender werden überschrieben");
    else
        _host.setStatusMsg(countSummary());

    if (!exchange())
        return false;
    if (!leavesStoreAlone(startResult) && !rewriteStore())
        return false;
    return succeed();
}

bool ICalSyncPlugin::SyncSteps::refuseWhileICalRuns()
{
    if (!_host.isBinaryRunning(_plugin.binaryToWatch()))
        return true;
    return fail("Die Synchronisierung kann erst gestartet werden, wenn iCal beendet wurde.",
                "iCal ist noch aktiv");
}

bool ICalSyncPlugin::SyncSteps::loadCalendars()
{
    _plugin._isICalDidEndNotificationDisabled = true;
    _host.logMsg("Die iCal-Kalender werden synchronisiert");
    _host.setStatusMsg("iCal-Kalender laden...");
    _host.disableFileNotifications();
    _plugin.updateActivatedCalendars();

    const LoadedStore earlier = std::exchange(_plugin._rewrittenFrom, {});
    auto records =
        ICalHelper::loadCalendarsWithPluginHelper(&_host, _numCalendars, _numEvents, _numTasks,
                                                  _plugin._activatedCalendars, _keysToSync,
                                                  _numSkippedCalendars, _skippedRecords,
                                                  _notSelectedCalendars, _notExpandedGroups,
                                                  &_loaded, &earlier);
    if (!records)
        return fail("ICalSyncPlugin konnte die iCal-Kalender nicht laden.",
                    "Die Kalender konnten nicht geladen werden!");
    _localRecords = *std::move(records);
    return true;
}

int ICalSyncPlugin::SyncSteps::chooseMode() const
{
    if (_plugin._resetSync)
        return kFullSync;
    return _host.boolPreferenceForKey(kFullSyncPreference, false) ? kFullSync : kIncrementalSync;
}

/// From the server's changes to a session that the host has closed cleanly.
bool ICalSyncPlugin::SyncSteps::exchange()
{
    const auto remoteUpdates = pull();
    auto result = _host.diffLocalStateWithLocalUpdates(_localRecords, remoteUpdates, kDiffMode);
    if (result && _numSkippedCalendars > 0)
        removeSwitchedOff(*result);

    if (_plugin._cancelSync) {
        endCancelled();
        _host.finishSync();
        return false;
    }
    if (!result) {
        fail("Die Synchronisierung ist fehlgeschlagen!");
        _host.finishSync();
        return false;
    }
    if (!_host.pushSyncResult(*result)) {
        fail("Die Daten konnten nicht auf den Server übertragen werden");
        _host.finishSync();
        return false;
    }
    // Neither compared nor pulled: without this the host would take them for deleted.
    _host.updateLocalStateWithUpdates(_skippedRecords);
    _host.logMsg("Synchronisierung beenden...");
    if (!_host.finishSync())
        return fail("Die Synchronisierung konnte nicht sauber beendet werden",
                    "Fehler beim Zurückschreiben der Kalender!");
    return true;
}

std::optional<SyncRecordList> ICalSyncPlugin::SyncSteps::pull()
{
    auto pulled = _host.pullRecords();
    if (pulled && _numSkippedCalendars > 0)
        return withoutSwitchedOff(*pulled);
    return pulled;
}

/// A calendar that comes from the server counts as switched on from here on, so that its items,
/// which come later, pass; its own record is dropped when it was known and takes no part.
SyncRecordList ICalSyncPlugin::SyncSteps::withoutSwitchedOff(const SyncRecordList& pulled)
{
    SyncRecordList kept;
    kept.reserve(pulled.size());
    for (const SyncRecord& record : pulled) {
        if (record->conduit() != kConduitCalendar) {
            if (takesPart(*record))
                kept.push_back(record);
            continue;
        }
        const std::string& key = record->recordKey();
        if (!_plugin._activatedCalendars.contains(key) || _keysToSync.contains(key))
            kept.push_back(record);
        _keysToSync.insert(key);
        _plugin._activatedCalendars.set(key, 1);
    }
    return kept;
}

void ICalSyncPlugin::SyncSteps::removeSwitchedOff(SyncResult& result) const
{
    for (SyncRecordList& records : result)
        std::erase_if(records, [&](const SyncRecord& record) { return !takesPart(*record); });
}

bool ICalSyncPlugin::SyncSteps::rewriteStore()
{
    _numCalendars = _numEvents = _numTasks = _numSkippedCalendars = 0;
    if (_plugin._cancelSync || _host.isBinaryRunning(_plugin.binaryToWatch()))
        return endCancelled();
    stopSyncServices();

    std::optional<SyncRecordList> records;
    if (auto state = _host.getLocalState()) {
        records.emplace();
        for (auto& [key, record] : *state)
            records->push_back(std::move(record));
    }
    if (ICalHelper::saveCalendars(std::move(records), &_host, _numCalendars, _numEvents, _numTasks,
                                  _notSelectedCalendars, _notExpandedGroups, &_loaded)) {
        _plugin._rewrittenFrom = std::move(_loaded);
        return true;
    }
    fail("Die iCal-Kalender konnten nicht gespeichert werden!",
         "Die Kalender konnten nicht gespeichert werden!");
    _host.updatePreferenceWithBool(kFullSyncPreference, true);
    return false;
}

/// SyncServices would put its own copy of the calendars back. Nothing waits for either step.
void ICalSyncPlugin::SyncSteps::stopSyncServices() const
{
    FileManager::defaultManager().removeFileAtPath(stringByAppendingPathComponent(
        NSHomeDirectory(), "Library/Application Support/SyncServices/Local/data.syncdb"));
    Platform::shared().launch("/usr/bin/killall", {"SyncServices"});
}

bool ICalSyncPlugin::SyncSteps::succeed()
{
    _host.updatePreferenceWithBool(kFullSyncPreference, false);
    _plugin._resetSync = false;
    _host.logMsg("Die iCal-Kalender wurden synchronisiert");
    _host.setStatusMsg(countSummary());
    return true;
}

/// What was missed by stopping in the middle only a full sync can find.
bool ICalSyncPlugin::SyncSteps::endCancelled()
{
    fail("Die Synchronisierung wurde abgebrochen!");
    _host.updatePreferenceWithBool(kFullSyncPreference, true);
    return false;
}

bool ICalSyncPlugin::SyncSteps::fail(std::string_view message, std::string_view status)
{
    _host.logMsg(message);
    _host.setStatusMsg(status);
    return false;
}

std::string ICalSyncPlugin::SyncSteps::countSummary() const
{
    const std::string skipped =
        _numSkippedCalendars > 0 ? stringWithFormat(" (%d deaktiviert)", _numSkippedCalendars) : "";
    return stringWithFormat("%d Kalender%@\n%d %@, %d %@", _numCalendars, skipped, _numEvents,
                            _numEvents == 1 ? "Ereignis" : "Ereignisse", _numTasks,
                            _numTasks == 1 ? "Aufgabe" : "Aufgaben");
}

}  // namespace kt
