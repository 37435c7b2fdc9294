#pragma once

#include "Sync/HostInterface/Workspace.h"

namespace kt {

/// The desktop as far as a plug-in needs it. A web address is opened by xdg-open, which asks the
/// desktop for the user's browser; anything but http and https is refused.
class BrowserWorkspace : public Workspace {
public:
    bool openURL(const std::string& url) override;
};

}  // namespace kt
