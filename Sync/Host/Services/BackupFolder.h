#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Sync/Host/Services/BackupArchiveReader.h"
#include "Sync/Host/Services/BackupFacts.h"

namespace kt {

// Backups as older versions made them: folders that hold copies of the store.

/// Calendars and items, counted now.
BackupFacts factsOfFolder(const std::string& folder);
/// Bytes of all files in it.
std::uint64_t sizeOfFolder(const std::string& folder);
/// Copies the trees that the backup holds. Throws Exception NSGenericException, with a line for the
/// user, when that fails or when it holds none of them.
void copyBackupFolder(const std::string& folder, const std::string& shownName,
                      const std::vector<BackupArchiveReader::Root>& roots);

}  // namespace kt
