#include "Sync/Host/Engine/HostLossReport.h"

namespace kt {

void HostLossReport::reportLoss(const KTLoss& loss)
{
    if (_known.emplace(loss.calendar, loss.file, loss.reason).second)
        _losses.push_back(loss);
}

void HostLossReport::clear()
{
    _losses.clear();
    _known.clear();
}

}  // namespace kt
