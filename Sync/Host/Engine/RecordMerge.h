#pragma once

#include <string>
#include <vector>

#include "Sync/Foundation/Dictionary.h"

namespace kt {

/// Which side's value stands where both changed one field to different values.
enum class MergeSide { local, server };

/// Decides a conflict: the higher Sequence, read as an integer, none being the lowest; then the
/// later DateStamp, none being the earliest; then the server.
MergeSide winnerOfConflict(const Dictionary& local, const Dictionary& server);

/// Whether one is an earlier state of what the other is: its Sequence is lower, or the same and its
/// DateStamp earlier. What either lacks says nothing.
bool isEarlier(const Dictionary& one, const Dictionary& other);

/// A record with changes made by this device: which units changed, and the record that has them.
struct LocalChange {
    const Dictionary& record;
    const std::vector<std::string>& units;
};

/// Applies changes of both sides, unit by unit, onto the record that both last agreed on. `server`
/// is the server's record now; where it did not change it is `agreed` itself. Units that both
/// changed to different values go to the winner of the conflict.
Dictionary mergedOntoAgreed(const Dictionary& agreed, const LocalChange& local,
                            const Dictionary& server);

/// Brings two records together that have no common past: what only one side has is taken, what
/// differs goes to the winner of the conflict. So nothing is deleted by it.
Dictionary mergedWithoutBase(const Dictionary& local, const Dictionary& server);

/// The same for what was entered on both sides and never known as one: nobody's notes give way. Of
/// two that differ both stand in it, the winner's first, unless one holds the other.
Dictionary mergedAsNew(const Dictionary& local, const Dictionary& server);

}  // namespace kt
