#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/Host/Engine/RecordContent.h"
#include "Sync/Host/Engine/RemoteChanges.h"
#include "Sync/Host/Engine/SwitchedOffCalendars.h"
#include "Sync/Host/Engine/UnreadTexts.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// One record of the store and what the engine knows it as.
struct LocalRecord {
    SyncRecord record;  // as the plug-in gave it
    std::string hash;   // of its content, under local keys
    StorePlace place;   // empty when nothing was told of it
    RecordId agreedId;  // what it is, or will be, agreed under
    const SeenRow* seen =
        nullptr;  // what it was at the end of the last settled run; null when it is new
    bool isLeftOver =
        false;  // comes from a rewrite and belongs to no agreed record; agreedId has no key
};

/// Makes the record the one that the row says was seen.
void takeRow(LocalRecord& record, const SeenRow& row);

/// The records of a load that are none but null, with their hashes, and without place and name yet.
std::vector<LocalRecord> loadedRecords(const SyncRecordList& records);
void takePlaces(std::vector<LocalRecord>& loaded, const StorePlaces& places);

/// What a load told beside the records. Nothing is owned.
struct StoreReading {
    const StorePlaces& places;
    const UnreadTexts& texts;
    const SwitchedOffCalendars& switchedOff;
};

/// The records of one run's store under the keys they are agreed under.
///
/// What the store itself knows by the same identity is the same record, whatever was edited in it
/// and whatever its key has become by that (IdentityPairing.h). The rest goes by keys.
///
/// Equal keys are told apart here: of several records of one conduit and key, whatever equals what
/// was seen keeps the name it had; what equals a record that is agreed or on the server under one
/// of the key's names takes that; the rest take the names that are left, the key itself first, then
/// the key with `-2`, `-3` behind it, in load order. A record with RecurrenceId never takes the
/// bare key while another is there: its series is found by that. Before content, UID and file tell
/// which is which, and the name of a record that may be unread at present is nobody else's.
///
/// While a rewrite is not settled the store may hold what was handed out for it under keys that it
/// was never seen with. So what equals nothing that was seen is first looked for there, in the way
/// in which settling does.
class LocalRecords {
public:
    /// Without a base equal names mean the same record, but for tasks that contradict each other;
    /// with one, what is new here and what is new on the server is the same only where nothing
    /// contradicts, and a task never: its key holds nothing but its title.
    enum class Base { agreed, none };

    LocalRecords(std::vector<LocalRecord> loaded, const Knowledge& knowledge,
                 const RemoteChanges& remote, LocalState& state, Base base,
                 const StoreReading& reading);

    const std::vector<LocalRecord>& all() const { return _records; }
    /// Null when the store has no such record.
    const LocalRecord* recordAgreedAs(const RecordId& id) const;

    /// Whether one of the store's records is what that row was.
    bool isRowTaken(const SeenRow& row) const { return _rowsTaken[_knowledge.numberOf(row)]; }

    /// The record's dictionary with the agreed keys of other records in place of local ones.
    Dictionary underAgreedKeys(const LocalRecord& record) const;
    /// The same, shared with the record where that needs no other keys.
    RecordContent contentUnderAgreedKeys(const LocalRecord& record) const;
    /// A calendar's key as the plug-in knows it.
    const std::string& localCalendarKey(const std::string& agreedKey) const;
    /// Whether a calendar of that key takes part.
    bool hasCalendar(const std::string& localKey) const { return _calendars.count(localKey) != 0; }

private:
    using Claims = std::unordered_set<RecordId, RecordIdHash>;
    struct Groups;

    void takeWhatIsKnown(Groups& groups);
    Claims nameWhatWasHandedOut(LocalState& state);
    void indexAgreedKeys(const SwitchedOffCalendars& switchedOff);

    const Knowledge& _knowledge;
    std::vector<LocalRecord> _records;
    std::vector<bool> _rowsTaken;  // in the order of the rows
    std::unordered_map<RecordIdView, std::size_t, RecordIdHash> _byAgreedId;
    std::unordered_set<std::string> _calendars;  // local keys
    std::unordered_map<std::string, std::string> _agreedCalendarKeys;
    std::unordered_map<std::string, std::string> _localCalendarKeys;
    std::unordered_map<std::string, std::string> _agreedEventKeys;  // only where they differ
};

}  // namespace kt
