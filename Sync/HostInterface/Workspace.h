#pragma once

#include <string>
#include <string_view>

#include "Sync/HostInterface/KTClassTable.h"

namespace kt {

/// The host's optional class for what belongs to the desktop rather than to one program.
class Workspace : public KTHostClass {
public:
    static constexpr std::string_view className = "NSWorkspace";

    /// Opens the address in the user's web browser, without waiting for it. False when nothing
    /// could be started.
    virtual bool openURL(const std::string& url) = 0;
};

}  // namespace kt
