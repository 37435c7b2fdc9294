#include <exception>
#include <string_view>

#include "Sync/HostInterface/KTClassTable.h"
#include "Sync/HostInterface/KTSyncPluginProtocol.h"
#include "Sync/PlugIns/iCal/ICalSyncPlugin.h"

// What a host finds in the bundle's executable; everything else in it is hidden. Names and types
// are those of KTSyncPluginProtocol.h.

#define KT_EXPORT extern "C" __attribute__((visibility("default")))

KT_EXPORT int KTPluginInterfaceVersion() { return kt::kPluginInterfaceVersion; }

/// Null for another principal class, without class table or helper, and when anything is thrown:
/// nothing may unwind into a host that was built apart from the bundle.
KT_EXPORT kt::KTSyncPluginProtocol* KTPluginCreate(const char* principalClass,
                                                   const kt::KTClassTable* classTable,
                                                   kt::KTSyncPluginHelper* helper,
                                                   const char* bundlePath)
{
    if (principalClass == nullptr || classTable == nullptr || helper == nullptr ||
        principalClass != kt::ICalSyncPlugin::className)
        return nullptr;
    try {
        kt::setHostClassTable(*classTable);
        return std::make_unique<kt::ICalSyncPlugin>(helper, bundlePath == nullptr ? "" : bundlePath)
            .release();
    } catch (...) {
        return nullptr;
    }
}
