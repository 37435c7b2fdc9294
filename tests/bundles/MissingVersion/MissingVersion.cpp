#include "tests/support/SmallPlugin.h"

KT_EXPORTED kt::KTSyncPluginProtocol* KTPluginCreate(const char*, const kt::KTClassTable*,
                                                     kt::KTSyncPluginHelper* helper, const char*)
{
    return new kt::test::SmallPlugin(helper);
}
