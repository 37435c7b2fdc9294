#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "Sync/Host/Engine/LocalState.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

class Knowledge;
class RemoteChanges;
class StorePlaces;

/// Calendars that do not take part, and what the others know them as.
class SwitchedOffCalendars {
public:
    /// nullopt for one that was never agreed.
    void add(const std::string& localKey, const std::optional<std::string>& agreedKey);

    bool empty() const { return _agreedKeys.empty(); }
    bool hasLocal(const std::string& localKey) const { return _agreedKeys.count(localKey) != 0; }
    bool hasAgreed(const std::string& agreedKey) const { return _agreed.count(agreedKey) != 0; }
    /// nullopt for one that was never agreed, and for what is not among them.
    std::optional<std::string> agreedKey(const std::string& localKey) const;
    /// Calls it with local and agreed key of each that was agreed.
    template <class Function>
    void forEachAgreed(const Function& function) const
    {
        for (const auto& [localKey, agreedKey] : _agreedKeys) {
            if (agreedKey)
                function(localKey, *agreedKey);
        }
    }
    /// Whether what was seen is one of them, or stood in one.
    bool holds(const SeenRow& row, const Knowledge& knowledge) const;

private:
    std::unordered_map<std::string, std::optional<std::string>> _agreedKeys;  // by local ones
    std::unordered_set<std::string> _agreed;
};

/// The calendars among `off`, what one load holds beside `active`. Where a calendar stands goes
/// before its key: that changes with its title, and a new calendar may have the former title of
/// another one. One that is new here, and of a key that no other calendar here has, is what the
/// server has under that.
SwitchedOffCalendars switchedOffCalendars(const SyncRecordList& off, const SyncRecordList& active,
                                          const StorePlaces& places, const Knowledge& knowledge,
                                          const RemoteChanges& remote);

}  // namespace kt
