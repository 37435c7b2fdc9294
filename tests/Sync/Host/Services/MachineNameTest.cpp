#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Services/MachineName.h"

namespace kt {
namespace {

TEST(MachineName, IsOneNameWithoutADomain)
{
    EXPECT_FALSE(machineName().empty());
    EXPECT_THAT(machineName(), testing::Not(testing::HasSubstr(".")));
}

}  // namespace
}  // namespace kt
