#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/StorePaths.h"
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
            return Row{StorePaths::iCalFolder(), "/h/Library/Application Support/iCal"};
        },
        [] {
            return Row{StorePaths::nodeFile(), "/h/Library/Application Support/iCal/nodes.plist"};
        },
        [] {
            return Row{StorePaths::calendarFolder104("K"),
                       "/h/Library/Application Support/iCal/Sources/K.calendar"};
        },
        [] {
            return Row{StorePaths::sources(), "/h/Library/Application Support/iCal/Sources"};
        },
        [] {
            return Row{StorePaths::sourcesAside(),
                       "/h/Library/Application Support/iCal/Sources.bak"};
        },
        [] {
            return Row{StorePaths::nodeFileAside(),
                       "/h/Library/Application Support/iCal/nodes.plist.bak"};
        },
        [] {
            return Row{StorePaths::itemsFile104("/c"), "/c/corestorage.ics"};
        },
        [] {
            return Row{StorePaths::subscriptionFile104("/c"), "/c/Properties.plist"};
        },
        [] {
            return Row{StorePaths::sourcesBackup(),
                       "/h/Library/Application "
                       "Support/VeloraSuite/SyncPlugins/ICalSyncPlugin/Sources.bak"};
        },
        [] {
            return Row{StorePaths::nodeFileBackup(),
                       "/h/Library/Application "
                       "Support/VeloraSuite/SyncPlugins/ICalSyncPlugin/nodes.plist.bak"};
        },
        [] {
            return Row{StorePaths::newNodeFile(),
                       "/h/Library/Application "
                       "Support/VeloraSuite/SyncPlugins/ICalSyncPlugin/nodes.plist"};
        },
        [] {
            return Row{StorePaths::calendarsFolder(), "/h/Library/Calendars"};
        },
        [] {
            return Row{StorePaths::calendarCache(), "/h/Library/Calendars/Calendar Cache"};
        },
        [] {
            return Row{StorePaths::calendarFolder105("K"), "/h/Library/Calendars/K.calendar"};
        },
        [] {
            return Row{StorePaths::folderName105("K", 0), "K.calendar"};
        },
        [] {
            return Row{StorePaths::folderName105("K", 1), "K.group"};
        },
        [] {
            return Row{StorePaths::folderName105("K", 2), "K.calendar"};
        },
        [] {
            return Row{StorePaths::folderName105("K", 3), "K.calendar"};
        },
        [] {
            return Row{StorePaths::eventsFolder("/c"), "/c/Events"};
        },
        [] {
            return Row{StorePaths::oldSubscriptionFile("/c"), "/c/OldSubscription.plist"};
        },
        [] {
            return Row{StorePaths::infoFile("/c"), "/c/Info.plist"};
        },
        [] {
            return Row{StorePaths::pluginFolder(),
                       "/h/Library/Application Support/VeloraSuite/SyncPlugins/ICalSyncPlugin"};
        },
        [] {
            return Row{
                StorePaths::calendarsBackup(),
                "/h/Library/Application Support/VeloraSuite/SyncPlugins/ICalSyncPlugin/Calendars"};
        }));

TEST_P(StorePathsRow, StandsBelowTheHomeFolder)
{
    const test::PlatformScope platform("/h");
    const Row row = GetParam()();
    EXPECT_EQ(row.path, row.expected);
}

struct FolderKeyRow {
    std::string key;
    bool allowed;
};
class StorePathsFolderKey : public ::testing::TestWithParam<FolderKeyRow> {};

INSTANTIATE_TEST_SUITE_P(
    Keys, StorePathsFolderKey,
    ::testing::Values(FolderKeyRow{"A", true}, FolderKeyRow{"mit Leerzeichen", true},
                      FolderKeyRow{".A", true}, FolderKeyRow{std::string(246, 'x'), true},
                      FolderKeyRow{std::string(247, 'x'), false}, FolderKeyRow{"", false},
                      FolderKeyRow{".", false}, FolderKeyRow{"..", false},
                      FolderKeyRow{"a/b", false}, FolderKeyRow{std::string("a\0b", 3), false}));

TEST_P(StorePathsFolderKey, NamesAFolderOnlyWhenItIsOnePlainComponentThatFits)
{
    EXPECT_EQ(StorePaths::isFolderKey(GetParam().key), GetParam().allowed);
}

}  // namespace
}  // namespace kt
