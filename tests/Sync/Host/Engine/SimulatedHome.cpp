#include "tests/Sync/Host/Engine/SimulatedHome.h"

#include <algorithm>
#include <memory>

#include <gtest/gtest.h>

#include "Sync/Host/Server/SyncServer.h"

namespace kt::test {

SimulatedHome::SimulatedHome(std::string statePath, std::string url, Layout layout)
    : store(layout),
      serverUrl(std::move(url)),
      _statePath(std::move(statePath))
{}

std::string SimulatedHome::keyOf(const std::string& calendarTitle)
{
    for (const auto& loaded : store.load()) {
        if (loaded.calendar->record()["Title"] == Value(calendarTitle))
            return loaded.calendar->recordKey();
    }
    return "";
}

void SimulatedHome::switchOff(const std::string& calendarTitle)
{
    _activated[keyOf(calendarTitle)] = false;
    _isFullSync = true;
}

void SimulatedHome::switchOn(const std::string& calendarTitle)
{
    _activated[keyOf(calendarTitle)] = true;
    _isFullSync = true;
}

bool SimulatedHome::isOn(const std::string& calendarTitle)
{
    const auto found = _activated.find(keyOf(calendarTitle));
    return found == _activated.end() || found->second;
}

bool SimulatedHome::resetSync()
{
    LocalState state(_statePath);
    const auto server = syncServerWithURL(serverUrl);
    SyncEngine engine(state, *server, _losses, {});
    _resetSync = true;
    return engine.resetLocalState();
}

SyncRunSummary SimulatedHome::sync(const Wishes& wishes)
{
    LocalState state(_statePath, wishes.dryRun ? StateAccess::readOnly : StateAccess::readWrite);
    const auto server = syncServerWithURL(serverUrl);
    SyncEngine engine(state, *server, _losses,
                      [&](std::string_view line) { log.emplace_back(line); });
    SyncRunOptions options;
    options.fromServer = wishes.fromServer;
    options.acceptLosses = wishes.acceptLosses;
    options.allowMassDelete = wishes.allowMassDelete;
    options.dryRun = wishes.dryRun;
    options.backupName = "2007-12-24";
    if (wishes.isFull)
        _isFullSync = true;
    const bool isFullBefore = _isFullSync;
    const auto activatedBefore = _activated;
    try {
        engine.beginRun(options);
        doSyncResult = doSync(engine, wishes.breakAt);
        SyncRunSummary summary = engine.endRun(doSyncResult);
        if (wishes.dryRun)
            _isFullSync = isFullBefore;
        if (!summary.needsSettling)
            return summary;
        if (wishes.breakAt == Break::killBeforeSettling)
            return {};
        options.settling = SettlingCheck{store.fingerprint(), [&] { return store.fingerprint(); }};
        options.fromServer = false;
        if (beforeSettling)
            beforeSettling();
        const auto activated = _activated;
        const bool isFull = _isFullSync;
        const SyncRecordList pulledByRun = pulled;
        engine.beginRun(options);
        const bool isDone = doSync(engine, Break::nowhere);
        summary.settled = engine.endRun(isDone).settled;
        _activated = activated;
        _isFullSync = isFull;
        EXPECT_TRUE(pulled.empty()) << "a settling run pulls nothing";
        pulled = pulledByRun;
        return summary;
    } catch (const Killed&) {
        _activated = activatedBefore;
        return {};
    }
}

SimulatedHome::Load SimulatedHome::load(HostLossReport& losses)
{
    Load result;
    for (const auto& loaded : store.load()) {
        const std::string& key = loaded.calendar->recordKey();
        const std::string title(loaded.calendar->record()["Title"].string());
        if (unreadable.count(title) != 0) {
            losses.reportLoss({title, "", "Der Kalender kann nicht gelesen werden"});
            continue;
        }
        const bool isGroup = loaded.calendar->record()["Type"] == Value("CalendarGroup");
        if (isGroup || _activated.count(key) == 0)
            _activated[key] = true;
        const bool isOn = _activated[key];
        SyncRecordList& target = isOn ? result.active : result.skipped;
        if (isOn)
            result.keysToSync.insert(key);
        else
            ++result.skippedCalendars;
        target.push_back(loaded.calendar);
        for (const SyncRecord& item : loaded.items) {
            const std::string itemTitle(item->record()["Title"].string());
            if (unreadable.count(itemTitle) != 0)
                losses.reportLoss(
                    {title, itemTitle + ".ics", "Die Datei kann nicht gelesen werden"});
            else
                target.push_back(item);
        }
    }
    return result;
}

void SimulatedHome::thinOutPulled(SyncRecordList& records, Load& loaded)
{
    SyncRecordList kept;
    for (const SyncRecord& record : records) {
        const std::string& key = record->recordKey();
        if (record->conduit() == kConduitCalendar) {
            const bool isKnownAndOff =
                _activated.count(key) != 0 && loaded.keysToSync.count(key) == 0;
            if (!isKnownAndOff)
                kept.push_back(record);
            loaded.keysToSync.insert(key);
            _activated[key] = true;
        } else if (loaded.keysToSync.count(record->recordParentKey().value_or("")) != 0) {
            kept.push_back(record);
        }
    }
    records = kept;
}

void SimulatedHome::thinOutResult(SyncResult& result, const Load& loaded) const
{
    for (SyncRecordList& list : result) {
        list.erase(std::remove_if(list.begin(), list.end(),
                                  [&](const SyncRecord& record) {
                                      const std::string key =
                                          record->conduit() == kConduitCalendar
                                              ? record->recordKey()
                                              : record->recordParentKey().value_or("");
                                      return loaded.keysToSync.count(key) == 0;
                                  }),
                   list.end());
    }
}

bool SimulatedHome::doSync(SyncEngine& engine, Break breakAt)
{
    pulled.clear();
    Load loaded = load(_losses);
    const auto afterLoad = _activated;
    // What the thinning out switches on is not stored.
    const auto restore = [&](bool result) {
        _activated = afterLoad;
        return result;
    };
    if (breakAt == Break::cancelBeforeSession) {
        _isFullSync = true;
        return restore(false);
    }
    const int startResult = engine.startSync(_resetSync || _isFullSync ? 6 : 5);
    if (startResult == 0 || startResult == 7)
        return restore(false);
    std::optional<SyncRecordList> remote = engine.pullRecords();
    pulled = remote.value_or(SyncRecordList{});
    if (remote && loaded.skippedCalendars > 0)
        thinOutPulled(*remote, loaded);
    std::optional<SyncResult> result =
        engine.diffLocalStateWithLocalUpdates(loaded.active, remote, 7);
    if (result && loaded.skippedCalendars > 0)
        thinOutResult(*result, loaded);
    compared = result.value_or(SyncResult{});
    if (breakAt == Break::cancelBeforePush) {
        _isFullSync = true;
        engine.finishSync();
        return restore(false);
    }
    if (!result || !engine.pushSyncResult(*result)) {
        engine.finishSync();
        return restore(false);
    }
    engine.updateLocalStateWithUpdates(loaded.skipped);
    if (breakAt == Break::killBeforeFinish)
        throw Killed{};
    if (!engine.finishSync())
        return restore(false);
    if (startResult > 2) {
        if (breakAt == Break::killAfterFinish)
            throw Killed{};
        if (breakAt == Break::cancelBeforeRewrite) {
            _isFullSync = true;
            return restore(false);
        }
        if (beforeRewrite)
            beforeRewrite();
        const auto state = engine.getLocalState();
        if (!state) {
            _isFullSync = true;
            return restore(false);
        }
        if (breakAt == Break::killInRewrite) {
            store.rewrite(*state, store.calendars.size() / 2);
            throw Killed{};
        }
        store.rewrite(*state);
    }
    _isFullSync = false;
    _resetSync = false;
    return restore(true);
}

}  // namespace kt::test
