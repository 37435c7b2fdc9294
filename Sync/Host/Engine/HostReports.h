#pragma once

#include "Sync/Host/Engine/HostCarefulWriting.h"
#include "Sync/Host/Engine/HostIdentityReport.h"
#include "Sync/Host/Engine/HostLossReport.h"

namespace kt {

/// The host's optional classes, through which plug-in and engine talk of the store's texts.
struct HostReports {
    HostLossReport losses;
    HostIdentityReport identities;
    HostCarefulWriting carefulWriting;

    /// Before a run.
    void begin()
    {
        losses.clear();
        identities.begin();
        carefulWriting.clear();
    }
    /// After it; what was told of losses stays.
    void end()
    {
        identities.end();
        carefulWriting.clear();
    }
};

}  // namespace kt
