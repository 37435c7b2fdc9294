#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostSyncRecord.h"

namespace kt {
namespace {

const Dictionary kCalendar{{"Order", 0},         {"Type", "CalendarNode"},
                           {"Color", "#FF0000"}, {"Title", "Privat"},
                           {"Notes", ""},        {"SourceKey", "S1"}};
const Dictionary kGroup{{"Order", 0},
                        {"Type", "CalendarGroup"},
                        {"Color", "#FF0000"},
                        {"Title", "Haus"},
                        {"Notes", ""}};
const Dictionary kItem{{"Title", "Zahnarzt"}, {"ParentRecordKey", "C1"}};

SyncRecord made(Dictionary record, const std::optional<std::string>& key, std::string_view conduit)
{
    return HostSyncRecordClass().syncRecordWithRecordType(kRecordTypeRecord, std::move(record), key,
                                                          std::nullopt, std::string(conduit));
}

Dictionary without(Dictionary record, std::string_view name)
{
    record.remove(name);
    return record;
}

Dictionary with(Dictionary record, std::string_view name, const Value& value)
{
    record.set(name, value);
    return record;
}

TEST(HostSyncRecord, CarriesWhatItWasMadeWith)
{
    const auto record =
        HostSyncRecordClass().syncRecordWithRecordType(0, kItem, "E1", "C1", "ical-event");
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->record(), kItem);
    EXPECT_EQ(record->recordType(), 0);
    EXPECT_EQ(record->recordKey(), "E1");
    EXPECT_EQ(record->recordParentKey(), "C1");
    EXPECT_EQ(record->conduit(), "ical-event");
}

TEST(HostSyncRecord, DescribesItselfByConduitKeyAndContent)
{
    EXPECT_EQ(made(kItem, "E1", kConduitEvent)->description(),
              "ical-event E1 " + kItem.description());
}

struct Row {
    std::string name;
    Dictionary record;
    std::optional<std::string> key;
    std::string_view conduit;
    bool accepted;
};

class RefusedRecords : public testing::TestWithParam<Row> {};

INSTANTIATE_TEST_SUITE_P(
    Rule1, RefusedRecords,
    testing::Values(
        Row{"Calendar", kCalendar, "K", kConduitCalendar, true},
        Row{"GroupWithoutSourceKey", kGroup, "K", kConduitCalendar, true},
        Row{"Event", kItem, "K", kConduitEvent, true}, Row{"Task", kItem, "K", kConduitTask, true},
        Row{"EmptyTitle", {{"Title", ""}, {"ParentRecordKey", "C1"}}, "K", kConduitEvent, true},
        Row{"NoKey", kItem, std::nullopt, kConduitEvent, false},
        Row{"EmptyKey", kItem, "", kConduitEvent, false}, Row{"NoConduit", kItem, "K", "", false},
        Row{"CalendarWithoutTitle", without(kCalendar, "Title"), "K", kConduitCalendar, false},
        Row{"CalendarWithoutColor", without(kCalendar, "Color"), "K", kConduitCalendar, false},
        Row{"CalendarWithoutNotes", without(kCalendar, "Notes"), "K", kConduitCalendar, false},
        Row{"CalendarWithoutType", without(kCalendar, "Type"), "K", kConduitCalendar, false},
        Row{"CalendarWithoutSourceKey", without(kCalendar, "SourceKey"), "K", kConduitCalendar,
            false},
        Row{"ItemWithoutTitle", without(kItem, "Title"), "K", kConduitEvent, false},
        Row{"ItemWithoutParent", without(kItem, "ParentRecordKey"), "K", kConduitTask, false},
        Row{"CalendarWithAWrongField", with(kCalendar, "Publisher", "u"), "K", kConduitCalendar,
            false},
        Row{"GroupWithAWrongField", with(kGroup, "Order", Array{}), "K", kConduitCalendar, false},
        Row{"ItemWithAWrongField", with(kItem, "StartDate", "20071224"), "K", kConduitEvent, false},
        Row{"TitleThatIsNoText",
            {{"Title", 5}, {"ParentRecordKey", "C1"}},
            "K",
            kConduitTask,
            false}),
    [](const auto& row) { return row.param.name; });

TEST_P(RefusedRecords, AreNil)
{
    EXPECT_EQ(made(GetParam().record, GetParam().key, GetParam().conduit) != nullptr,
              GetParam().accepted);
}

}  // namespace
}  // namespace kt
