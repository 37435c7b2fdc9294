#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Sync/Host/Engine/ClashingTitles.h"
#include "Sync/Host/Engine/Comparison.h"
#include "Sync/Host/Engine/GivenRecords.h"
#include "Sync/Host/Engine/HostReports.h"
#include "Sync/Host/Engine/KeptRecords.h"
#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/Host/Engine/LocalRecords.h"
#include "Sync/Host/Engine/MassDeletion.h"
#include "Sync/Host/Engine/MovedRecords.h"
#include "Sync/Host/Engine/Participation.h"
#include "Sync/Host/Engine/RemoteChanges.h"
#include "Sync/Host/Engine/SeenUpdate.h"
#include "Sync/Host/Engine/StandingRecords.h"
#include "Sync/Host/Engine/StartResult.h"
#include "Sync/Host/Engine/SyncRunOptions.h"
#include "Sync/Host/Engine/TakenTitles.h"
#include "Sync/Host/Engine/UnreadRecords.h"
#include "Sync/Host/Server/SyncServer.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

struct HandedRecord;

/// What a session works with. Nothing is owned; all outlives the session.
struct SessionSetting {
    LocalState& state;
    SyncServer& server;
    std::string account;
    const SyncRunOptions& options;
    HostReports& reports;  // of the load that the session begins with
    std::function<void(std::string_view)> log;
    SyncRunSummary& summary;
    const StandingRecords* standing = nullptr;  // of the session that a settling run follows
};

/// One session: one transaction in the state file and one on the server, from startSync to
/// finishSync. Nothing of it takes effect before finish(), and nothing at all unless a result was
/// pushed. Every operation throws Exception when state or server fail; the session is then only
/// good for close().
class SyncSession {
public:
    explicit SyncSession(SessionSetting setting);
    ~SyncSession();
    SyncSession(const SyncSession&) = delete;
    SyncSession& operator=(const SyncSession&) = delete;

    /// `mode` 5 or 6. On 0 and 7 nothing stays open, and the summary says why.
    StartResult start(int mode);
    SyncRecordList pull();
    /// The lists of additions, changes and deletions; `diffMode` 1, 2 and 4 (in sum) ask for each
    /// of them, a list that is not asked for is empty.
    SyncResult diff(const SyncRecordList& local, const std::optional<SyncRecordList>& remote,
                    int diffMode);
    void push(const SyncResult& result);
    void keep(const SyncRecordList& records);
    /// False when the session is refused or could not be completed; nothing has taken effect then.
    bool finish();
    /// Undoes what did not take effect. Never throws.
    void close() noexcept;

    bool isPushed() const { return _isPushed; }
    /// The store's records under the ids they are agreed under after the session, where it compared
    /// them.
    GivenRecords given() const;
    /// What a rewrite after this session has nothing to do with; empty where that cannot be told.
    /// After finish().
    StandingRecords standing() const;
    /// What is agreed after a session that took effect, by conduit and key; nullopt where that is
    /// read from the state as well. At the very end: the session does not know it any more.
    std::optional<std::vector<AgreedRow>> takeAgreedRows();

private:
    StartResult refuse(StartResult result, const std::string& reason);
    StartFacts gatherFacts(int mode);
    bool isComparedInVain(const std::vector<LocalRecord>& loaded);
    void noteTaken(const SyncRecordList& remote);
    void readRemote(RemoteChanges::Reach reach);
    void findBuried(const std::vector<LocalRecord>& loaded, LocalRecords::Base base);
    void compare();
    bool isWrittenOverUnseen();
    void compareWithoutPast();
    void tellOfOlderServer();
    bool waitsForItsText(const RecordId& id, const RemoteChange& change);
    bool isPlaceTaken(const RecordId& id, const RemoteChange& change);
    void replace(SyncRecord& record, SyncRecord other);
    SyncRecordList withGroupsThatAreUnread(const SyncRecordList& records);
    SyncRecordList withKeptRecordsThatComeBack(const SyncRecordList& records);
    void decideParticipation(const SyncRecordList& given);
    bool isSwitchedOffNow(const RemoteChange& change) const;
    bool isOfStayingCalendar(const Outcome& outcome) const;
    void tellOfSwitches();
    void tellOfRenamed(const SeenUpdate& update);
    SyncRecordList withRecordsThatMoved(const SyncRecordList& records);
    bool isKnownElsewhere(const std::string& localCalendarKey) const;
    void decideMoved();
    void putAside(const RecordId& id, const SeenRow* row);
    void writeSeenOfMoved();
    bool wasSwitchedOffAndIsGone(const std::string& agreedCalendarKey) const;
    bool lacksWitness(const Outcome& outcome) const;
    void tellOfGoneCalendars(const std::vector<const Outcome*>& effective);
    void decideKept();
    void keepWhatIsMissed();
    SyncRecord keptAsLocal(const KeptRow& row);
    bool isUnreadKept(const KeptRow& row) const;
    bool isRowUnread(const SeenRow& row) const;
    SyncRecord resultRecord(const Outcome& outcome) const;
    SyncResult stagedResult(int diffMode);

    void takeUnansweredPush();
    void takeAsAgreed(const PushedRow& pushed, const ServerRecord& record,
                      const std::unordered_map<RecordId, SeenRow, RecordIdHash>& before);
    void notePush(const std::vector<const Outcome*>& effective);

