#pragma once

#include <optional>
#include <unordered_map>
#include <vector>

#include "Sync/Host/Engine/LocalState.h"
#include "Sync/Host/Engine/SwitchedOffCalendars.h"

namespace kt {

/// Some of the records that the state has rows of.
struct KnowledgePart {
    std::vector<RecordId> agreed;    // and what the rows of `seen` belong to
    std::vector<std::int64_t> seen;  // numbers of the rows
};

/// What the state file said when a session began, without the records' contents. The many rows of
/// agreed and seen are read when they are first asked for: before either is written to.
class Knowledge {
public:
    /// The state is not owned and outlives this.
    explicit Knowledge(LocalState& state);
    /// Of agreed and seen, only that part.
    Knowledge(LocalState& state, const KnowledgePart& part);
    /// With what is agreed as it is known already.
    Knowledge(LocalState& state, std::vector<AgreedRow> agreed);
    Knowledge(const Knowledge&) = delete;
    Knowledge& operator=(const Knowledge&) = delete;

    const StateFacts& facts() const { return _facts; }
    const std::vector<AgreedRow>& agreed() const { return allAgreed().rows; }
    const std::vector<SeenRow>& seen() const { return allSeen().rows; }
    const std::vector<KeptRow>& kept() const { return _kept; }
    const std::vector<UntakenRow>& untaken() const { return _untaken; }
    const std::vector<UnreadRow>& unread() const { return _unread; }
    const std::vector<UnreadTextRow>& unreadTexts() const { return _unreadTexts; }

    /// The rows of agreed, which are not there any more afterwards.
    std::vector<AgreedRow> takeAgreedRows();

    /// Null when there is no such record.
    const AgreedRow* agreedRow(const RecordId& id) const;
    std::size_t numberOf(const AgreedRow& row) const
    {
        return static_cast<std::size_t>(&row - agreed().data());
    }
    const UntakenRow* untakenRow(const RecordId& id) const;
    /// The row that says what the store gave for an agreed record; null when it was never seen.
    const SeenRow* seenOfAgreed(const RecordId& agreedId) const;
    /// Its number among the rows.
    std::size_t numberOf(const SeenRow& row) const
    {
        return static_cast<std::size_t>(&row - seen().data());
    }

    /// What the store gave for a record in a session that is not over; null when there is none.
    const PushedRow* pushedRow(const RecordId& agreedId) const;
    const std::vector<PushedRow>& pushed() const { return _pushed; }

    /// Null when the record was not unread at the end of the last run. What moved out of sight
    /// counts as an agreed one.
    const UnreadRow* unreadRow(UnreadRow::Whose whose, const RecordId& id) const;

    /// The calendars that were switched off in the last run.
    const SwitchedOffCalendars& switchedOff() const { return _switchedOff; }
    /// What the store gave for a calendar at the end of the last settled run, by its folder or the
    /// key it had then. Null when there was none, or several in one folder.
    const SeenRow* seenCalendarIn(const std::string& folder) const;
    const SeenRow* seenCalendarUnder(const std::string& localKey) const;

    /// A calendar's key as the plug-in computes it, for the key it is agreed under. A calendar that
    /// was never seen has one key.
    const std::string& localCalendarKey(const std::string& agreedKey) const;
    /// The other way round.
    const std::string& agreedCalendarKey(const std::string& localKey) const;
    /// A record as it was seen, with the agreed keys of other records in place of local ones.
    Dictionary underAgreedKeys(Dictionary seenRecord) const;

private:
    using RowIndex = std::unordered_map<RecordIdView, std::size_t, RecordIdHash>;  // into the rows

    struct Agreed {
        std::vector<AgreedRow> rows;
        mutable std::optional<RowIndex> byId{};  // once it is asked for
    };
    struct Seen {
        std::vector<SeenRow> rows;
        RowIndex byAgreedId;
        // Only where they differ.
        std::unordered_map<std::string, std::string> localCalendarKeys;
        std::unordered_map<std::string, std::string> agreedCalendarKeys;
        std::unordered_map<std::string, std::string> agreedEventKeys;
        std::unordered_map<std::string, std::optional<std::size_t>>
            calendarsByFolder;  // nullopt: several
        std::unordered_map<std::string, std::size_t> calendarsByLocalKey;
    };
    static void note(Seen& seen, std::size_t calendar);
    const Agreed& allAgreed() const;
    const Seen& allSeen() const;
    const Agreed& takeAgreed(std::vector<AgreedRow> rows) const;
    const Seen& takeSeen(std::vector<SeenRow> rows) const;

    LocalState& _state;
    mutable std::optional<Agreed> _agreed;
    mutable std::optional<Seen> _seen;
    StateFacts _facts;
    std::vector<KeptRow> _kept;
    std::vector<UntakenRow> _untaken;
    std::vector<UnreadRow> _unread;
    std::vector<UnreadTextRow> _unreadTexts;
    std::vector<PushedRow> _pushed;
    RowIndex _pushedIndex;
    RowIndex _untakenIndex;
    RowIndex _unreadAgreedIndex;
    RowIndex _unreadKeptIndex;
    SwitchedOffCalendars _switchedOff;
};

}  // namespace kt
