#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/SyncKit.h"

namespace kt::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::SizeIs;

/// The laptop's store as it was before three of its events were edited and a fourth was entered.
class OlderCopyStory : public testing::Test {
protected:
    OlderCopyStory()
    {
        laptop.addCalendar("PRIVAT", "Privat");
        for (const char* title : {"Arzt", "Bank", "Chor"})
            write(title, {.title = title, .sequence = 1});
        laptop.sync();
        fs::copy(store(), copy(), fs::copy_options::recursive);
        for (const char* title : {"Arzt", "Bank", "Chor"})
            write(title, {.title = title, .sequence = 2, .more = "LOCATION:Stadt\r\n"});
        write("Dank", {.title = "Dank"});
        laptop.sync();
        desk.sync();
    }

    void write(const std::string& file, const StoryEvent& event) const
    {
        laptop.addEvent("PRIVAT", file + ".ics", event);
    }

    void putCopyInPlace() const
    {
        fs::remove_all(store());
        fs::copy(copy(), store(), fs::copy_options::recursive);
    }

    std::string store() const { return laptop.folder().path("Library/Calendars"); }
    std::string copy() const { return laptop.folder().path("Copy"); }

    StoryServer server;
    StoryHome laptop{server};
    StoryHome desk{server};
};

TEST_F(OlderCopyStory, IsNoticedAndChangesNothing)
{
    const auto records = server.records();
    putCopyInPlace();
    const auto before = laptop.storeSnapshot();
    const ProgramResult result = laptop.sync();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out + result.err, HasSubstr("3 Einträge sind älter"));
    EXPECT_THAT(result.out + result.err, HasSubstr("1 fehlen"));
    EXPECT_EQ(server.records(), records);
    EXPECT_EQ(laptop.storeSnapshot(), before);
}

TEST_F(OlderCopyStory, GetsBackWhatCameSinceWhereTheUserSaysSo)
{
    putCopyInPlace();
    EXPECT_EQ(laptop.sync().exitCode, 1);
    write("Bank", {.title = "Bank", .sequence = 3, .more = "LOCATION:Land\r\n"});
    write("Ende", {.title = "Ende"});
    const ProgramResult result = laptop.sync({"--put-back"});
    EXPECT_EQ(result.exitCode, 0) << result.out << result.err;
    EXPECT_EQ(desk.sync().exitCode, 0);
    for (const StoryHome* home : {&laptop, &desk}) {
        EXPECT_THAT(home->filesWith("PRIVAT", "LOCATION:Stadt"), SizeIs(2));
        EXPECT_THAT(home->filesWith("PRIVAT", "LOCATION:Land"), SizeIs(1));
        EXPECT_THAT(home->filesWith("PRIVAT", "SUMMARY:Dank"), SizeIs(1));
        EXPECT_THAT(home->filesWith("PRIVAT", "SUMMARY:Ende"), SizeIs(1));
    }
    EXPECT_EQ(laptop.sync().exitCode, 0);
}

TEST_F(OlderCopyStory, CanBeMeant)
{
    putCopyInPlace();
    EXPECT_EQ(laptop.sync({"--allow-mass-delete"}).exitCode, 0);
    EXPECT_EQ(desk.sync().exitCode, 0);
    EXPECT_THAT(desk.filesWith("PRIVAT", "LOCATION:Stadt"), SizeIs(0));
    EXPECT_THAT(desk.filesWith("PRIVAT", "SUMMARY:Dank"), SizeIs(0));
}

TEST_F(OlderCopyStory, IsNoneWhereAsManyWereEdited)
{
    for (const char* title : {"Arzt", "Bank", "Chor", "Dank"})
        write(title, {.title = title, .sequence = 3, .more = "LOCATION:Land\r\n"});
    EXPECT_EQ(laptop.sync().exitCode, 0);
    EXPECT_THAT(laptop.run({"sync", "--put-back", "--dry-run"}).exitCode, 2);
}

}  // namespace
}  // namespace kt::test
