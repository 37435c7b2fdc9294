#pragma once

#include <string>
#include <string_view>

namespace kt {

/// What of a calendar is public. Travels to the publishing service and back as words in one text,
/// "EVENTS TASKS ANON", of which any may be missing; only whether a word occurs counts.
struct PublishingOptions {
    bool events = false;
    bool tasks = false;
    bool anonymous = false;

    static PublishingOptions fromText(std::string_view text);
    /// Blanks stay where a word is missing.
    std::string text() const;

    friend bool operator==(const PublishingOptions&, const PublishingOptions&) = default;
};

// The same in the preferences of the plug-in, which the host reads and writes as well: keys of a
// calendar's entry, each with a number, 0 or 1. The first one says whether it is public now.
inline constexpr std::string_view kPublicOption = "Public";
inline constexpr std::string_view kPublishEventsOption = "PublishEvents";
inline constexpr std::string_view kPublishTasksOption = "PublishTasks";
inline constexpr std::string_view kAnonymizeOption = "Anonymize";

}  // namespace kt
