#include <cstring>

#include "tests/support/SmallPlugin.h"

KT_EXPORTED int KTPluginInterfaceVersion() { return kt::kPluginInterfaceVersion; }

KT_EXPORTED kt::KTSyncPluginProtocol* KTPluginCreate(const char* principalClass,
                                                     const kt::KTClassTable*,
                                                     kt::KTSyncPluginHelper* helper, const char*)
{
    return std::strcmp(principalClass, "SmallPlugin") == 0 ? new kt::test::SmallPlugin(helper)
                                                           : nullptr;
}
