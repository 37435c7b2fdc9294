#include "Sync/Host/Engine/SyncSession.h"

#include <algorithm>
#include <utility>

#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/LoadDigest.h"
#include "Sync/Host/Engine/RecordCoding.h"
#include "Sync/Host/Engine/RecordPast.h"
#include "Sync/Host/Engine/ServerPast.h"

namespace kt {

namespace {

constexpr int kModeFull = 6;
constexpr int kDiffAdditions = 1;
constexpr int kDiffChanges = 2;
constexpr int kDiffDeletions = 4;

}  // namespace

SyncSession::SyncSession(SessionSetting setting)
    : _setting(std::move(setting)),
      _places(_setting.reports.identities, _setting.options.home)
{}

SyncSession::~SyncSession() { close(); }

void SyncSession::close() noexcept
{
    _server.reset();
    _setting.state.rollback();
}

StartResult SyncSession::refuse(StartResult result, const std::string& reason)
{
    close();
    _setting.summary.reasons.push_back(reason);
    _setting.log(reason);
    return result;
}

StartResult SyncSession::start(int mode)
{
    if (!_setting.state.begin())
        return refuse(StartResult::noSession,
                      "Ein anderer Abgleich dieses Geräts ist noch nicht beendet");
    OpenedSession opened =
        _setting.server.openSession(_setting.account, _setting.state.deviceId(),
                                    isDryRun() ? ServerAccess::readOnly : ServerAccess::readWrite);
    if (opened.status == OpenStatus::accountOff)
        return refuse(StartResult::accountOff, opened.reason);
    if (opened.status != OpenStatus::opened)
        return refuse(StartResult::noSession, opened.reason);
    _server = std::move(opened.session);
    takeUnansweredPush();
    _knowledge.emplace(_setting.state);
    _texts.emplace(_setting.reports.losses.losses(), _places, *_knowledge);
    _facts = gatherFacts(mode);
    if (_facts.wantsServer && _facts.serverHoldsNothing && !isSettling())
        return refuse(
            StartResult::noSession,
            "Der Server enthält nichts, womit dieser Kalenderspeicher überschrieben werden "
            "könnte; es wurde nichts geändert. Bitte die Adresse des Servers prüfen.");
    _result = startResult(_facts);
    _isHeld = isHeldByLosses(_facts);
    if (_isHeld)
        logHeld();
    return _result;
}

// Without a common past with this server nothing that is agreed says anything about it, and what
// was seen in a store of one layout says nothing about that of the other.
StartFacts SyncSession::gatherFacts(int mode)
{
    const StateFacts& known = _knowledge->facts();
    const std::int64_t head = _server->headRevision();
    _serverIdentity = _server->serverIdentity();
    StartFacts facts;
    facts.isSettling = isSettling();
    facts.isUnsafe = isUnsafe() && !_setting.options.acceptLosses;
    facts.isUnreadNoMore = kt::isUnreadNoMore(*_texts, *_knowledge, _setting.state);
    facts.overwritesUnread =
        _setting.options.acceptLosses && mayAnyBeUnread(*_texts, *_knowledge, _setting.state);
    facts.hasMark = known.mark.has_value();
    facts.wantsServer = _setting.options.fromServer;
    facts.isFirstMeeting = known.serverIdentity.empty();
    facts.isUnknownServer = !facts.isFirstMeeting && known.serverIdentity != _serverIdentity;
    const std::int64_t highestKnown = std::max(known.anchor, known.anchorAfterSettling);
    facts.isServerOlder =
        !facts.isUnknownServer &&
        (head < highestKnown || (head > highestKnown && contradictsLatest(*_server, *_knowledge)));
    facts.serverHoldsNothing = head == 0;
    facts.asksForFull = mode == kModeFull;
    facts.isOwed = known.owed;
    facts.isOtherStore = known.systemVersion != 0 && _setting.options.systemVersion != 0 &&
                         known.systemVersion != _setting.options.systemVersion;
    _hasBase = !facts.isFirstMeeting && !facts.isUnknownServer && !facts.isOtherStore &&
               !facts.isServerOlder;
    if (isSettling())
        return facts;
    const bool isFull = needsFullComparison(facts) || facts.wantsServer;
    readRemote(isFull ? RemoteChanges::Reach::byHash : RemoteChanges::Reach::byRevision);
    if (_hasBase && _remote.contradictsPast()) {
        facts.isServerOlder = true;
        _hasBase = false;
        readRemote(RemoteChanges::Reach::byHash);
    }
    if (facts.isServerOlder)
        tellOfOlderServer();
    _setting.summary.refused = _remote.refusedCount();
    facts.hasNews = _remote.hasNews();
    return facts;
}

void SyncSession::readRemote(RemoteChanges::Reach reach)
{
    _remote = RemoteChanges(*_server, *_knowledge, reach,
                            _hasBase ? RemoteChanges::Base::agreed : RemoteChanges::Base::none,
                            _setting.log);
}

void SyncSession::logHeld()
{
    _setting.summary.held = true;
    _setting.log(
        "Nicht alles in den Kalendern bliebe beim Schreiben erhalten; bis das behoben ist, gehen "
        "nur lokale Änderungen zum Server");
}

// Only what a rewrite follows on comes down.
SyncRecordList SyncSession::pull()
{
    SyncRecordList records;
    if (!isRewriteExpected(_result))
        return records;
    for (auto& [record, change] : _remote.offer(*_knowledge)) {
        _offered.emplace(record.get(), change);
        records.push_back(std::move(record));
    }
    return records;
}

void SyncSession::noteTaken(const SyncRecordList& remote)
{
    for (const SyncRecord& record : remote) {
        const auto found = _offered.find(record.get());
        if (found != _offered.end())
            found->second->isTaken = !waitsForItsText(found->second->server.id, *found->second) &&
                                     !isSwitchedOffNow(*found->second);
    }
}

SyncResult SyncSession::diff(const SyncRecordList& local,
                             const std::optional<SyncRecordList>& remote, int diffMode)
{
    decideParticipation(local);
    if (isSettling())
        return SyncResult(3);
    _localRecords = withKeptRecordsThatComeBack(_localRecords);
    std::vector<LocalRecord> loaded = loadedRecords(withRecordsThatMoved(_localRecords));
    if (isComparedInVain(loaded))
        return SyncResult(3);
    takePlaces(loaded, _places);
    // Before anything of this server was ever taken, what is new on both sides is no addition to
    // something common.
    const bool isAfterFirstMeeting = _hasBase && _knowledge->facts().anchor != 0;
    const auto base = isAfterFirstMeeting ? LocalRecords::Base::agreed : LocalRecords::Base::none;
    findBuried(loaded, base);
    _local.emplace(std::move(loaded), *_knowledge, _remote, _setting.state, base, reading());
    // A held run writes nothing into the store and takes nothing missing for deleted anyway.
    if (!_isHeld)
        _unread = unreadRecords(*_texts, *_knowledge, *_local, unreadRules(), _setting.state);
    decideMoved();
    noteTaken(remote.value_or(SyncRecordList{}));
    compare();
    if (_hasBase && isWrittenOverUnseen())
        compareWithoutPast();
    return stagedResult(diffMode);
}

// Only what is new can take the name of what is deleted. An item that is new at a first meeting
// does.
void SyncSession::findBuried(const std::vector<LocalRecord>& loaded, LocalRecords::Base base)
{
    std::unordered_map<RecordIdView, int, RecordIdHash> left;  // seen and not given again
    for (const SeenRow& row : _knowledge->seen())
        ++left[row.local];
    std::vector<RecordId> ids;
    for (const LocalRecord& local : loaded) {
        RecordId id{local.record->conduit(), local.record->recordKey()};
        const auto seen = left.find(id);
        const bool isKnown = seen != left.end() && seen->second-- > 0;
        if (!isKnown && (base == LocalRecords::Base::agreed || id.conduit == kConduitCalendar))
            ids.push_back(std::move(id));
    }
    _remote.findBuried(*_server, std::move(ids));
}

void SyncSession::compare()
{
    ComparisonRules rules;
    rules.hasBase = _hasBase;
    rules.isMissingUnread = isMissingUnread();
    rules.isHealing = _facts.hasMark;
    rules.isPutBack = _knowledge->facts().isPutBack;
    rules.unread = &_unread;
    rules.serverWins = overwritesStore();
    Comparison comparison(*_knowledge, _remote, *_local, _setting.state, *_server, rules);
    _outcomes = comparison.outcomes();
    if (!overwritesStore())
        _retitled = tellTitlesApart(_outcomes, *_knowledge, *_local, _setting.state);
    for (auto& [id, outcome] : _outcomes) {
        if (outcome.kind != Outcome::Kind::take)
            continue;
        outcome.hash = contentHash(outcome.record);
        const LocalRecord* local = outcome.isEntered ? _local->recordAgreedAs(id) : nullptr;
        if (local != nullptr)
            outcome.past.origin = originOf(id.conduit, local->place, outcome.hash);
    }
    _deletionsNotMade = comparison.deletionsNotMade();
    _overwritten = comparison.overwritten();
}

// Whether a comparison of just this, with just this past, found nothing to do before. Then it need
// not be made again, nor anything be read for it.
bool SyncSession::isComparedInVain(const std::vector<LocalRecord>& loaded)
{
    const bool isQuiet = _result == StartResult::onlyUp && !_isHeld && !_facts.hasMark &&
                         !needsFullComparison(_facts) && !isDryRun() && _remote.changes().empty() &&
                         _remote.renumbered().empty() && _texts->empty() &&
                         _knowledge->unread().empty() && _knowledge->untaken().empty() &&
                         _knowledge->kept().empty();
    if (!isQuiet)
        return false;
    LoadDigest digest(_knowledge->facts().loadInVain);
    digest.add(Platform::shared().localTimeZoneName());
    digest.add(_serverIdentity);
    for (const LocalRecord& local : loaded)
        digest.add(*local.record, local.hash, _places.viewOf(*local.record));
    _loadDigest = digest.text();
    _isAsBefore = _loadDigest == _knowledge->facts().loadInVain;
    return _isAsBefore;
}

// The plug-in thins the result out by calendar, and knows calendars by their local keys.
SyncRecord SyncSession::resultRecord(const Outcome& outcome) const
{
    const bool isCalendar = outcome.id.conduit == kConduitCalendar;
    std::optional<std::string> parent = outcome.parentKey;
    if (parent)
        parent = _local->localCalendarKey(*parent);
    const bool isRemoval = outcome.kind == Outcome::Kind::remove;
    const LocalRecord* local = isRemoval ? nullptr : _local->recordAgreedAs(outcome.id);
    // What the store gave goes back as it is, which most of a first upload is.
    if (local != nullptr && &local->record->record() == &outcome.record.dictionary() &&
        local->record->recordKey() == outcome.id.key && local->record->recordParentKey() == parent)
        return local->record;
    return std::make_shared<HostSyncRecord>(isRemoval ? kRecordTypeTombstone : kRecordTypeRecord,
                                            outcome.record,
                                            isCalendar ? _local->localCalendarKey(outcome.id.key)
                                                       : outcome.id.key,
                                            parent, outcome.id.conduit);
}

SyncResult SyncSession::stagedResult(int diffMode)
{
    SyncResult result(3);
    _staged.clear();
    for (const auto& [id, outcome] : _outcomes) {
        const bool isRemoval = outcome.kind == Outcome::Kind::remove;
        const std::size_t list = isRemoval ? 2 : (outcome.isNew ? 0 : 1);
        constexpr int bits[] = {kDiffAdditions, kDiffChanges, kDiffDeletions};
        if ((diffMode & bits[list]) == 0)
            continue;
        result[list].push_back(resultRecord(outcome));
        _staged.emplace_back(result[list].back(), &outcome);
    }
    return result;
}

void SyncSession::push(const SyncResult& result)
{
    _handedBack.clear();
    for (const SyncRecordList& list : result) {
        for (const SyncRecord& record : list)
            _handedBack.insert(record.get());
    }
    _isPushed = true;
}

GivenRecords SyncSession::given() const
{
    GivenRecords given;
    if (!_local)
        return given;
    given.reserve(_local->all().size());
    for (const LocalRecord& local : _local->all()) {
        if (!local.isLeftOver)
            given.add(local.agreedId, local.record, local.hash);
    }
    return given;
}

void SyncSession::keep(const SyncRecordList& records)
{
    _keptRecords =
        withGroupsThatAreUnread(_participation ? _participation->kept(records) : records);
}

}  // namespace kt
