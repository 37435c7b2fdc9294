#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "tests/support/ValuePrinting.h"

namespace kt {
namespace {

TEST(Exception, CarriesNameReasonAndUserInfo)
{
    const Exception exception("Name", "Reason", {{"key", "value"}});
    EXPECT_EQ(exception.name(), "Name");
    EXPECT_EQ(exception.reason(), "Reason");
    EXPECT_EQ(exception.userInfo(), (Dictionary{{"key", "value"}}));
}

TEST(Exception, IsDescribedByItsReason)
{
    const Exception exception(NSGenericException, "Reason");
    EXPECT_EQ(exception.description(), "Reason");
    EXPECT_STREQ(exception.what(), "Reason");
    EXPECT_TRUE(exception.userInfo().empty());
}

}  // namespace
}  // namespace kt
