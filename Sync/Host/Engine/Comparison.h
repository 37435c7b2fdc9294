#pragma once

#include <map>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/Host/Engine/LocalRecords.h"
#include "Sync/Host/Engine/OverwrittenText.h"
#include "Sync/Host/Engine/RecordContent.h"
#include "Sync/Host/Engine/RecordPast.h"
#include "Sync/Host/Engine/RemoteChanges.h"
#include "Sync/Host/Engine/UnreadRecords.h"

namespace kt {

/// What a session makes of one record, while nothing of it has taken effect yet.
struct Outcome {
    enum class Kind {
        take,    // `record` is what both sides have afterwards
        remove,  // neither side has it afterwards
    };

    RecordId id;  // agreed key
    Kind kind = Kind::take;
    RecordContent record;    // a removed record's last content
    std::string hash{};      // contentHash of it, once the comparison is over and if it is taken
    RecordPast past{};       // of what is taken
    bool isEntered = false;  // nobody had it before: what it is now says its origin
    std::optional<std::string>
        parentKey;                    // agreed key of the item's calendar, of the calendar's group
    bool isNew = false;               // was not agreed before
    bool goesUp = false;              // the server has to be told
    bool comesDown = false;           // the store does not have it so
    std::int64_t serverRevision = 0;  // what is agreed when nothing goes up; 0: with nobody

    bool isDeletion() const { return kind == Kind::remove; }
};

/// Under which circumstances records are compared.
struct ComparisonRules {
    /// No common past with this server: nothing is deleted, and a field that only one side has is
    /// taken.
    bool hasBase = true;
    /// Something could not be read, or a rewrite was not settled: what is missing in the store was
    /// not deleted.
    bool isMissingUnread = false;
    /// A rewrite was not settled: the store may hold what was seen before it, what is agreed, or
    /// half of each.
    bool isHealing = false;
    /// ... and was put back from a backup since: what is older there is nobody's edit.
    bool isPutBack = false;
    /// The user wants the server's state; what this device changed does not count.
    bool serverWins = false;
    /// What is missing in the store because its text cannot be read, or could not so far: it was
    /// not deleted. Not owned, never null while records are compared.
    const UnreadRecords* unread = nullptr;
};

/// Compares, record by record, what the store gives with what it gave (*seen*), and what the server
/// has with what was *agreed*, and applies the changes of both to what was agreed.
class Comparison {
public:
    Comparison(const Knowledge& knowledge, RemoteChanges& remote, const LocalRecords& local,
               LocalState& state, SyncServerSession& server, const ComparisonRules& rules);

    /// Only records for which something is to be done, by conduit and key. Throws Exception when
    /// state or server fail.
    std::map<RecordId, Outcome> outcomes();

    /// Agreed records that are gone from the store and stay agreed, since the server has an edit of
    /// them: the store has to get them back. Known once there are outcomes.
    const std::vector<RecordId>& deletionsNotMade() const { return _deletionsNotMade; }

    /// What somebody wrote and what gives way to another's text if the outcomes stand. Known once
    /// there are outcomes.
    const std::vector<OverwrittenText>& overwritten() const { return _overwritten; }

private:
    /// What this device did to a record.
    struct LocalWish {
        enum class Kind { none, deleted, changed };
        Kind kind = Kind::none;
        Dictionary record;               // under agreed keys, when changed
        std::vector<std::string> units;  // what changed in it
    };

    void compareAgreed(const AgreedRow& agreed);
    void compareNew(const RecordId& id, const LocalRecord* local, const RemoteChange* remote);
    void meetsNew(const LocalRecord& local, const Dictionary& own, const RemoteChange& remote);
    void overwriteWithServer();
    void dropLocal(const LocalRecord& local);

    LocalWish wishFor(const AgreedRow& agreed, const LocalRecord* local);
    LocalWish wishWhileHealing(const AgreedRow& agreed, const LocalRecord& local);
    std::pair<Dictionary, std::string> beforeRewrite(const AgreedRow& agreed,
                                                     const LocalRecord& local,
                                                     const Dictionary& target);
    LocalWish wishWithoutSeen(const AgreedRow& agreed, const LocalRecord& local);
    bool isLeftBehind(const LocalRecord& local);
    std::vector<std::string> changesSinceSeen(const LocalRecord& local);
    Dictionary withWish(const Dictionary& agreed, const LocalWish& wish);

    void goesUpAgain(const AgreedRow& agreed, const LocalWish& wish);
    void meetsRecord(const AgreedRow& agreed, const LocalWish& wish, const RemoteChange& remote);
    Dictionary mergedOntoPast(const AgreedRow& agreed, const Dictionary& base,
                              const LocalWish& wish, const RemoteChange& remote);
    void meetsWithoutPast(const AgreedRow& agreed, const Dictionary& own,
                          const RemoteChange& remote);
    void meetsTombstone(const AgreedRow& agreed, const LocalWish& wish, const RemoteChange& remote);
    void meetsNothing(const AgreedRow& agreed, const LocalWish& wish);
    void meetsRefused(const AgreedRow& agreed, const LocalWish& wish);

    Outcome& take(const RecordId& id, RecordContent record);
    Outcome& takeHereOnly(const RecordId& id, RecordContent record);
    Outcome& remove(const AgreedRow& agreed);
    void takeMerged(const RecordId& id, RecordContent merged, const RemoteChange& remote);
    void noteOverwritten(const RecordId& id, const SettledConflict& conflict);

    /// A calendar's place among others is no edit that would beat a deletion: it also changes when
    /// another one is moved.
    static bool isOnlyRenumbered(const std::vector<std::string>& units);
    bool isOnlyRenumbered(const AgreedRow& agreed, const RemoteChange& remote);
    void keepSequences();
    void notePasts();
    std::string groupOf(const LocalRecord& local) const;
    bool hasNewPlace(const LocalRecord& local);
    void takeNumber(const LocalRecord& local);

    void bringCalendarsBack();
    void bringBack(const std::string& calendarKey);
    std::unordered_set<std::string> calendarsWithLiveChanges() const;

    const Knowledge& _knowledge;
    RemoteChanges& _remote;
    const LocalRecords& _local;
    LocalState& _state;
    SyncServerSession& _server;
    ComparisonRules _rules;
    std::map<RecordId, Outcome> _outcomes;
    std::vector<RecordId> _deletionsNotMade;
    std::vector<OverwrittenText> _overwritten;
};

}  // namespace kt
