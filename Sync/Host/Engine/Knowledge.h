#pragma once

#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Sync/Host/Engine/LocalState.h"

namespace kt {

/// What the state file said when a session began, without the records' contents.
class Knowledge {
public:
    explicit Knowledge(LocalState& state);

    const StateFacts& facts() const { return _facts; }
    const std::vector<AgreedRow>& agreed() const { return _agreed; }
    const std::vector<SeenRow>& seen() const { return _seen; }
    const std::vector<KeptRow>& kept() const { return _kept; }
    const std::vector<UntakenRow>& untaken() const { return _untaken; }
    const std::vector<UnreadRow>& unread() const { return _unread; }
    const std::vector<UnreadTextRow>& unreadTexts() const { return _unreadTexts; }

    /// Null when there is no such record.
    const AgreedRow* agreedRow(const RecordId& id) const;
    const UntakenRow* untakenRow(const RecordId& id) const;
    /// The row that says what the store gave for an agreed record; null when it was never seen.
    const SeenRow* seenOfAgreed(const RecordId& agreedId) const;

    /// Null when the record was not unread at the end of the last run.
    const UnreadRow* unreadRow(UnreadRow::Whose whose, const RecordId& id) const;

    /// Local keys of the calendars that were switched off in the last run.
    const std::unordered_set<std::string>& keptCalendars() const { return _keptCalendars; }

    /// A calendar's key as the plug-in computes it, for the key it is agreed under. A calendar that
    /// was never seen has one key.
    const std::string& localCalendarKey(const std::string& agreedKey) const;

private:
    using RowIndex = std::unordered_map<RecordId, std::size_t, RecordIdHash>;

    StateFacts _facts;
    std::vector<AgreedRow> _agreed;
    std::vector<SeenRow> _seen;
    std::vector<KeptRow> _kept;
    std::vector<UntakenRow> _untaken;
    std::vector<UnreadRow> _unread;
    std::vector<UnreadTextRow> _unreadTexts;
    RowIndex _agreedIndex;
    RowIndex _untakenIndex;
    RowIndex _seenByAgreed;
    RowIndex _unreadAgreedIndex;
    RowIndex _unreadKeptIndex;
    std::unordered_set<std::string> _keptCalendars;
    std::unordered_map<std::string, std::string> _localCalendarKeys;  // only where they differ
};

}  // namespace kt
