#pragma once

#include <string>
#include <utility>

#include "Sync/Host/Engine/HostEnhancedDate.h"
#include "Sync/Host/Engine/HostReports.h"
#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Publishing/HostSyncConnection.h"
#include "Sync/HostInterface/KTClassTable.h"

namespace kt {

/// Finds the lasting keys of calendars in that state file (lastingCalendarKey).
KeyOnServer keysByState(std::string statePath);

/// The class objects that a plug-in of this host finds by name.
class HostClasses {
public:
    /// Publishing goes to the server of that address; without one it fails.
    explicit HostClasses(std::string serverURL = {}, KeyOnServer keyOnServer = {})
        : _syncConnectionClass(std::move(serverURL), std::move(keyOnServer))
    {}

    /// Points at the class objects, which live as long as this does.
    KTClassTable table();

    HostReports& reports() { return _reports; }
    HostLossReport& lossReport() { return _reports.losses; }

private:
    HostEnhancedDateClass _enhancedDateClass;
    HostSyncRecordClass _syncRecordClass;
    HostSyncConnectionClass _syncConnectionClass;
    HostReports _reports;
};

}  // namespace kt
