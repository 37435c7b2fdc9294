#include <string>

#include <gtest/gtest.h>

#include "tests/Sync/Host/Engine/MemoryHome.h"
#include "tests/support/HostClassesScope.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

class MemoryHomes : public testing::TestWithParam<Layout> {
protected:
    std::map<std::string, std::string> bytes() const
    {
        std::map<std::string, std::string> bytes;
        for (const auto& [path, description] : home.store.disk()->description(home.store.root()))
            bytes[path] =
                home.store.disk()->contentsAtPath(home.store.root() + "/" + path).value_or("");
        return bytes;
    }

    PlatformScope platform;
    HostClassesScope classes;
    TemporaryFolder folder;
    MemoryHome home{"a", folder.path("a.state"), "sqlite:" + folder.path("server.db"), GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Layouts, MemoryHomes, testing::Values(Layout::leopard, Layout::tiger));

TEST_P(MemoryHomes, WhatIsWrittenIsRead)
{
    HomeCalendar group = calendar("Haus");
    group.type = "CalendarGroup";
    HomeCalendar garden = calendar("Garten", {task("Gießen", {{"Notes", "abends"}}),
                                              event("Ernte", "20080801T100000")});
    garden.group = "Haus";
    HomeCalendar feed = calendar("Feiertage", {event("Neujahr", "20080101")});
    feed.type = "CalendarSubscriber";
    feed.order = 1;
    home.store.calendars = {group, garden, feed};
    home.writeStore();
    const auto read = home.calendarsAsRead();
    ASSERT_EQ(read.size(), 3U);
    for (const HomeCalendar& each : read) {
        EXPECT_EQ(each.type, home.store.calendar(each.title)->type) << each.title;
        EXPECT_EQ(each.stored->folder, home.store.calendar(each.title)->stored->folder);
        EXPECT_EQ(each.group, home.store.calendar(each.title)->group) << each.title;
        ASSERT_EQ(each.items.size(), home.store.calendar(each.title)->items.size()) << each.title;
        for (const HomeItem& item : each.items) {
            Dictionary fields = item.fields;
            fields.remove("AllDay");
            const std::string title = item.fields["Title"].description();
            EXPECT_EQ(fields, home.store.item(each.title, title)->fields);
        }
    }
}

TEST_P(MemoryHomes, WhatIsNotTouchedStaysByteForByte)
{
    home.store.calendars = {calendar("Privat", {event("Zahnarzt", "20071224T100000"),
                                                event("Probe", "20071225T190000")}),
                            calendar("Arbeit", {task("Bericht")})};
    home.sync();
    const auto before = bytes();
    home.writeStore();
    EXPECT_EQ(bytes(), before);
    home.store.item("Privat", "Zahnarzt")->fields.set("Location", "Praxis");
    home.writeStore();
    std::size_t changed = 0;
    for (const auto& [path, text] : bytes())
        changed += before.count(path) == 0 || before.at(path) != text ? 1 : 0;
    EXPECT_EQ(changed, 1U);
}

TEST_P(MemoryHomes, WhatIsBrokenIsToldOfAndComesBackWhenItIsMended)
{
    home.store.calendars = {calendar("Privat",
                                     {event("Zahnarzt", "20071224T100000"), task("Einkaufen")}),
                            calendar("Arbeit", {task("Bericht")})};
    home.sync();
    const auto before = bytes();
    home.store.item("Privat", "Zahnarzt")->isBroken = true;
    home.store.item("Privat", "Einkaufen")->isBroken = true;
    home.store.calendar("Arbeit")->isBroken = true;
    EXPECT_EQ(home.sync().newlyUnread.size(), 3U);
    EXPECT_EQ(home.store.count("Zahnarzt"), 1);
    home.store.item("Privat", "Zahnarzt")->isBroken = false;
    home.store.item("Privat", "Einkaufen")->isBroken = false;
    home.store.calendar("Arbeit")->isBroken = false;
    home.writeStore();
    EXPECT_EQ(bytes(), before);
    EXPECT_TRUE(home.sync().losses.empty());
}

TEST_P(MemoryHomes, WhatTheDiskCannotReadIsToldOfAndStays)
{
    home.store.calendars = {calendar("Privat", {event("Zahnarzt", "20071224T100000")}),
                            calendar("Arbeit", {task("Bericht")})};
    home.sync();
    const auto before = bytes();
    home.unreadable = {"Zahnarzt", "Arbeit"};
    EXPECT_EQ(home.sync().newlyUnread.size(), 2U);
    EXPECT_EQ(bytes(), before);
    home.unreadable = {};
    EXPECT_TRUE(home.sync().losses.empty());
    EXPECT_EQ(bytes(), before);
}

TEST_P(MemoryHomes, ARewriteIsKilledOnceTheStoreHasChanged)
{
    home.store.calendars = {calendar("Privat", {event("Zahnarzt", "20071224T100000")})};
    home.sync();
    MemoryHome other("b", folder.path("b.state"), home.serverUrl, GetParam());
    const auto empty = other.store.disk()->description(other.store.root());
    MemoryHome::Wishes wishes;
    wishes.breakAt = Break::killInRewrite;
    other.sync(wishes);
    EXPECT_NE(other.store.disk()->description(other.store.root()), empty);
    EXPECT_EQ(other.store.count("Zahnarzt"), 0);
    EXPECT_TRUE(other.sync().settled);
    EXPECT_EQ(other.store.count("Zahnarzt"), 1);
}

}  // namespace
}  // namespace kt::test
