#include "Sync/Host/Services/HostClasses.h"

namespace kt {

KTClassTable HostClasses::table()
{
    KTClassTable table;
    table.setClass(KTSyncEnhancedDateClass::className, &_enhancedDateClass);
    table.setClass(KTSyncRecordClass::className, &_syncRecordClass);
    table.setClass(KTSyncConnectionClass::className, &_syncConnectionClass);
    table.setClass(KTLossReport::className, &_lossReport);
    return table;
}

}  // namespace kt
