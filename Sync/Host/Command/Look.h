#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Sync/Host/Command/Workplace.h"
#include "Sync/Host/Services/LookingHost.h"

namespace kt {

/// A look at the store of a home, behind the write guard.
class Look {
public:
    enum class Unloaded {
        isFailure,
        isTold,  // by isLoaded and the losses
    };

    /// The workplace outlives it. Throws Exception NSGenericException, with a line for the user,
    /// when the store cannot be looked at, and unless that is only to be told, when the plug-in
    /// cannot load it.
    explicit Look(Workplace& workplace, Unloaded unloaded = Unloaded::isFailure);

    bool isLoaded() const { return _isLoaded; }
    /// Why the plug-in could not load the store, as far as it said; with the first file it named.
    std::string reasonNotLoaded() const;

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
    bool _isLoaded = false;
};

/// Says on standard error that something could not be read, when that is so. Of what was read,
/// though not in all, it says nothing.
void warnOfLosses(Workplace& workplace, const Look& look);

}  // namespace kt
