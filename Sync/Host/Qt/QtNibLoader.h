#pragma once

#include "Sync/HostInterface/Nib.h"

namespace kt {

/// Loads NAME.ui, as Qt Designer writes it, from a bundle's resources. Outlets are connected by
/// object name; a button sends the action that its property "action" names.
class QtNibLoader : public NibLoader {
public:
    /// A file that is there and cannot be used is named in the system log.
    std::unique_ptr<Nib> loadNibNamed(const std::string& name, NibOwner& owner,
                                      const std::string& bundlePath) override;
};

}  // namespace kt
