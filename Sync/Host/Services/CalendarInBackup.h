#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Sync/Host/Services/BackupFacts.h"
#include "Sync/Host/Services/UnpackedBackup.h"

namespace kt {

// One calendar of a backup. In the 10.5 layout it is a folder; in that of 10.4 it is a folder below
// "Sources" and a node in nodes.plist.

/// By the calendar program's key or the record's. Throws Exception NSGenericException, with a line
/// for the user, for none or several.
BackupCalendar calendarOfKey(const BackupFacts& facts, std::string_view key,
                             const std::string& backup);

/// Whether a member of the backup is needed to put back the calendar in that folder.
bool isNeededForCalendar(const std::string& folder, const std::string& member);

/// What puts the calendar in its place in the store. Throws Exception NSGenericException, with a
/// line for the user, when another calendar stands there or there is no node to go by.
std::vector<Replacement> replacementsForCalendar(const UnpackedBackup& unpacked,
                                                 const BackupCalendar& calendar);

}  // namespace kt
