#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "Sync/HostInterface/Controls.h"
#include "Sync/HostInterface/KTClassTable.h"

namespace kt {

/// Who an interface file is loaded for: its outlets are set to the file's controls of the same
/// name, and the controls send it their actions.
class NibOwner {
public:
    virtual ~NibOwner() = default;

    /// False for a name that is no outlet of this owner, and for a view of another kind than the
    /// outlet's, which then stays as it was.
    virtual bool setOutlet(std::string_view name, View* view) = 0;
    /// What a selector ("showPublicCalendarsInBrowser:") does; empty when the owner has no such
    /// action. Valid as long as the owner lives.
    virtual std::function<void(View* sender)> actionNamed(std::string_view selector) = 0;
};

/// A loaded interface file: its controls and their connections to the owner, which has to let go of
/// it before it goes itself.
class Nib {
public:
    virtual ~Nib() = default;
};

/// The host's optional class that can load interface files; a host without windows has none.
class NibLoader : public KTHostClass {
public:
    static constexpr std::string_view className = "NSNib";

    /// Loads the file of that name, in whatever format this host's windows are kept, from the
    /// resources of the bundle. Null, with no outlet set, when it is not there or is broken.
    virtual std::unique_ptr<Nib> loadNibNamed(const std::string& name, NibOwner& owner,
                                              const std::string& bundlePath) = 0;
};

}  // namespace kt
