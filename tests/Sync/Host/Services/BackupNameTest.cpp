#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/CalendarDate.h"
#include "Sync/Host/Services/BackupName.h"

namespace kt {
namespace {

const Date kDate = *dateWithISO8601("2007-12-24T09:00:00Z");

TEST(BackupName, IsCounterAndDate)
{
    const BackupName name = BackupName::next(41, kDate, false);
    EXPECT_EQ(name.text(), "000042-2007-12-24T09-00-00Z");
    EXPECT_EQ(name.entry(), "000042-2007-12-24T09-00-00Z.tar.zst");
    EXPECT_EQ(name.counter(), 42);
    EXPECT_EQ(name.date(), kDate);
    EXPECT_FALSE(name.isFirst());
    EXPECT_TRUE(BackupName::next(0, kDate, true).isFirst());
    EXPECT_EQ(BackupName::next(999'999, kDate, false).text(), "1000000-2007-12-24T09-00-00Z");
}

struct EntryRow {
    const char* entry;
    std::optional<std::string> text;
    std::int64_t counter = 0;
};
class BackupEntry : public testing::TestWithParam<EntryRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, BackupEntry,
    testing::Values(EntryRow{"000007-2007-12-24T09-00-00Z.tar.zst", "000007-2007-12-24T09-00-00Z",
                             7},
                    EntryRow{"000001-2007-12-24T09-00-00Z-erste.tar.zst",
                             "000001-2007-12-24T09-00-00Z-erste", 1},
                    EntryRow{"1000000-x.tar.zst", "1000000-x", 1'000'000},
                    EntryRow{"2007-12-24T09-00-00.000Z", "2007-12-24T09-00-00.000Z", 0},
                    EntryRow{"2007-12-24T09-00-00.000Z.tar.zst", std::nullopt},
                    EntryRow{"99999999999999999999-x.tar.zst", std::nullopt},
                    EntryRow{".000007-2007-12-24T09-00-00Z.plist", std::nullopt},
                    EntryRow{"", std::nullopt}));

TEST_P(BackupEntry, IsABackupOrNot)
{
    const auto name = BackupName::ofEntry(GetParam().entry);
    ASSERT_EQ(name.has_value(), GetParam().text.has_value());
    if (!name)
        return;
    EXPECT_EQ(name->text(), GetParam().text);
    EXPECT_EQ(name->counter(), GetParam().counter);
    EXPECT_EQ(name->entry(), GetParam().entry);
}

TEST(BackupName, OrdersByCounterAndFoldersFirst)
{
    const auto name = [](const char* entry) { return *BackupName::ofEntry(entry); };
    EXPECT_LT(name("2099-01-01T00-00-00.000Z"), name("000001-2007-12-24T09-00-00Z.tar.zst"));
    EXPECT_LT(name("999999-2099-01-01T00-00-00Z.tar.zst"), name("1000000-1999-01-01.tar.zst"));
    EXPECT_EQ(name("2007-12-24T09-00-00.123Z-erste").date(), kDate);
    EXPECT_EQ(name("Urlaub").date(), std::nullopt);
}

}  // namespace
}  // namespace kt
