#include "tests/Sync/Host/Engine/SimulatedHome.h"

#include <algorithm>
#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include "Sync/Foundation/Digest.h"
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
    SyncEngine engine(state, *server, _reports, {});
    _resetSync = true;
    return engine.resetLocalState();
}

SyncRunSummary SimulatedHome::sync(const Wishes& wishes)
{
    LocalState state(_statePath, wishes.dryRun ? StateAccess::readOnly : StateAccess::readWrite);
    const auto server = syncServerWithURL(serverUrl);
    SyncEngine engine(state, *server, _reports,
                      [&](std::string_view line) { log.emplace_back(line); });
    SyncRunOptions options;
    options.fromServer = wishes.fromServer;
    options.acceptLosses = wishes.acceptLosses;
    options.allowMassDelete = wishes.allowMassDelete;
    options.dryRun = wishes.dryRun;
    options.backupName = "2007-12-24";
    options.home = "/home";
    options.switches = _activated;
    options.renameSwitch = [this](const std::string& former, const std::string& now) {
        _movedSwitches.emplace_back(former, now);
    };
    _movedSwitches.clear();
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
        options.settling = SettlingCheck{store.fingerprint(), [&] { return store.fingerprint(); },
                                         summary.losses, summary.overwritten};
        options.fromServer = options.acceptLosses = false;
        if (beforeSettling)
            beforeSettling();
        const auto activated = _activated;
        const bool isFull = _isFullSync;
        const SyncRecordList pulledByRun = pulled;
        engine.beginRun(options);
        const bool isDone = doSync(engine, Break::nowhere);
        const SyncRunSummary settling = engine.endRun(isDone);
        summary.settled = settling.settled;
        summary.settlement = settling.settlement;
        summary.unproved = settling.unproved;
        _activated = activated;
        for (const auto& [former, now] : settling.renamedCalendars) {
            const auto found = _activated.find(former);
            if (found != _activated.end() && !found->second && options.switches.count(now) == 0)
                _movedSwitches.emplace_back(former, now);
        }
        moveSwitches();
        _isFullSync = isFull;
        EXPECT_TRUE(pulled.empty()) << "a settling run pulls nothing";
        pulled = pulledByRun;
        return summary;
    } catch (const Killed&) {
        _activated = activatedBefore;
        moveSwitches();
        return {};
    }
}

bool SimulatedHome::isUnread(const SimulatedCalendar& calendar, const SimulatedItem* item) const
{
    const std::string title =
        item == nullptr ? calendar.title : item->fields["Title"].description();
    const bool isBroken = item == nullptr ? calendar.isBroken : item->isBroken;
    return isBroken || unreadable.count(title) != 0 || unsafe.count(title) != 0;
}

KTLoss SimulatedHome::lossFor(const SimulatedCalendar& calendar, const SimulatedItem* item) const
{
    KTLoss loss;
    loss.calendar = calendar.title;
    loss.file = SimulatedStore::folderOf(calendar) + "/Info.plist";
    loss.reason = "Der Kalender kann nicht gelesen werden";
    loss.extent = KTLoss::Extent::calendar;
    if (item != nullptr) {
        loss.file = store.fileOf(calendar, *item);
        loss.reason = "Die Datei kann nicht gelesen werden";
        loss.calendarKey = store.keyOf(calendar);
        loss.digest = sha1DigestHex(item->uid + item->fields.description());
        const bool hasOwnFile =
            std::count_if(calendar.items.begin(), calendar.items.end(), [&](const auto& each) {
                return store.fileOf(calendar, each) == loss.file;
            }) == 1;
        loss.extent = hasOwnFile ? KTLoss::Extent::file : KTLoss::Extent::component;
        if (!hasOwnFile && telling == Telling::all)
            loss.uid = item->uid;
        if (telling != Telling::all)
            loss.file = SimulatedStore::folderOf(calendar) + "/Events/neu.ics";
    }
    const std::string title =
        item == nullptr ? calendar.title : item->fields["Title"].description();
    if (unsafe.count(title) != 0)
        loss.kind = KTLoss::Kind::unsafe;
    return loss;
}

