#include "Sync/Host/Services/StopWish.h"

#include "Sync/Foundation/Exception.h"

namespace kt {

static_assert(std::atomic<bool>::is_always_lock_free &&
                  std::atomic<KTSyncPluginProtocol*>::is_always_lock_free,
              "a signal handler may not wait");

/// Setting a flag is all that cancelSync may do while a run works, which is what a signal allows.
void StopWish::wish() noexcept
{
    _isThere = true;
    repeat();
}

void StopWish::check() const
{
    if (_isThere)
        throw Exception(NSGenericException, "Die Synchronisierung wurde abgebrochen!");
}

void StopWish::repeat() const
{
    KTSyncPluginProtocol* const plugin = _plugin;
    if (_isThere && plugin != nullptr)
        plugin->cancelSync();
}

StopWish::Listener::Listener(StopWish& wish, KTSyncPluginProtocol& plugin) : _wish(wish)
{
    _wish._plugin = &plugin;
}

StopWish::Listener::~Listener() { _wish._plugin = nullptr; }

}  // namespace kt
