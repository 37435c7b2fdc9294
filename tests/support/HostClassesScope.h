#pragma once

#include <string>
#include <vector>

#include "Sync/Host/Engine/HostEnhancedDate.h"
#include "Sync/Host/Engine/HostLossReport.h"
#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/HostInterface/KTClassTable.h"

namespace kt {

/// The reference host's classes for records, dates and losses, installed for as long as the scope
/// lives; the table that was there before is put back.
class HostClassesScope {
public:
    HostClassesScope();
    ~HostClassesScope();
    HostClassesScope(const HostClassesScope&) = delete;
    HostClassesScope& operator=(const HostClassesScope&) = delete;

    HostLossReport& lossReport() { return _lossReport; }
    /// Calendar, file and reason of each; most tests ask for no more.
    std::vector<KTLoss> losses() const;
    /// With kind, UID and digest.
    const std::vector<KTLoss>& lossesAsTold() const { return _lossReport.losses(); }
    std::vector<std::string> lossReasons() const;

private:
    HostEnhancedDateClass _enhancedDateClass;
    HostSyncRecordClass _syncRecordClass;
    HostLossReport _lossReport;
    KTClassTable _before;
};

}  // namespace kt
