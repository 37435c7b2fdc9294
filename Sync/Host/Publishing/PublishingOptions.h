#pragma once

#include <string>
#include <string_view>

namespace kt {

/// What of a calendar is public. Travels as words in one text, "EVENTS TASKS ANON", of which any
/// may be missing; only whether a word occurs counts.
struct PublishingOptions {
    bool events = false;
    bool tasks = false;
    bool anonymous = false;

    static PublishingOptions fromText(std::string_view text);
    /// Blanks stay where a word is missing.
    std::string text() const;

    friend bool operator==(const PublishingOptions&, const PublishingOptions&) = default;
};

}  // namespace kt
