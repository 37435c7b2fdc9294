#pragma once

#include <string>
#include <unordered_set>
#include <vector>

#include "Sync/Host/Engine/LocalRecords.h"
#include "Sync/Host/Engine/UnreadTexts.h"

namespace kt {

using RecordIdSet = std::unordered_set<RecordId, RecordIdHash>;

/// How this run deals with unread texts.
struct UnreadRules {
    bool isHealing = false;      // a rewrite was not settled
    bool isOverwriting = false;  // the user wants what is known written over the texts
};

/// What is missing in a load because of its unread texts.
struct UnreadRecords {
    RecordIdSet unread;     // neither deleted nor written; changes of the server wait
    RecordIdSet moved;      // of `unread`: now in a switched-off calendar
    RecordIdSet returning;  // not deleted either, and to be written: the text is gone or given up
    std::unordered_set<const SeenRow*> rows;  // of both; they stay
    std::vector<bool> givenUp;                // texts that make way, in their order
    std::unordered_set<std::string> parents;  // agreed keys of calendars that hold unread texts
    std::unordered_set<std::string> closed;   // local keys of calendars that are unread as a whole

    bool isMissed(const RecordId& id) const { return unread.count(id) + returning.count(id) != 0; }
};

/// Agreed records. Those of calendars that are switched off are no concern of this.
UnreadRecords unreadRecords(const UnreadTexts& texts, const Knowledge& knowledge,
                            const LocalRecords& local, const UnreadRules& rules, LocalState& state);

/// Kept records of which `present` (kept ids) were read; calendars and rows stay empty.
UnreadRecords unreadKeptRecords(const UnreadTexts& texts, const Knowledge& knowledge,
                                const RecordIdSet& present, const UnreadRules& rules,
                                LocalState& state);

/// What the state says of a record's place, for asking texts.
KnownRecord knownRecord(const SeenRow& row, const Knowledge& knowledge, const UnreadTexts& texts);
KnownRecord knownRecord(const KeptRow& row, const Knowledge& knowledge, const UnreadTexts& texts);
KnownRecord knownRecord(const AgreedRow& row, const Knowledge& knowledge, const UnreadTexts& texts,
                        LocalState& state);

/// Whether a record that was unread so far cannot be any of the texts any more: it can be read
/// again, or its text is gone.
bool isUnreadNoMore(const UnreadTexts& texts, const Knowledge& knowledge, LocalState& state);
/// Whether any known record may be one of the texts.
bool mayAnyBeUnread(const UnreadTexts& texts, const Knowledge& knowledge, LocalState& state);

}  // namespace kt