    bool takeEffect();
    bool finishSettling();
    bool settleRecords();
    bool proveAndMakeSeen();
    std::optional<StandingRecords::Rest> recordsThatDoNotStand() const;
    std::vector<std::optional<std::string>> proveRewrite(const std::vector<std::string>& hashes);
    void leaveOutWhatWasUnread(const SettlingCheck& check,
                               const std::vector<std::optional<std::string>>& agreedKeys);
    void leaveOutWhatWasKept(const std::vector<HandedRecord>& handed,
                             const std::vector<std::optional<std::string>>& agreedKeys);
    void makeSeen(const std::vector<std::optional<std::string>>& agreedKeys,
                  const std::vector<std::string>& hashes);
    std::vector<const Outcome*> effectiveOutcomes();
    SwitchedOffCalendars switchedOffAfterwards() const;
    bool isSwitchedOn(const KeptRow& row) const { return _switchedOn.count(calendarOf(row)) != 0; }
    bool isOfKeptCalendar(const RecordId& id, const std::optional<std::string>& parentKey) const;
    std::optional<std::string> reasonAgainst(const std::vector<const Outcome*>& effective) const;
    std::optional<std::string> reasonAgainstRewrite(
        const std::vector<const Outcome*>& effective) const;
    void countWhatWentBack(MassDeletionFacts& facts) const;
    std::int64_t writeToServer(const std::vector<const Outcome*>& effective);
    void writeAgreed(const std::vector<const Outcome*>& effective, std::int64_t revision);
    void writeUntaken(const std::vector<const Outcome*>& effective);
    void writeKept();
    void writeUnread();
    void writeUnreadTexts(StateFacts& facts);
    void tellOfTexts();
    void tellOfConflicts(const std::vector<const Outcome*>& effective);
    void tellOfTitles();
    void writeSeen(const std::vector<const Outcome*>& effective);
    void writeFacts(const std::vector<const Outcome*>& effective, std::int64_t head);
    bool isAllQuiet(const std::vector<const Outcome*>& effective) const;
    bool doesStoreLag(const std::vector<const Outcome*>& effective) const;
    bool hasUntakenOfCalendarSwitchedOn() const;
    void count(const std::vector<const Outcome*>& effective);
    void logHeld();

    bool isSettling() const { return _setting.options.settling.has_value(); }
    bool isUnsafe() const { return _setting.reports.losses.hasKind(KTLoss::Kind::unsafe); }
    bool isMissingUnread() const { return isUnsafe() || (_facts.hasMark && !isSettling()); }
    UnreadRules unreadRules() const
    {
        return {_facts.hasMark && !isSettling(), _setting.options.acceptLosses};
    }
    KeptMissing keptMissing() const
    {
        return isMissingUnread() || isSettling() ? KeptMissing::stillThere : KeptMissing::deleted;
    }
    StoreReading reading() const { return {_places, *_texts, _offNow}; }
    bool isDryRun() const { return _setting.options.dryRun; }
    bool overwritesStore() const
    {
        return _result == StartResult::overwrittenLater ||
               _result == StartResult::overwrittenAtFirst;
    }

    SessionSetting _setting;
    std::unique_ptr<SyncServerSession> _server;
    std::optional<Knowledge> _knowledge;
    StorePlaces _places;
    std::optional<UnreadTexts> _texts;
    UnreadRecords _unread;      // agreed records
    UnreadRecords _unreadKept;  // kept records
    RemoteChanges _remote;
    std::string _loadDigest;  // empty where the comparison depends on more than the load
    bool _isAsBefore = false;
    std::optional<LocalRecords> _local;
    std::map<RecordId, Outcome> _outcomes;
    std::vector<RecordId> _deletionsNotMade;
    std::vector<OverwrittenText> _overwritten;
    std::vector<Retitled> _retitled;
    std::vector<MovedRecord> _moved;  // into calendars that do not take part
    RecordIdSet _movedIds;            // those of them that the others are told of

    StartFacts _facts;
    StartResult _result = StartResult::noSession;
    bool _hasBase = true;
    bool _isPastLost = false;  // found out while records were compared
    bool _isHeld = false;
    std::string _serverIdentity;

    std::unordered_map<const KTSyncRecord*, RemoteChange*> _offered;
    std::vector<std::pair<SyncRecord, const Outcome*>> _staged;
    std::unordered_set<const KTSyncRecord*> _handedBack;
    bool _isPushed = false;
    // What this session wrote, while that is little.
    std::optional<std::map<RecordId, std::optional<AgreedRow>>> _agreedChanges;
    std::int64_t _stateVersion = 0;  // versionOfOthers when this one was about to take effect
    SyncRecordList _localRecords;
    std::optional<Participation> _participation;
    SwitchedOffCalendars _offNow;             // as the load says; empty where it tells nothing
    std::optional<TakenTitles> _takenTitles;  // once asked for
    CalendarKeysNow _switchedOn;              // kept calendars that take part
    CalendarKeysNow _stillOff;                // kept calendars that are kept again
    std::optional<SyncRecordList> _keptRecords;
    SwitchedOffCalendars _switchedOff;  // at the end
    KeptNames _keptNames;
    RecordIdSet _keptAndRead;  // kept so far, and read in a calendar that is switched on now, or in
                               // another one than before
    std::vector<std::pair<KeptRow, const SeenRow*>> _keptFromSeen;  // to be kept as they were seen
};

}  // namespace kt
