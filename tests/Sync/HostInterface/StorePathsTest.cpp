#include <gtest/gtest.h>

#include "Sync/HostInterface/StorePaths.h"
#include "tests/support/PlatformScope.h"

namespace kt {
namespace {

struct Row {
    std::string path;
    std::string expected;
};

class StorePathsRow : public ::testing::TestWithParam<std::function<Row()>> {};

INSTANTIATE_TEST_SUITE_P(
    Rows, StorePathsRow,
    ::testing::Values(
        [] {
            return Row{StorePaths().iCalFolder(), "/h/Library/Application Support/iCal"};
        },
        [] {
            return Row{StorePaths().nodeFile(), "/h/Library/Application Support/iCal/nodes.plist"};
        },
        [] {
            return Row{StorePaths().nodeFileAside(),
                       "/h/Library/Application Support/iCal/nodes.plist.bak"};
        },
        [] {
            return Row{StorePaths().sources(), "/h/Library/Application Support/iCal/Sources"};
        },
        [] {
            return Row{StorePaths().sourcesAside(),
                       "/h/Library/Application Support/iCal/Sources.bak"};
        },
        [] {
            return Row{StorePaths().calendarFolder104("K"),
                       "/h/Library/Application Support/iCal/Sources/K.calendar"};
        },
        [] {
            return Row{StorePaths::itemsFile104("/c"), "/c/corestorage.ics"};
        },
        [] {
            return Row{StorePaths::subscriptionFile104("/c"), "/c/Properties.plist"};
        },
        [] {
            return Row{StorePaths().calendarsFolder(), "/h/Library/Calendars"};
        },
        [] {
            return Row{StorePaths().calendarCache(), "/h/Library/Calendars/Calendar Cache"};
        },
        [] {
            return Row{StorePaths().calendarFolder105("K"), "/h/Library/Calendars/K.calendar"};
        },
        [] {
            return Row{StorePaths::calendarFolderName105("K"), "K.calendar"};
        },
        [] {
            return Row{StorePaths::groupFolderName105("K"), "K.group"};
        },
        [] {
            return Row{StorePaths::eventsFolder("/c"), "/c/Events"};
        },
        [] {
            return Row{StorePaths::itemFile105("/c/Events", "K"), "/c/Events/K.ics"};
        },
        [] {
            return Row{StorePaths::oldSubscriptionFile("/c"), "/c/OldSubscription.plist"};
        },
        [] {
            return Row{StorePaths::infoFile("/c"), "/c/Info.plist"};
        },
        [] {
            return Row{StorePaths().attachmentFile("A", "b.txt"),
                       "/h/Library/Calendars/Attachments/A/b.txt"};
        },
        [] {
            return Row{StorePaths().suiteFolder(), "/h/Library/Application Support/VeloraSuite"};
        },
        [] {
            return Row{StorePaths().pluginFolder(),
                       "/h/Library/Application Support/VeloraSuite/SyncPlugins/ICalSyncPlugin"};
        },
        [] {
            return Row{
                StorePaths().calendarsBackup(),
                "/h/Library/Application Support/VeloraSuite/SyncPlugins/ICalSyncPlugin/Calendars"};
        },
        [] {
            return Row{StorePaths().sourcesBackup(),
                       "/h/Library/Application "
                       "Support/VeloraSuite/SyncPlugins/ICalSyncPlugin/Sources.bak"};
        },
        [] {
            return Row{StorePaths().nodeFileBackup(),
                       "/h/Library/Application "
                       "Support/VeloraSuite/SyncPlugins/ICalSyncPlugin/nodes.plist.bak"};
        },
        [] {
            return Row{StorePaths().newNodeFile(),
                       "/h/Library/Application "
                       "Support/VeloraSuite/SyncPlugins/ICalSyncPlugin/nodes.plist"};
        },
        [] {
            return Row{StorePaths("/other").calendarsFolder(), "/other/Library/Calendars"};
        }));

TEST_P(StorePathsRow, StandsBelowTheHomeFolder)
{
    const test::PlatformScope platform("/h");
    const Row row = GetParam()();
    EXPECT_EQ(row.path, row.expected);
}

struct KeyRow {
    std::string key;
    bool allowed;
};
class StorePathsFolderKey : public ::testing::TestWithParam<KeyRow> {};

INSTANTIATE_TEST_SUITE_P(Keys, StorePathsFolderKey,
                         ::testing::Values(KeyRow{"A", true}, KeyRow{"mit Leerzeichen", true},
                                           KeyRow{".A", true}, KeyRow{std::string(246, 'x'), true},
                                           KeyRow{std::string(247, 'x'), false}, KeyRow{"", false},
                                           KeyRow{".", false}, KeyRow{"..", false},
                                           KeyRow{"a/b", false},
                                           KeyRow{std::string("a\0b", 3), false}));

TEST_P(StorePathsFolderKey, NamesAFolderOnlyWhenItIsOnePlainComponentThatFits)
{
    EXPECT_EQ(StorePaths::isFolderKey(GetParam().key), GetParam().allowed);
}

class StorePathsItemKey : public ::testing::TestWithParam<KeyRow> {};

INSTANTIATE_TEST_SUITE_P(Keys, StorePathsItemKey,
                         ::testing::Values(KeyRow{"A", true}, KeyRow{std::string(251, 'x'), true},
                                           KeyRow{std::string(252, 'x'), false}, KeyRow{"", false},
                                           KeyRow{".", false}, KeyRow{"..", false},
                                           KeyRow{"a/b", false},
                                           KeyRow{std::string("a\0b", 3), false}));

TEST_P(StorePathsItemKey, NamesAFileOnlyWhenItIsOnePlainComponentThatFits)
{
    EXPECT_EQ(StorePaths::isItemKey(GetParam().key), GetParam().allowed);
}

}  // namespace
}  // namespace kt
