#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Host/Engine/LocalRecords.h"

namespace kt {

/// A key with a number behind it: the key itself for 1, then `-2`, `-3`.
std::string numberedKey(std::string_view key, int number);

/// The key without the number behind it; nullopt for a key without one.
std::optional<std::string> keyBeforeNumber(std::string_view key);

/// What telling equal keys apart asks about records that are not in the store's load. Hashes are
/// neutral ones.
class EqualKeysContext {
public:
    virtual ~EqualKeysContext() = default;

    virtual std::string seenContent(const SeenRow& row) const = 0;
    /// What is agreed for the row now; nullopt when nothing is.
    virtual std::optional<std::string> agreedContent(const SeenRow& row) const = 0;
    /// What is agreed, or on the server, under that name and was never seen here; nullopt when
    /// there is nothing.
    virtual std::optional<std::string> unseenContent(const RecordId& id) const = 0;
    /// Whether the row's record may be unread at present, so that its name is nobody else's.
    virtual UnreadClaim unreadClaim(const SeenRow& row) const = 0;
    /// Whether a new record that is like nothing known may be the one of that name.
    virtual bool mayTake(const RecordId& id, const LocalRecord& record) const = 0;
};

/// Names those of one conduit and key that equal what was seen of them, or what is agreed for that
/// by now, and leaves the others without a name. For a store that may hold more than one state.
void keepWhatEqualsItsSeen(const std::vector<LocalRecord*>& records,
                           const std::vector<const SeenRow*>& rows,
                           const EqualKeysContext& context);

/// Names the records of one conduit and key: sets `agreedId` and `seen` of each that has no name
/// yet. `rows` are the rows of *seen* with that conduit and key, `records` the records in load
/// order. Takes time in proportion to both.
void tellEqualKeysApart(const std::vector<LocalRecord*>& records,
                        const std::vector<const SeenRow*>& rows, const EqualKeysContext& context);

}  // namespace kt
