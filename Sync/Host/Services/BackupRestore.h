#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Sync/Host/Services/StoreBackups.h"

namespace kt {

/// Puts a dated backup, or one calendar of it, back into the store, and sees to it that the next
/// sync compares everything and takes nothing that is missing for deleted. For a home whose lock is
/// held and whose calendar program does not run.
class BackupRestore {
public:
    /// `statePath` is the device's local state, which may not be there yet.
    BackupRestore(const StoreBackups& backups, std::vector<std::string> storeFiles,
                  std::string statePath);

    struct Result {
        std::string name;
        BackupFacts facts;                       // of the whole backup
        std::optional<BackupCalendar> calendar;  // the one that was put back, if only that
        std::optional<std::string> before;       // the backup of what stood there
    };

    /// What a person means by the name is up to StoreBackups::named. Whole or not at all: throws
    /// Exception NSGenericException, with a line for the user, and nothing has changed but that
    /// there may be one more backup.
    Result restore(std::string_view name) const;
    /// Only the calendar of that key, its own or its record's.
    Result restoreCalendar(std::string_view name, std::string_view key) const;

private:
    void replaceStore(const std::vector<Replacement>& replacements, Result& result) const;

    const StoreBackups& _backups;
    std::vector<std::string> _storeFiles;
    std::string _statePath;
};

}  // namespace kt
