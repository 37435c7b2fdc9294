#pragma once

#include <string>
#include <vector>

#include "Sync/Host/Engine/LocalRecords.h"

namespace kt {

/// What a store tells calendars apart by; empty where either is no text.
std::string titleAndType(const Dictionary& calendar);

/// Names new calendars that the server has, or that are agreed and were never seen, by title and
/// type: of two calendars that share both a store shows one. Only what is one on either side.
void nameCalendarsByTitle(std::vector<LocalRecord>& records, const Knowledge& knowledge,
                          const RemoteChanges& remote, LocalState& state);

}  // namespace kt
