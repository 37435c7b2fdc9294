#include "tests/support/HostClassesScope.h"

namespace kt {

HostClassesScope::HostClassesScope() : _before(hostClassTable())
{
    KTClassTable table = _before;
    table.setClass(KTSyncEnhancedDateClass::className, &_enhancedDateClass);
    table.setClass(KTSyncRecordClass::className, &_syncRecordClass);
    table.setClass(KTLossReport::className, &_lossReport);
    setHostClassTable(table);
}

HostClassesScope::~HostClassesScope() { setHostClassTable(_before); }

}  // namespace kt
