#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/ComponentList.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncAttendee.h"

namespace kt {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ComponentListWithValue, HoldsTheComponentsOfTheValueInOrder)
{
    const auto attendee = KTSyncAttendee::attendeeWithCommonName("A", nullptr, "a", nullptr);
    const auto list = componentListWithValue<KTSyncAttendee>(Array{attendee});
    ASSERT_TRUE(list.has_value());
    EXPECT_THAT(*list, ElementsAre(attendee));
}

TEST(ComponentListWithValue, IsNilForNilAndEmptyForEmpty)
{
    EXPECT_FALSE(componentListWithValue<KTSyncAttendee>(nullptr).has_value());
    EXPECT_THAT(*componentListWithValue<KTSyncAttendee>(Array()), IsEmpty());
}

TEST(ComponentListWithValue, RaisesForOtherKinds)
{
    EXPECT_THROW(componentListWithValue<KTSyncAttendee>("a"), Exception);
    EXPECT_THROW(componentListWithValue<KTSyncAttendee>(Array{"a"}), Exception);
}

}  // namespace
}  // namespace kt
