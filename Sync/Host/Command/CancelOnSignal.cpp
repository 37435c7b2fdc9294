#include "Sync/Host/Command/CancelOnSignal.h"

#include <array>
#include <atomic>
#include <csignal>

namespace kt {

namespace {

constexpr std::array<int, 2> kSignals{SIGINT, SIGTERM};

std::atomic<KTSyncPluginProtocol*> pluginToCancel{nullptr};

/// Setting a flag is all that cancelSync may do while a run works, which is what a signal allows.
extern "C" void cancelForSignal(int)
{
    if (KTSyncPluginProtocol* plugin = pluginToCancel)
        plugin->cancelSync();
}

}  // namespace

CancelOnSignal::CancelOnSignal(KTSyncPluginProtocol& plugin)
{
    pluginToCancel = &plugin;
    struct sigaction action {};
    action.sa_handler = cancelForSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    for (const int signal : kSignals)
        ::sigaction(signal, &action, nullptr);
}

CancelOnSignal::~CancelOnSignal()
{
    for (const int signal : kSignals)
        std::signal(signal, SIG_DFL);
    pluginToCancel = nullptr;
}

}  // namespace kt
