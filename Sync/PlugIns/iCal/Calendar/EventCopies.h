#pragma once

#include <cstddef>
#include <functional>
#include <string_view>
#include <unordered_map>

#include "Sync/PlugIns/iCal/Calendar/KTSyncEvent.h"

namespace kt {

/// Tells whether events of one digest are copies. What an event is compared by is made once for all
/// its copies: it may be large, and they may be many and small.
class EventCopies {
public:
    using RecordOfFirst = std::function<Dictionary()>;

    /// Whether the record of an event and that of the first one, known by its number, differ in
    /// nothing but the revision and the series they belong to. False where a record cannot be made.
    bool isCopyOf(std::size_t first, const RecordOfFirst& recordOfFirst, const KTSyncEvent& second);

private:
    std::unordered_map<std::size_t, Dictionary> _firsts;
};

/// Whether the texts of two components hold the same lines, in whatever order, but for those that
/// name the text or its revision (UID, SEQUENCE, DTSTAMP, CREATED, LAST-MODIFIED). A record does
/// not hold every line, so that events of equal records may still be two.
bool haveSameLines(std::string_view left, std::string_view right);

}  // namespace kt
