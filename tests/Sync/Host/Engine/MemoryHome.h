#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "Sync/Host/Services/SyncRun.h"
#include "tests/Sync/Host/Engine/Break.h"
#include "tests/Sync/Host/Engine/HomeStore.h"
#include "tests/Sync/Host/Engine/OneBackup.h"

namespace kt::test {

/// One device: a store on a disk in memory, a state file, and the real plug-in in the real host,
/// started anew for each run as a program is.
class MemoryHome {
public:
    /// `statePath` is a file on the real disk, since that is where databases can be.
    MemoryHome(const std::string& name, std::string statePath, std::string serverUrl,
               Layout layout = Layout::leopard);

    HomeStore store;

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
    void switchOff(const std::string& calendarTitle) { setOn(calendarTitle, false); }
    void switchOn(const std::string& calendarTitle) { setOn(calendarTitle, true); }
    bool isOn(const std::string& calendarTitle);
    bool resetSync();

    /// The files of items, and the descriptions of calendars, of these titles cannot be read for
    /// the disk fails there, while what stands in them is whole.
    std::set<std::string> unreadable;
    /// Calendars of these titles are told as such that a rewrite would not keep.
    std::set<std::string> unsafe;
    /// What can be told of damaged text, and whether places of records are told.
    enum class Telling { all, onlyCalendar, noPlaces };
    Telling telling = Telling::all;
    /// Items and calendars of these titles do not arrive on the disk when the store is rewritten,
    /// and nobody notices.
    std::set<std::string> full;
    /// Told after a rewrite.
    std::vector<KTLoss> lossesOfRewrite;
    /// Told at every load.
    std::vector<KTLoss> furtherLosses;
    /// Called when the session took effect and the state to be written is about to be asked for.
    std::function<void()> beforeRewrite;
    /// Called after the store was rewritten and before it is settled.
    std::function<void()> beforeSettling;
    std::string serverUrl;
    /// What the last run pulled.
    SyncRecordList pulled;
    /// The engine's lines.
    std::vector<std::string> log;
    bool doSyncResult = false;

    LocalState openState() const { return LocalState(_statePath); }
    const std::string& statePath() const { return _statePath; }

    /// Puts on the disk what was changed in the model.
    void writeStore();
    /// What the plug-in reads there now.
    std::vector<HomeCalendar> calendarsAsRead();

private:
    class Session;

    void setOn(const std::string& calendarTitle, bool isOn);
    std::set<std::string> unreadablePaths() const;

    std::string _statePath;
    OneBackup _backup{*store.disk()};
};

}  // namespace kt::test
