#pragma once

#include "Sync/HostInterface/KTSyncPluginProtocol.h"

namespace kt {

/// While it lives, the first SIGINT or SIGTERM asks the plug-in to cancel its run, which it does at
/// the next point where nothing is half done; a second one ends the program at once. One at a time.
class CancelOnSignal {
public:
    explicit CancelOnSignal(KTSyncPluginProtocol& plugin);
    ~CancelOnSignal();
    CancelOnSignal(const CancelOnSignal&) = delete;
    CancelOnSignal& operator=(const CancelOnSignal&) = delete;
};

}  // namespace kt
