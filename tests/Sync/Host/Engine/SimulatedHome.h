#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Sync/Host/Engine/SyncEngine.h"
#include "tests/Sync/Host/Engine/Break.h"
#include "tests/Sync/Host/Engine/SimulatedStore.h"

namespace kt::test {

/// One device: a store, a state file, the plug-in's preferences, and a plug-in that drives the
/// engine in the real one's order and thins out what it pulls and pushes in the real one's way.
class SimulatedHome {
public:
    SimulatedHome(std::string statePath, std::string serverUrl, Layout layout = Layout::leopard);

    SimulatedStore store;

    struct Wishes {
        bool fromServer = false;
        bool acceptLosses = false;
        bool allowMassDelete = false;
        bool dryRun = false;
        bool isFull = false;
        Break breakAt = Break::nowhere;
    };
    /// One run and, where it is due, its settling run. A killed run gives an empty summary.
    SyncRunSummary sync(const Wishes& wishes);
    SyncRunSummary sync() { return sync(Wishes{}); }

    /// As a click in the list of calendars: stored, and the next run is a full one.
    void switchOff(const std::string& calendarTitle);
    void switchOn(const std::string& calendarTitle);
    bool isOn(const std::string& calendarTitle);
    bool resetSync();

    /// Items of these titles, and calendars of these titles, cannot be read and are told as losses;
    /// likewise what is broken in the store.
    std::set<std::string> unreadable;
    /// The same, but carrying them would not keep them.
    std::set<std::string> unsafe;
    /// Whether what is told names calendar, UID and file, and whether places of records are told.
    enum class Telling { all, onlyCalendar, noPlaces };
    Telling telling = Telling::all;
    /// Items and calendars of these titles are not written by a rewrite, and that is told or not.
    std::set<std::string> full;
    std::vector<KTLoss> lossesOfRewrite;
    /// Told at every load.
    std::vector<KTLoss> furtherLosses;
    /// Called when the session took effect and the state to be written is about to be asked for.
    std::function<void()> beforeRewrite;
    /// Called after the store was rewritten and before it is settled.
    std::function<void()> beforeSettling;
    std::string serverUrl;
    /// What the last run pulled, before and after thinning out, and what it handed to the push.
    SyncRecordList pulled;
    SyncResult compared;
    std::vector<std::string> log;
    bool doSyncResult = false;

    LocalState openState() const { return LocalState(_statePath); }
    const std::string& statePath() const { return _statePath; }

private:
    struct Killed {};
    struct Load {
        SyncRecordList active;
        SyncRecordList skipped;
        std::set<std::string> keysToSync;
        int skippedCalendars = 0;
    };

    bool doSync(SyncEngine& engine, Break breakAt);
    Load load();
    void takeItems(const SimulatedStore::Loaded& loaded, SyncRecordList& target);
    SyncRecord asBefore(const SyncRecord& record, const std::string& place);
    bool isUnread(const SimulatedCalendar& calendar, const SimulatedItem* item) const;
    KTLoss lossFor(const SimulatedCalendar& calendar, const SimulatedItem* item) const;
    void tellOfLosses();
    void rewrite(const SyncRecordMap& records, std::optional<std::size_t> limit);
    void thinOutPulled(SyncRecordList& records, Load& loaded);
    void thinOutResult(SyncResult& result, const Load& loaded) const;
    std::string keyOf(const std::string& calendarTitle);
    void moveSwitches();

    std::string _statePath;
    std::map<std::string, bool> _activated;                           // stored
    std::vector<std::pair<std::string, std::string>> _movedSwitches;  // former and present keys
    bool _isFullSync = false;                                         // stored
    bool _resetSync = false;
    HostReports _reports;
    std::map<std::string, SyncRecord> _given;  // by the last load that gave it, by place
};

}  // namespace kt::test
