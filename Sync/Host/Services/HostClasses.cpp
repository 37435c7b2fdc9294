#include "Sync/Host/Services/HostClasses.h"

namespace kt {

KTClassTable HostClasses::table()
{
    KTClassTable table;
    table.setClass(KTSyncEnhancedDateClass::className, &_enhancedDateClass);
    table.setClass(KTSyncRecordClass::className, &_syncRecordClass);
    table.setClass(KTSyncConnectionClass::className, &_syncConnectionClass);
    table.setClass(KTLossReport::className, &_reports.losses);
    table.setClass(KTIdentityReport::className, &_reports.identities);
    table.setClass(KTCarefulWriting::className, &_reports.carefulWriting);
    return table;
}

}  // namespace kt
