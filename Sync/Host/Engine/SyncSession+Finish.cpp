#include <algorithm>
#include <utility>

#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Engine/HandedState.h"
#include "Sync/Host/Engine/KeptRecords.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/SeenUpdate.h"
#include "Sync/Host/Engine/Settling.h"
#include "Sync/Host/Engine/SyncSession.h"

namespace kt {

// Nothing takes effect before this, and then only if a push succeeded: a session that was cancelled
// or failed ends here too.
bool SyncSession::finish()
{
    if (!_isPushed) {
        close();
        return true;
    }
    decideKept();
    _switchedOff = switchedOffAfterwards();
    const bool isDone = isSettling() ? finishSettling() : takeEffect();
    close();
    return isDone;
}

// Where what is missing may only be unread, a calendar that was switched off and is not to be seen
// still is.
SwitchedOffCalendars SyncSession::switchedOffAfterwards() const
{
    if (!_keptRecords)
        return _knowledge->switchedOff();
    SwitchedOffCalendars calendars =
        switchedOffCalendars(*_keptRecords, _localRecords, _places, *_knowledge, _remote);
    for (const KeptRow& row : _knowledge->kept()) {
        const bool isStillKept =
            isMissingUnread() || _unreadKept.isMissed(row.id) || isUnreadKept(row);
        const std::string& calendar = calendarOf(row);
        if (isStillKept && !isSwitchedOn(row) && _stillOff.count(calendar) == 0)
            calendars.add(calendar, _knowledge->switchedOff().agreedKey(calendar));
    }
    return calendars;
}

// Records of a switched-off calendar are kept, not compared.
bool SyncSession::isOfKeptCalendar(const RecordId& id,
                                   const std::optional<std::string>& parentKey) const
{
    const auto isKept = [&](const std::string& key) { return _switchedOff.hasAgreed(key); };
    if (id.conduit == kConduitCalendar)
        return isKept(id.key);
    if (parentKey && isKept(*parentKey))
        return true;
    // What left a switched-off calendar for one that takes part does so itself.
    if (_local->recordAgreedAs(id) != nullptr)
        return false;
    const AgreedRow* agreed = _knowledge->agreedRow(id);
    return agreed != nullptr && agreed->parentKey && isKept(*agreed->parentKey);
}

// What the plug-in handed back takes effect, but for what concerns a switched-off calendar. It
// cannot tell a calendar that was deleted from one that is switched off, so it thins out the
// deletions of both; those of calendars that are not kept stand. So does what moved into one.
std::vector<const Outcome*> SyncSession::effectiveOutcomes()
{
    std::vector<const Outcome*> effective;
    for (const auto& [record, outcome] : _staged) {
        const bool isHandedBack = _handedBack.count(record.get()) != 0;
        if (_movedIds.count(outcome->id) != 0 || isOfStayingCalendar(*outcome))
            effective.push_back(outcome);
        else if (lacksWitness(*outcome))
            _deletionsNotMade.push_back(outcome->id);
        else if ((isHandedBack || outcome->isDeletion()) &&
                 !isOfKeptCalendar(outcome->id, outcome->parentKey))
            effective.push_back(outcome);
    }
    return effective;
}

bool SyncSession::takeEffect()
{
    const std::vector<const Outcome*> effective = effectiveOutcomes();
    auto reason = reasonAgainst(effective);
    if (!reason)
        reason = reasonAgainstRewrite(effective);
    if (reason) {
        _setting.summary.reasons.push_back(*reason);
        _setting.log(*reason);
        return false;
    }
    count(effective);
    tellOfTexts();
    tellOfGoneCalendars(effective);
    tellOfTitles();
    if (isDryRun())
        return true;
    tellOfConflicts(effective);
    tellOfSwitches();
    notePush(effective);
    const std::int64_t head = writeToServer(effective);
    if (_facts.isServerOlder || _isPastLost)
        _serverIdentity = _server->renewIdentity();
    writeAgreed(effective, head);
    writeUntaken(effective);
    writeKept();
    writeUnread();
    writeSeen(effective);
    writeSeenOfMoved();
    writeFacts(effective, head);
    if (!isRewriteExpected(_result))
        _setting.state.clearPushed();
    _stateVersion = _setting.state.versionOfOthers();
    // The server first: what it has and this device does not know of comes back as equal to what
    // the device has. The other way round the device would take for exchanged what nobody else ever
    // got.
    _server->commit();
    _setting.state.commit();
    return true;
}

std::int64_t SyncSession::writeToServer(const std::vector<const Outcome*>& effective)
{
    constexpr std::size_t kBatch = 256;  // encoded at one time
    std::vector<ServerWrite> writes;
    for (const Outcome* outcome : effective) {
        if (!outcome->goesUp)
            continue;
        if (writes.size() == kBatch) {
            _server->write(writes);
            writes.clear();
        }
        ServerWrite write;
        write.id = outcome->id;
        write.parentKey = outcome->parentKey;
        write.isDeletion = outcome->isDeletion();
        if (!write.isDeletion) {
            write.hash = outcome->hash;
            write.content = encodedRecord(outcome->record, outcome->past);
        }
        writes.push_back(std::move(write));
    }
    return _server->write(writes);
}

void SyncSession::writeAgreed(const std::vector<const Outcome*>& effective, std::int64_t revision)
{
    LocalState& state = _setting.state;
    if (isRewriteExpected(_result) && effective.size() < _knowledge->agreed().size() / 4)
        _agreedChanges.emplace();
    if (!_hasBase)
        state.clearAgreedRevisions();
    for (const auto& [id, serverRevision] : _remote.renumbered())
        state.setAgreedRevision(id, serverRevision);
    for (const Outcome* outcome : effective) {
        if (outcome->isDeletion()) {
            state.removeAgreed(outcome->id);
            if (_agreedChanges)
                _agreedChanges->insert_or_assign(outcome->id, std::nullopt);
            continue;
        }
        AgreedRow row;
        row.id = outcome->id;
        row.parentKey = outcome->parentKey;
        row.revision = outcome->goesUp ? revision : outcome->serverRevision;
        row.hash = outcome->hash;
        state.setAgreed(row, outcome->record, outcome->past);
        if (_agreedChanges)
            _agreedChanges->insert_or_assign(outcome->id, std::move(row));
    }
}

std::optional<std::vector<AgreedRow>> SyncSession::takeAgreedRows()
{
    std::vector<AgreedRow> before;
    if (_agreedChanges)
        before = _knowledge->takeAgreedRows();
    _knowledge.reset();
    if (!_agreedChanges)
        return std::nullopt;
    std::vector<AgreedRow> rows;
    auto change = _agreedChanges->begin();
    const auto addChange = [&] {
        if (change->second)
            rows.push_back(*std::move(change->second));
        ++change;
    };
    for (AgreedRow& row : before) {
        while (change != _agreedChanges->end() && change->first < row.id)
            addChange();
        if (change != _agreedChanges->end() && change->first == row.id)
            addChange();
        else
            rows.push_back(std::move(row));
    }
    while (change != _agreedChanges->end())
        addChange();
    return rows;
}

// A remote record that was not taken is not agreed, and comes again. A held run takes nothing and
// leaves the anchor where it is, so all of it comes again anyway.
void SyncSession::writeUntaken(const std::vector<const Outcome*>& effective)
{
    std::unordered_set<RecordIdView, RecordIdHash> settled;  // outlived by the outcomes
    for (const Outcome* outcome : effective) {
        // What this version cannot take is not taken, whatever this device did to its own.
        const RemoteChange* remote = _remote.change(outcome->id);
        if (remote == nullptr || !remote->isRefused)
            settled.insert(outcome->id);
    }
    for (const UntakenRow& row : _knowledge->untaken()) {
        if (settled.count(row.id) != 0 || _remote.change(row.id) == nullptr)
            _setting.state.removeUntaken(row.id);
    }
    if (_isHeld)
        return;
    for (const auto& [id, change] : _remote.changes()) {
        if (settled.count(id) != 0)
            continue;
        const UntakenRow* before = _knowledge->untakenRow(id);
        const bool isSameOffer = before != nullptr && before->revision == change.server.revision;
        UntakenRow row;
        row.id = id;
        row.parentKey = change.server.parentKey;
        row.revision = change.server.revision;
        row.offers = (isSameOffer ? before->offers : 0) + (change.isOffered ? 1 : 0);
        row.refused = change.isRefused;
        if (!isSameOffer || row.offers != before->offers || row.refused != before->refused)
            _setting.state.setUntaken(row);
    }
}

// Only after a run that does not rewrite the store: otherwise the store is about to change.
void SyncSession::writeSeen(const std::vector<const Outcome*>& effective)
{
    if (isRewriteExpected(_result) || _isAsBefore)
        return;
    std::unordered_set<RecordIdView, RecordIdHash> settled;  // outlived by the outcomes
    for (const Outcome* outcome : effective)
        settled.insert(outcome->id);
    SeenUpdate update(_setting.state, *_knowledge, Platform::shared().localTimeZoneName());
    SeenRemainder remainder{_switchedOff, isMissingUnread(), _unread.rows};
    for (const LocalRecord& local : _local->all()) {
        // A change that did not go up has to be found again.
        const bool isPending = !local.isLeftOver && _outcomes.count(local.agreedId) != 0 &&
                               settled.count(local.agreedId) == 0;
        if (isPending) {
            remainder.untouched.insert(local.seen);
            continue;
        }
        update.take({*local.record, local.hash, local.place,
                     local.isLeftOver ? std::nullopt : std::optional(local.agreedId.key),
                     local.seen});
    }
    update.finish(remainder);
    tellOfRenamed(update);
}

void SyncSession::writeFacts(const std::vector<const Outcome*>& effective, std::int64_t head)
{
    StateFacts facts = _knowledge->facts();
    const bool isRewritten = isRewriteExpected(_result);
    facts.owed =
        isOwedAfter(_result, _facts) || _isPastLost || (!isRewritten && doesStoreLag(effective));
    facts.serverIdentity = _serverIdentity;
    facts.loadInVain.clear();
    if (_isHeld) {
        // What was exchanged is common from now on, but nothing of the rest was taken yet.
        if (!_hasBase)
            facts.anchor = facts.anchorAfterSettling = 0;
        _setting.state.setFacts(facts);
        return;
    }
    facts.systemVersion = _setting.options.systemVersion;
    if (!isRewritten)
        writeUnreadTexts(facts);
    if (isAllQuiet(effective))
        facts.loadInVain = _loadDigest;
    if (isRewritten) {
        facts.anchor = _hasBase ? facts.anchor : 0;
        facts.anchorAfterSettling = head;
        // The first backup of a row of unsettled rewrites is the one of a store that was whole.
        if (!facts.mark)
            facts.mark = _setting.options.backupName;
    } else {
        facts.anchor = head;
        facts.anchorAfterSettling = 0;
    }
    _setting.state.setFacts(facts);
}

// Nothing was found to do, nothing waits, and nothing is kept that the load does not show.
bool SyncSession::isAllQuiet(const std::vector<const Outcome*>& effective) const
{
    return effective.empty() && _outcomes.empty() && _deletionsNotMade.empty() &&
           !doesStoreLag(effective) && (!_keptRecords || _keptRecords->empty());
}

// Whatever the store should have and does not get in this run makes a full comparison owed.
bool SyncSession::doesStoreLag(const std::vector<const Outcome*>& effective) const
{
    const auto comesDown = [](const Outcome* outcome) { return outcome->comesDown; };
    const auto comesBack = [&](const RecordId& id) { return !isOfKeptCalendar(id, std::nullopt); };
    return hasUntakenOfCalendarSwitchedOn() || !_unread.returning.empty() ||
           !_unreadKept.returning.empty() ||
           std::any_of(effective.begin(), effective.end(), comesDown) ||
           std::any_of(_deletionsNotMade.begin(), _deletionsNotMade.end(), comesBack);
}

bool SyncSession::hasUntakenOfCalendarSwitchedOn() const
{
    return std::any_of(_remote.changes().begin(), _remote.changes().end(), [&](const auto& entry) {
        const auto& [id, change] = entry;
        if (id.conduit != kConduitCalendar && !change.server.parentKey)
            return false;
        const std::string& calendar =
            id.conduit == kConduitCalendar ? id.key : *change.server.parentKey;
        return _knowledge->switchedOff().hasAgreed(calendar) &&
               _local->recordAgreedAs({std::string(kConduitCalendar), calendar}) != nullptr;
    });
}

// What gives way is nowhere else from here on. Where there is no outcome the store alone gives way.
void SyncSession::tellOfConflicts(const std::vector<const Outcome*>& effective)
{
    RecordIdSet settled;
    for (const Outcome* outcome : effective)
        settled.insert(outcome->id);
    for (const OverwrittenText& text : _overwritten) {
        if (settled.count(text.id) != 0 || _outcomes.count(text.id) == 0)
            _setting.log(lineForOverwritten(text));
    }
}

void SyncSession::tellOfTitles()
{
    for (const auto& [title, newTitle] : _retitled) {
        const std::string line = stringWithFormat(
            "Es gibt hier schon einen Kalender '%@'; der neu gekommene heißt jetzt überall '%@'.",
            title, newTitle);
        _setting.summary.notices.push_back(line);
        _setting.log(line);
    }
}

void SyncSession::count(const std::vector<const Outcome*>& effective)
{
    SyncRunSummary& summary = _setting.summary;
    for (const Outcome* outcome : effective) {
        if (outcome->isDeletion()) {
            summary.deletedOnServer += outcome->goesUp ? 1 : 0;
            summary.deletedHere += outcome->comesDown ? 1 : 0;
        } else {
            summary.sent += outcome->goesUp ? 1 : 0;
            summary.received += outcome->comesDown ? 1 : 0;
        }
        if (isDryRun() && (outcome->goesUp || outcome->comesDown))
            summary.staged.push_back({resultRecord(*outcome), outcome->goesUp, outcome->comesDown});
    }
}

}  // namespace kt
