#pragma once

#include <atomic>

#include "Sync/HostInterface/KTSyncPluginProtocol.h"

namespace kt {

/// That the user wants a run to end. Once there it stays: a plug-in forgets what it was told before
/// its own part begins, the host does not. wish() may come from a signal handler.
class StopWish {
public:
    /// Tells the plug-in that listens as well. Allocates nothing and locks nothing.
    void wish() noexcept;
    bool isThere() const noexcept { return _isThere; }
    /// Throws Exception NSGenericException, with a line for the user, once the wish is there.
    void check() const;
    /// Tells the plug-in that listens of a wish that came before it could hear.
    void repeat() const;

    /// While it lives, the plug-in is told. A part of a run that has to come to its end has none.
    class Listener {
    public:
        Listener(StopWish& wish, KTSyncPluginProtocol& plugin);
        ~Listener();
        Listener(const Listener&) = delete;
        Listener& operator=(const Listener&) = delete;

    private:
        StopWish& _wish;
    };

private:
    std::atomic<bool> _isThere{false};
    std::atomic<KTSyncPluginProtocol*> _plugin{nullptr};
};

}  // namespace kt
