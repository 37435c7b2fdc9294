#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Sync/HostInterface/KTFileLogger.h"
#include "Sync/HostInterface/KTSyncEnhancedDate.h"

namespace kt {

/// Reads the dates of one component (RFC 5545, 3.3.4 and 3.3.5), for which it asks the host for its
/// class of dates once.
class ICalDateReader {
public:
    static constexpr std::string_view kUnknownFormat = "Unbekanntes Datumsformat: '%@'";

    /// The logger may be null.
    explicit ICalDateReader(KTFileLogger* fileLogger) : _fileLogger(fileLogger) {}

    /// `20071224` all-day, `20071224T100000` in the zone, `20071224T100000Z` in Etc/UTC; only the
    /// tail of the text counts. Null for a text that names no date. A nil zone means Europe/Berlin.
    EnhancedDate dateInText(std::string_view text, const std::optional<std::string>& timezone);

private:
    EnhancedDate readDate(std::string_view text, const std::optional<std::string>& timezone);
    const KTSyncEnhancedDateClass* dates();

    KTFileLogger* _fileLogger;                        // not owned
    const KTSyncEnhancedDateClass* _dates = nullptr;  // once it was asked for
};

}  // namespace kt
