#pragma once

#include <memory>

#include "Sync/Host/Command/Workplace.h"
#include "Sync/Host/Services/LookingHost.h"

namespace kt {

/// A look at the store of a home, behind the write guard.
class Look {
public:
    /// The workplace outlives it. Throws Exception NSGenericException, with a line for the user,
    /// when the store cannot be looked at or the plug-in cannot load it.
    explicit Look(Workplace& workplace);

    const StoreContents& contents() const { return _contents; }
    const std::vector<KTLoss>& losses() const { return _losses; }
    /// How many records of that conduit, switched-off calendars included.
    std::size_t count(std::string_view conduit) const;

    Look(const Look&) = delete;
    Look& operator=(const Look&) = delete;

private:
    Preferences _preferences;  // a copy, in which the plug-in may switch as it likes
    LookingHost _host;
    std::unique_ptr<LoadedPlugin> _plugin;  // what it made in the records is freed by its own code
    StoreContents _contents;
    std::vector<KTLoss> _losses;
};

/// Says on standard error that something could not be read, when that is so.
void warnOfLosses(Workplace& workplace, const Look& look);

}  // namespace kt
