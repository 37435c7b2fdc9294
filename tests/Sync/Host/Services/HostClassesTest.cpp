#include <gtest/gtest.h>

#include "Sync/Host/Services/HostClasses.h"

namespace kt {
namespace {

TEST(HostClasses, AreFoundUnderTheNamesThatAPluginAsksFor)
{
    HostClasses classes;
    const KTClassTable table = classes.table();
    EXPECT_NE(dynamic_cast<KTSyncRecordClass*>(table.classNamed("KTSyncRecord")), nullptr);
    EXPECT_NE(dynamic_cast<KTSyncEnhancedDateClass*>(table.classNamed("KTSyncEnhancedDate")),
              nullptr);
    EXPECT_NE(dynamic_cast<KTSyncConnectionClass*>(table.classNamed("KTSyncConnection")), nullptr);
    EXPECT_EQ(table.classNamed("KTLossReport"), &classes.reports().losses);
    EXPECT_EQ(table.classNamed("KTIdentityReport"), &classes.reports().identities);
    EXPECT_EQ(table.classNamed("KTCarefulWriting"), &classes.reports().carefulWriting);
    EXPECT_EQ(table.classNamed("NSString"), nullptr);
}

}  // namespace
}  // namespace kt
