#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Host/Services/BackupCensus.h"

namespace kt {

/// What is known of a backup without unpacking it. It stands at the end of the archive, and beside
/// it in a hidden file, where it can be had at once.
struct BackupFacts {
    std::string fingerprint;              // of the store when it was read (fingerprintOfFiles)
    std::vector<std::string> unreadable;  // paths on disk that could not be saved
    std::vector<std::string> broken;      // members that broke off halfway, and are none
    std::vector<BackupCalendar> calendars;
    std::string digest;             // SHA-256 over all members before this one, hexadecimal
    std::uint64_t archiveSize = 0;  // bytes; 0 in the archive itself

    std::size_t items() const;

    friend bool operator==(const BackupFacts&, const BackupFacts&) = default;
};

/// As a binary property list; names that are no UTF-8 are kept byte for byte.
std::string bytesOfFacts(const BackupFacts& facts);
/// Nullopt for what are no such bytes, or were written by a newer version.
std::optional<BackupFacts> factsInBytes(std::string_view bytes);

}  // namespace kt
