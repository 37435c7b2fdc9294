#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Host/Server/RecordId.h"

namespace kt {

/// A title, notes or a place that somebody wrote and that gives way where two devices contradict
/// each other.
struct OverwrittenText {
    RecordId id;        // agreed key
    std::string title;  // of the record as it is now
    std::string field;
    std::string text;  // whole

    friend bool operator==(const OverwrittenText&, const OverwrittenText&) = default;
};

/// The two sides of a settled conflict and what came of it. What equals `base` nobody wrote; null
/// where there is no common past.
struct SettledConflict {
    const Dictionary* base = nullptr;
    const Dictionary& local;
    const Dictionary& server;
    const Dictionary& merged;
};

std::vector<OverwrittenText> overwrittenTexts(const RecordId& id, const SettledConflict& conflict);

/// One German line for the log, a long text shortened.
std::string lineForOverwritten(const OverwrittenText& overwritten);

}  // namespace kt
