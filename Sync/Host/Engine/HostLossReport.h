#pragma once

#include <set>
#include <tuple>
#include <vector>

#include "Sync/HostInterface/KTLossReport.h"

namespace kt {

/// Collects what the plug-in could not read, each loss once, in the order in which they were told.
class HostLossReport : public KTLossReport {
public:
    void reportLoss(const KTLoss& loss) override;

    const std::vector<KTLoss>& losses() const { return _losses; }
    bool empty() const { return _losses.empty(); }
    /// Forgets what was told; called before a store is loaded.
    void clear();

private:
    std::vector<KTLoss> _losses;
    std::set<std::tuple<std::string, std::string, std::string>> _known;
};

}  // namespace kt
