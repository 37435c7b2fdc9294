#include <filesystem>

#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/EmptyFolder.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

class EmptyFolder : public ::testing::Test {
protected:
    bool isEmpty() const { return isEmptyFolder(_folder.path("A.calendar")); }

    TemporaryFolder _folder;
};

TEST_F(EmptyFolder, HoldsNothing)
{
    _folder.makeFolder("A.calendar");
    EXPECT_TRUE(isEmpty());
}

TEST_F(EmptyFolder, MayHoldFoldersThatHoldNothing)
{
    _folder.makeFolder("A.calendar/Events");
    _folder.makeFolder("A.calendar/Attachments/deep");
    EXPECT_TRUE(isEmpty());
}

TEST_F(EmptyFolder, MayHoldWhatAWriteLeftThatWasCutOff)
{
    _folder.write("A.calendar/.Info.plist.tmp-1-1", "text");
    EXPECT_TRUE(isEmpty());
}

TEST_F(EmptyFolder, HoldsNoFileHoweverDeep)
{
    _folder.write("A.calendar/Events/deep/1.ics", "text");
    EXPECT_FALSE(isEmpty());
}

TEST_F(EmptyFolder, HoldsNoLink)
{
    _folder.makeFolder("A.calendar");
    std::filesystem::create_symlink("nowhere", _folder.path("A.calendar/Events"));
    EXPECT_FALSE(isEmpty());
}

TEST_F(EmptyFolder, IsAFolder)
{
    EXPECT_FALSE(isEmpty());
    _folder.write("A.calendar", "text");
    EXPECT_FALSE(isEmpty());
}

}  // namespace
}  // namespace kt::test
