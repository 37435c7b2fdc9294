#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Sync/Host/Engine/HandedState.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// Finds, for each record that the store gives after a rewrite, the agreed record that it was
/// handed out as; nullopt for one that belongs to none. Every handed record is found at most once.
/// Kept records take no part; what the store gave as it is agreed (HandedRecord::given) is found
/// first.
///
/// A store computes keys from what it can hold, so a record does not always come back under the key
/// it went out with. Calendars are found by SourceKey, then by title and type, then by key, then by
/// what else tells them apart; items by key, where numbers behind a key mean nothing, then by their
/// content within their calendar. Nobody touched the store since it was rewritten, or the run would
/// not count, so all of it stems from what was handed out.
///
/// `known` are the agreed keys that are certain already; they come back as they are, and nothing
/// else is given them. In a store whose rewrite was not settled some may be older than the rewrite
/// and some newer: there a calendar is not taken for another one merely because it looks like it,
/// since somebody may have made it meanwhile.
enum class Looks { count, sayNothing };
std::vector<std::optional<std::string>> pairWithHanded(
    const SyncRecordList& local, const std::vector<HandedRecord>& handed,
    std::vector<std::optional<std::string>> known, Looks looks);

}  // namespace kt
