#pragma once

#include <string>
#include <unordered_set>
#include <vector>

#include "Sync/HostInterface/KTCarefulWriting.h"

namespace kt {

/// Asks the plug-in to keep the store's texts, and says which of the unread ones are to go.
class HostCarefulWriting : public KTCarefulWriting {
public:
    bool isGivenUp(const KTLoss& unread) const override;

    /// The texts whose records are handed out in this run, in place of those before.
    void giveUp(const std::vector<KTLoss>& texts);
    void clear() { _givenUp.clear(); }

private:
    std::unordered_set<std::string> _givenUp;  // what tells one text from another
};

}  // namespace kt
