#pragma once

#include "Sync/Host/Engine/HostEnhancedDate.h"
#include "Sync/Host/Engine/HostLossReport.h"
#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/HostInterface/KTClassTable.h"

namespace kt {

/// The class objects that a plug-in of this host finds by name.
class HostClasses {
public:
    /// Points at the class objects, which live as long as this does.
    KTClassTable table();

    HostLossReport& lossReport() { return _lossReport; }

private:
    HostEnhancedDateClass _enhancedDateClass;
    HostSyncRecordClass _syncRecordClass;
    HostLossReport _lossReport;
};

}  // namespace kt
