#include "Sync/Host/Engine/HostLossReport.h"

#include <algorithm>
#include <iterator>
#include <tuple>

namespace kt {

bool HostLossReport::Before::operator()(const KTLoss& left, const KTLoss& right) const
{
    const auto fields = [](const KTLoss& loss) {
        return std::tie(loss.kind, loss.extent, loss.calendar, loss.file, loss.reason, loss.uid,
                        loss.digest, loss.calendarKey);
    };
    return fields(left) < fields(right);
}

void HostLossReport::reportLoss(const KTLoss& loss)
{
    const bool isRemark = loss.kind == KTLoss::Kind::thinned;
    if (isRemark && _remarks == kMostRemarks) {
        if (_known.count(loss) == 0)
            ++_remarksLeftOut;
        return;
    }
    if (!_known.insert(loss).second)
        return;
    _losses.push_back(loss);
    _remarks += isRemark ? 1 : 0;
}

std::vector<KTLoss> HostLossReport::lossesOfKind(KTLoss::Kind kind) const
{
    return kt::lossesOfKind(_losses, kind);
}

bool HostLossReport::hasKind(KTLoss::Kind kind) const
{
    return std::any_of(_losses.begin(), _losses.end(),
                       [kind](const KTLoss& loss) { return loss.kind == kind; });
}

void HostLossReport::clear() { *this = {}; }

std::vector<KTLoss> lossesOfKind(const std::vector<KTLoss>& losses, KTLoss::Kind kind)
{
    std::vector<KTLoss> result;
    std::copy_if(losses.begin(), losses.end(), std::back_inserter(result),
                 [kind](const KTLoss& loss) { return loss.kind == kind; });
    return result;
}

}  // namespace kt
