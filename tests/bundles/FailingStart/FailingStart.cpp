#include "Sync/Foundation/Exception.h"
#include "tests/support/SmallPlugin.h"

KT_EXPORTED int KTPluginInterfaceVersion() { return kt::kPluginInterfaceVersion; }

KT_EXPORTED kt::KTSyncPluginProtocol* KTPluginCreate(const char*, const kt::KTClassTable*,
                                                     kt::KTSyncPluginHelper* helper, const char*)
{
    const kt::test::SmallPlugin begun(helper);
    throw kt::Exception(kt::NSGenericException, "nicht bereit");
}
