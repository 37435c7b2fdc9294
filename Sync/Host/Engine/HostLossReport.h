#pragma once

#include <cstddef>
#include <set>
#include <vector>

#include "Sync/HostInterface/KTLossReport.h"

namespace kt {

/// Collects what the plug-in could not read or write, each loss once, in the order in which they
/// were told. Remarks (thinned) decide nothing and can be as many as there are lines in a store, so
/// only the first `kMostRemarks` of them are kept.
class HostLossReport : public KTLossReport {
public:
    static constexpr std::size_t kMostRemarks = 10'000;

    void reportLoss(const KTLoss& loss) override;

    const std::vector<KTLoss>& losses() const { return _losses; }
    std::vector<KTLoss> lossesOfKind(KTLoss::Kind kind) const;
    bool hasKind(KTLoss::Kind kind) const;
    bool empty() const { return _losses.empty(); }
    /// Remarks that were told and not kept.
    std::size_t remarksLeftOut() const { return _remarksLeftOut; }
    /// Forgets what was told; called before a store is loaded.
    void clear();

private:
    struct Before {
        bool operator()(const KTLoss& left, const KTLoss& right) const;
    };

    std::vector<KTLoss> _losses;
    std::set<KTLoss, Before> _known;
    std::size_t _remarks = 0;
    std::size_t _remarksLeftOut = 0;
};

/// Those of that kind, in their order.
std::vector<KTLoss> lossesOfKind(const std::vector<KTLoss>& losses, KTLoss::Kind kind);

}  // namespace kt