void SimulatedHome::tellOfLosses()
{
    for (const KTLoss& loss : furtherLosses)
        _reports.losses.reportLoss(loss);
    for (const SimulatedCalendar& calendar : store.calendars) {
        if (isUnread(calendar, nullptr)) {
            _reports.losses.reportLoss(lossFor(calendar, nullptr));
            continue;
        }
        for (const SimulatedItem& item : calendar.items) {
            if (isUnread(calendar, &item))
                _reports.losses.reportLoss(lossFor(calendar, &item));
        }
    }
}

void SimulatedHome::moveSwitches()
{
    for (const auto& [former, now] : std::exchange(_movedSwitches, {})) {
        _activated[now] = false;
        _activated.erase(former);
    }
}

SimulatedHome::Load SimulatedHome::load()
{
    Load result;
    tellOfLosses();
    for (const auto& loaded : store.load(
             [this](const auto&calendar, const auto*item) { return isUnread(calendar, item); })) {
        const std::string& key = loaded.calendar->recordKey();
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
        if (telling != Telling::noPlaces)
            _reports.identities.reportIdentity(loaded.calendar,
                                               {"", "", loaded.text->sourceKey,
                                                SimulatedStore::folderOf(*loaded.text)});
        takeItems(loaded, target);
    }
    return result;
}

/// The very record that an earlier load gave for what stands there as it stood: the plug-in reads
/// no file again that stands as it stood.
SyncRecord SimulatedHome::asBefore(const SyncRecord& record, const std::string& place)
{
    SyncRecord& before = _given[place];
    const bool isSame = before && record && before->record() == record->record() &&
                        before->recordKey() == record->recordKey() &&
                        before->recordParentKey() == record->recordParentKey();
    if (!isSame)
        before = record;
    return before;
}

void SimulatedHome::takeItems(const SimulatedStore::Loaded& loaded, SyncRecordList& target)
{
    for (std::size_t index = 0; index < loaded.items.size(); ++index) {
        const SimulatedItem& text = *loaded.itemTexts[index];
        const auto occurrence = text.fields["RecurrenceId"].objectOfClass<KTSyncEnhancedDate>();
        const KTStoreIdentity identity{text.uid, occurrence ? occurrence->iCalDate() : "", "",
                                       store.fileOf(*loaded.text, text)};
        const SyncRecord record =
            asBefore(loaded.items[index], identity.file + '\n' + identity.uid + '\n' +
                                              identity.recurrenceId + '\n' + std::to_string(index));
        target.push_back(record);
        if (telling != Telling::noPlaces)
            _reports.identities.reportIdentity(record, identity);
    }
}

void SimulatedHome::rewrite(const SyncRecordMap& records, std::optional<std::size_t> limit)
{
    SimulatedStore::Rewriting rewriting;
    rewriting.limit = limit;
    rewriting.full = full;
    rewriting.stays = [this](const SimulatedCalendar& calendar, const SimulatedItem* item) {
        if (!isUnread(calendar, item))
            return false;
        const KTLoss loss = lossFor(calendar, item);
        return loss.kind == KTLoss::Kind::unread && !_reports.carefulWriting.isGivenUp(loss);
    };
    store.rewrite(records, rewriting);
    for (const KTLoss& loss : lossesOfRewrite)
        _reports.losses.reportLoss(loss);
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
    Load loaded = load();
    const auto afterLoad = _activated;
    // What the thinning out switches on is not stored.
    const auto restore = [&](bool result) {
        _activated = afterLoad;
        moveSwitches();
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
            rewrite(*state, store.calendars.size() / 2);
            throw Killed{};
        }
        rewrite(*state, std::nullopt);
    }
    _isFullSync = false;
    _resetSync = false;
    return restore(true);
}

}  // namespace kt::test
