#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace kt {

/// What a session is about to do, as far as it decides whether somebody has to confirm it.
struct MassDeletionFacts {
    std::size_t deletions = 0;  // that go up to the server
    std::size_t recordsOfAccount = 0;
    bool isStoreEmpty = false;         // it gives no record at all
    bool wasStoreEmpty = false;        // nothing was seen in it before
    std::size_t deletionsInStore = 0;  // where it is overwritten with what the server has
    std::size_t recordsOfStore = 0;
    std::size_t earlier = 0;  // records that are in an earlier state than when they were seen
    std::size_t later = 0;    // ... and in a later one
};

/// One German line, which says what the user can do, when the session would delete more than half
/// of the account's records and more than ten, or as much of a store that is overwritten, when a
/// store that held something is empty, or when one looks like an older copy of itself: three
/// records or more went back, and more than went on. Nullopt when it may go on.
std::optional<std::string> massDeletionReason(const MassDeletionFacts& facts);

}  // namespace kt
