// Rewrites in the 10.4 layout that fail halfway on a real disk, and the backups they leave.

#include <cstdlib>
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

#include "tests/Sync/PlugIns/iCal/Calendar/Layout104FailuresFixture.h"

namespace kt::test {
namespace {

class Layout104Backups : public Layout104Failures {};

/// The rest of the scope acts as somebody who may not do everything, and to whom the folders
/// belong.
class OrdinaryUser {
public:
    explicit OrdinaryUser(const std::vector<std::string>& folders) : _wasRoot(::geteuid() == 0)
    {
        if (!_wasRoot)
            return;
        for (const std::string& folder : folders) {
            give(folder);
            for (const auto& item : std::filesystem::recursive_directory_iterator(folder))
                give(item.path().string());
        }
        EXPECT_EQ(::seteuid(kNobody), 0);
    }
    ~OrdinaryUser()
    {
        if (_wasRoot) {
            EXPECT_EQ(::seteuid(0), 0);
        }
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    static constexpr uid_t kNobody = 65534;

    static void give(const std::string& path)
    {
        EXPECT_EQ(::lchown(path.c_str(), kNobody, kNobody), 0) << path;
    }

    bool _wasRoot;
};

TEST_F(Layout104Backups, KeepAnItemThatCannotBeRemovedAndTheRewriteGoesOn)
{
    prepare();
    const std::string locked = home.path(kPlugin + "Sources.bak/locked.calendar");
    home.write(kPlugin + "Sources.bak/locked.calendar/corestorage.ics", "older");
    ASSERT_EQ(::chmod(locked.c_str(), 0500), 0);
    {
        const OrdinaryUser user({home.path()});
        EXPECT_TRUE(rewrite());
        ::chmod(locked.c_str(), 0700);
    }
    const Dictionary error{{"Error", "Error removing"}, {"Path", locked + "/corestorage.ics"}};
    EXPECT_EQ(errors(), (std::vector<std::string>{stringWithFormat("filemanager error: %@", error),
                                                  kNotSaved}));
    EXPECT_EQ(helper.messages()[0], errors()[0]);
    // The rest of the backup is gone, the item stands in the way of the new one.
    EXPECT_FALSE(home.exists(kPlugin + "Sources.bak/older.calendar"));
    EXPECT_EQ(disk(), (Disk{"new", "old", "new", "old", "locked", "old", "new"}));
}

TEST_F(Layout104Backups, OnAnotherDeviceStopTheMoveBackWithTheHandlersLine)
{
    struct stat here {};
    struct stat there {};
    if (::stat(home.path().c_str(), &here) != 0 || ::stat("/dev/shm", &there) != 0 ||
        here.st_dev == there.st_dev)
        GTEST_SKIP() << "there is no second device";
    std::string other = "/dev/shm/kt-test-XXXXXX";
    ASSERT_NE(::mkdtemp(other.data()), nullptr);
    prepare();
    const std::string plugin = home.path(kPlugin);
    std::filesystem::copy(plugin, other, std::filesystem::copy_options::recursive);
    home.remove(kPlugin.substr(0, kPlugin.size() - 1));
    std::filesystem::create_directory_symlink(other, plugin.substr(0, plugin.size() - 1));
    {
        // For the time of the restore nothing can be taken out of the plug-in's folder.
        failFileOperations([&](const std::string& operation) {
            const std::string name = shortened(operation);
            if (name == "removeFileAtPath nodes.plist")
                ::chmod(other.c_str(), 0500);
            return name == "movePath nodes.plist -> nodes.plist.bak";
        });
        const OrdinaryUser user({home.path(), other});
        EXPECT_FALSE(rewrite());
        ::chmod(other.c_str(), 0700);
    }
    const Dictionary error{{"Error", "Error moving"}, {"Path", plugin + "nodes.plist.bak"}};
    EXPECT_EQ(errors(),
              (std::vector<std::string>{kNodesNotMoved,
                                        stringWithFormat("filemanager error: %@", error)}));
    EXPECT_EQ(disk(), (Disk{"old", "none", "old", "none", "old", "old", "new"}));
    std::filesystem::remove_all(other);
}

TEST_F(Layout104Backups, HoldTheOldStoreWhenACalendarCannotBePrepared)
{
    prepare();
    const auto broken = calendar(kCalendarTypeNode, "broken");
    broken->setPublisher("text");
    const auto made = calendar(kCalendarTypeNode, "new");
    EXPECT_FALSE(store->storeCalendars({made, broken}));
    EXPECT_EQ(disk(), (Disk{"several", "old", "old", "older", "old", "older", "older"}));
}

TEST_F(Layout104Backups, HoldTheOldStoreNoMoreAfterTwoFailuresInARow)
{
    // Each rewrite saves what it finds, whole or not. Who has to come back to the old store after
    // two failures needs a copy made before the first, as the host makes one.
    prepare();
    const auto made = calendar(kCalendarTypeNode, "new");
    const auto broken = calendar(kCalendarTypeGroup);
    broken->setPublisher("text");
    EXPECT_FALSE(store->storeCalendars({made, broken}));
    EXPECT_EQ(disk(), (Disk{"new", "old", "old", "older", "old", "older", "older"}));
    EXPECT_FALSE(store->storeCalendars({made, broken}));
    EXPECT_EQ(disk(), (Disk{"new", "new", "old", "older", "new", "older", "older"}));
}

}  // namespace
}  // namespace kt::test
