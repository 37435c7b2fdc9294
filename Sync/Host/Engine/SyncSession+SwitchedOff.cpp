// What happens in and to calendars that do not take part, and concerns others all the same.

#include <algorithm>
#include <utility>

#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Engine/SyncSession.h"

namespace kt {

namespace {

using Whose = UnreadRow::Whose;

}  // namespace

// The plug-in's keys say which switch is whose; what the store knows its calendars by says more.
void SyncSession::decideParticipation(const SyncRecordList& given)
{
    const SyncRunOptions& options = _setting.options;
    const bool isUnsettled = _facts.hasMark || isSettling();
    _participation.emplace(given, _places, *_knowledge, _setting.state, options.switches,
                           isUnsettled ? Participation::Rewrite::unsettled
                                       : Participation::Rewrite::settled);
    _localRecords = withGroupsThatAreUnread(_participation->active());
    _offNow =
        switchedOffCalendars(_participation->off(), _localRecords, _places, *_knowledge, _remote);
    _switchedOn = calendarKeysNow(_localRecords, _places, *_knowledge);
}

// The plug-in lets the changes of one pass that is switched off under its former title.
bool SyncSession::isSwitchedOffNow(const RemoteChange& change) const
{
    const ServerRecord& server = change.server;
    const std::string calendar =
        server.id.conduit == kConduitCalendar ? server.id.key : server.parentKey.value_or("");
    const auto& renamed = _participation->renamed();
    return std::any_of(renamed.begin(), renamed.end(), [&](const auto& keys) {
        return _offNow.agreedKey(keys.second) == calendar;
    });
}

// The plug-in thins out what concerns it.
bool SyncSession::isOfStayingCalendar(const Outcome& outcome) const
{
    const std::string calendar =
        outcome.id.conduit == kConduitCalendar ? outcome.id.key : outcome.parentKey.value_or("");
    return _participation &&
           _participation->staying().count(_local->localCalendarKey(calendar)) != 0;
}

// Before the state says so: a run that is cut off in between finds the same again.
void SyncSession::tellOfSwitches()
{
    if (!_participation || !_setting.options.renameSwitch)
        return;
    for (const auto& [former, now] : _participation->renamed())
        _setting.options.renameSwitch(former, now);
}

void SyncSession::tellOfRenamed(const SeenUpdate& update)
{
    auto& renamed = _setting.summary.renamedCalendars;
    renamed.insert(renamed.end(), update.renamed().begin(), update.renamed().end());
}

// An item that left for a switched-off calendar is an edit of that item, and the last one that the
// others hear of as long as its calendar is off.
SyncRecordList SyncSession::withRecordsThatMoved(const SyncRecordList& records)
{
    SyncRecordList all = records;
    _moved = movedIntoSwitchedOff(records, _participation->off(), _offNow, _places, *_knowledge);
    for (const MovedRecord& moved : _moved) {
        if (isKnownElsewhere(moved.record->recordParentKey().value_or("")))
            all.push_back(moved.record);
    }
    return all;
}

// Whether the others have the calendar that something moved to.
bool SyncSession::isKnownElsewhere(const std::string& localCalendarKey) const
{
    const auto agreedKey = _offNow.agreedKey(localCalendarKey);
    if (!agreedKey)
        return false;
    const RecordId id{std::string(kConduitCalendar), *agreedKey};
    const AgreedRow* agreed = _knowledge->agreedRow(id);
    const RemoteChange* remote = _remote.change(id);
    const bool isThere = remote == nullptr ? !_remote.isMissingOnServer(id)
                                           : !remote->server.isTombstone && !remote->isRefused;
    return _hasBase && !overwritesStore() && agreed != nullptr &&
           _remote.revisionOf(*agreed) != 0 && isThere;
}

// What cannot be said to the others stays with them where it is, until its calendar takes part.
void SyncSession::decideMoved()
{
    for (const MovedRecord& moved : _moved) {
        const RecordId id = moved.agreedId();
        const LocalRecord* local = _local->recordAgreedAs(id);
        if (local != nullptr && local->record == moved.record)
            _movedIds.insert(id);
        else if (local == nullptr)
            putAside(id, moved.row);
    }
    for (const UnreadRow& row : _knowledge->unread()) {
        if (row.whose != Whose::moved || _unread.moved.count(row.id) != 0 ||
            _local->recordAgreedAs(row.id) != nullptr || _knowledge->agreedRow(row.id) == nullptr)
            continue;
        const SeenRow* seen = _knowledge->seenOfAgreed(row.id);
        if (!_texts->empty() || isMissingUnread()) {
            putAside(row.id, seen);
        } else {
            // Its calendar was read without it: now it is deleted.
            _unread.returning.erase(row.id);
            _unread.rows.erase(seen);
        }
    }
}

void SyncSession::putAside(const RecordId& id, const SeenRow* row)
{
    _unread.unread.insert(id);
    _unread.moved.insert(id);
    _unread.returning.erase(id);
    if (row != nullptr)
        _unread.rows.insert(row);
}

// Where the store is rewritten nothing else says what was seen of it, as long as its calendar does
// not take part.
void SyncSession::writeSeenOfMoved()
{
    if (!isRewriteExpected(_result))
        return;
    for (const RecordId& id : _movedIds) {
        const LocalRecord& local = *_local->recordAgreedAs(id);
        SeenRow row = *local.seen;
        row.local = {local.record->conduit(), local.record->recordKey()};
        row.localParentKey = local.record->recordParentKey();
        row.hash = local.hash;
        row.timezone = Platform::shared().localTimeZoneName();
        row.place = local.place;
        _setting.state.setSeen(row, local.record->record());
    }
}

bool SyncSession::wasSwitchedOffAndIsGone(const std::string& agreedCalendarKey) const
{
    return _knowledge->switchedOff().hasAgreed(agreedCalendarKey) &&
           !_switchedOff.hasAgreed(agreedCalendarKey) &&
           _local->recordAgreedAs({std::string(kConduitCalendar), agreedCalendarKey}) == nullptr;
}

// Of a calendar that was never seen itself nobody can say that it was here and was deleted.
bool SyncSession::lacksWitness(const Outcome& outcome) const
{
    const std::string* calendar = nullptr;
    if (outcome.id.conduit == kConduitCalendar)
        calendar = &outcome.id.key;
    else if (outcome.parentKey)
        calendar = &*outcome.parentKey;
    return outcome.goesUp && outcome.isDeletion() && calendar != nullptr &&
           wasSwitchedOffAndIsGone(*calendar) &&
           _knowledge->seenOfAgreed({std::string(kConduitCalendar), *calendar}) == nullptr;
}

void SyncSession::tellOfGoneCalendars(const std::vector<const Outcome*>& effective)
{
    for (const Outcome* outcome : effective) {
        const bool isTold = outcome->goesUp && outcome->isDeletion() &&
                            outcome->id.conduit == kConduitCalendar &&
                            wasSwitchedOffAndIsGone(outcome->id.key);
        if (!isTold)
            continue;
        const auto items = std::count_if(effective.begin(), effective.end(), [&](const auto* each) {
            return each->goesUp && each->isDeletion() && each->id.conduit != kConduitCalendar &&
                   each->parentKey == outcome->id.key;
        });
        const std::string line = stringWithFormat(
            "Der ausgeschaltete Kalender '%@' fehlt hier und wird auf allen Geräten gelöscht, mit "
            "%d %@.",
            outcome->record["Title"], static_cast<int>(items),
            items == 1 ? "Eintrag" : "Einträgen");
        _setting.summary.notices.push_back(line);
        _setting.log(line);
    }
}

}  // namespace kt
