#include "tests/support/HostClassesScope.h"

namespace kt {

HostClassesScope::HostClassesScope() : _before(hostClassTable())
{
    KTClassTable table = _before;
    table.setClass(KTSyncEnhancedDateClass::className, &_enhancedDateClass);
    table.setClass(KTSyncRecordClass::className, &_syncRecordClass);
    table.setClass(KTLossReport::className, &_lossReport);
    setHostClassTable(table);
}

HostClassesScope::~HostClassesScope() { setHostClassTable(_before); }

std::vector<KTLoss> HostClassesScope::losses() const
{
    std::vector<KTLoss> losses;
    for (const KTLoss& loss : lossesAsTold())
        losses.push_back({loss.calendar, loss.file, loss.reason});
    return losses;
}

std::vector<std::string> HostClassesScope::lossReasons() const
{
    std::vector<std::string> reasons;
    for (const KTLoss& loss : losses())
        reasons.push_back(loss.reason);
    return reasons;
}

}  // namespace kt
