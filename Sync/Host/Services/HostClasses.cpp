#include "Sync/Host/Services/HostClasses.h"

#include "Sync/Host/Engine/LastingKeys.h"

namespace kt {

KeyOnServer keysByState(std::string statePath)
{
    return [path = std::move(statePath)](const std::string& key) {
        return lastingCalendarKey(path, key);
    };
}

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
