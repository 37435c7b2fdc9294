#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarStore.h"
#include "Sync/PlugIns/iCal/Calendar/StoreLayout.h"
#include "tests/Sync/PlugIns/iCal/Calendar/ModelFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

struct LayoutRow {
    const char* name;
    int systemVersion;
    std::vector<std::string> toBackUp;  // relative to the home folder
    std::vector<std::string> toWatch;
    std::string calendarFolder;  // of the key "K"
    std::string itemsFolder;
};

void PrintTo(const LayoutRow& row, std::ostream* stream) { *stream << row.name; }

const LayoutRow kLayout104{"Layout104",
                           4,
                           {"Library/Application Support/iCal"},
                           {"Library/Application Support/iCal/nodes.plist"},
                           "Library/Application Support/iCal/Sources/K.calendar",
                           "Library/Application Support/iCal/Sources/K.calendar"};
const LayoutRow kLayout105{"Layout105",
                           5,
                           {"Library/Calendars"},
                           {"Library/Calendars/Calendar Cache"},
                           "Library/Calendars/K.calendar",
                           "Library/Calendars/K.calendar/Events"};

/// What every layout promises, whichever it is. The home holds a store without calendars.
class EachStoreLayout : public ModelFixture, public testing::WithParamInterface<LayoutRow> {
protected:
    using Calendars = KTSyncCalendarStore::Calendars;

    EachStoreLayout()
    {
        helper.script.macOSVersion = GetParam().systemVersion;
        home.makeFolder("Library/Calendars");
        home.write("Library/Application Support/iCal/nodes.plist",
                   xmlPropertyList(Dictionary{{"Version", 2}, {"List", Array{}}}));
    }

    std::shared_ptr<KTSyncCalendar> titled(const std::string& title,
                                           std::int32_t type = kCalendarTypeNode)
    {
        auto made = calendar(type, "key-" + title);
        made->setTitle(title);
        return made;
    }
    std::shared_ptr<KTSyncCalendar> memberOf(const KTSyncCalendar& group, const std::string& title)
    {
        auto made = titled(title);
        made->setParentRecordKey(group.recordKey());
        return made;
    }

    /// By title.
    using Read = std::map<std::string, std::shared_ptr<KTSyncCalendar>>;

    Read read()
    {
        const auto parsed = store->calendars();
        EXPECT_TRUE(parsed.has_value());
        Read found;
        for (const auto& [key, calendar] : parsed.value_or(ParsedCalendars()))
            found[calendar->title().value_or("")] = calendar;
        return found;
    }
    Read writeAndRead(const Calendars& calendars)
    {
        EXPECT_TRUE(store->storeCalendars(calendars));
        return read();
    }
    std::vector<std::string> belowHome(std::vector<std::string> relative) const
    {
        for (std::string& path : relative)
            path = home.path(path);
        return relative;
    }
    static std::vector<std::string> titlesOf(const KTSyncCalendar::Events* events)
    {
        std::vector<std::string> titles;
        for (const auto& event : events == nullptr ? KTSyncCalendar::Events() : *events)
            titles.push_back(event->title().description());
        return titles;
    }

    std::shared_ptr<KTSyncCalendarStore> store =
        KTSyncCalendarStore::calendarStoreWithPluginHelper(&helper);
    const std::unique_ptr<const StoreLayout> layout =
        StoreLayout::forSystemVersion(GetParam().systemVersion);
};

INSTANTIATE_TEST_SUITE_P(Layouts, EachStoreLayout, testing::Values(kLayout104, kLayout105));

TEST_P(EachStoreLayout, IsTheOneOfItsSystem)
{
    ASSERT_NE(layout, nullptr);
    const auto same = StoreLayout::ofHost(&helper);
    ASSERT_NE(same, nullptr);
    EXPECT_EQ(same->filesToBackup(), layout->filesToBackup());
    EXPECT_TRUE(StoreLayout::isOfferedOnSystem(GetParam().systemVersion));
}

TEST_P(EachStoreLayout, SaysWhereThingsStand)
{
    EXPECT_EQ(layout->filesToBackup(), belowHome(GetParam().toBackUp));
    EXPECT_EQ(layout->filesToWatch(), belowHome(GetParam().toWatch));
    EXPECT_EQ(layout->calendarFolder("K"), home.path(GetParam().calendarFolder));
    EXPECT_EQ(layout->itemsFolder(layout->calendarFolder("K")), home.path(GetParam().itemsFolder));
}

TEST_P(EachStoreLayout, MayStandInAnotherHome)
{
    const auto other =
        StoreLayout::forSystemVersion(GetParam().systemVersion, StorePaths("/anderswo"));
    EXPECT_EQ(other->calendarFolder("K"), "/anderswo/" + GetParam().calendarFolder);
}

TEST_P(EachStoreLayout, IsWhatACalendarGoesBy)
{
    const auto written = calendar(kCalendarTypeNode, "K");
    EXPECT_EQ(written->corestoragePath(), layout->calendarFolder("K"));
    EXPECT_FALSE(written->iCalNode().empty());
    EXPECT_EQ(written->iCalNode(), layout->node(*written));
}

TEST_P(EachStoreLayout, ReadsAStoreWithoutCalendarsAsEmpty)
{
    EXPECT_THAT(read(), IsEmpty());
    EXPECT_THAT(classes.losses(), IsEmpty());
}

TEST_P(EachStoreLayout, GivesBackTheCalendarsThatWereWritten)
{
    auto hidden = titled("Arbeit");
    hidden->setColor("#0252D4");
    hidden->setSelected(false);
    const auto found = writeAndRead({hidden, titled("Geburtstage", kCalendarTypeBirthday)});
    ASSERT_EQ(found.size(), 2u);
    const KTSyncCalendar& work = *found.at("Arbeit");
    EXPECT_EQ(work.calendarType(), kCalendarTypeNode);
    EXPECT_EQ(work.color(), "#0252D4");
    EXPECT_EQ(work.ownSourceKey(), "key-Arbeit");
    EXPECT_EQ(work.recordKey(), hidden->recordKey());
    EXPECT_FALSE(work.selected());
    EXPECT_EQ(found.at("Geburtstage")->calendarType(), kCalendarTypeBirthday);
    EXPECT_TRUE(found.at("Geburtstage")->selected());
}

TEST_P(EachStoreLayout, PutsNewContentInThePlaceOfAllThatWasThere)
{
    store->storeCalendars({titled("Alt")});
    EXPECT_THAT(writeAndRead({titled("Neu")}), ElementsAre(Pair("Neu", testing::_)));
    EXPECT_THAT(writeAndRead({}), IsEmpty());
}

TEST_P(EachStoreLayout, KeepsGroupsTogetherInWhicheverOrderTheyCome)
{
    auto group = calendar(kCalendarTypeGroup, std::nullopt);  // groups travel without source keys
    group->setTitle("Team");
    group->setExpanded(false);
    const auto found = writeAndRead(
        {memberOf(*group, "Davor"), group, memberOf(*group, "Danach"), titled("Frei")});
    ASSERT_EQ(found.size(), 4u);
    EXPECT_EQ(found.at("Team")->calendarType(), kCalendarTypeGroup);
    EXPECT_FALSE(found.at("Team")->expanded());
    EXPECT_EQ(found.at("Davor")->parentRecordKey(), group->recordKey());
    EXPECT_EQ(found.at("Danach")->parentRecordKey(), group->recordKey());
    EXPECT_NE(found.at("Frei")->parentRecordKey(), group->recordKey());
}

TEST_P(EachStoreLayout, KeepsTheOrder)
{
    Calendars calendars{titled("C"), titled("A"), titled("B")};
    for (std::size_t position = 0; position < calendars.size(); ++position)
        calendars[position]->setOrder(static_cast<std::int32_t>(position));
    const auto found = writeAndRead(calendars);
    ASSERT_EQ(found.size(), 3u);
    EXPECT_EQ(found.at("C")->order(), 0);
    EXPECT_EQ(found.at("A")->order(), 1);
    EXPECT_EQ(found.at("B")->order(), 2);
}

TEST_P(EachStoreLayout, GivesBackTheItems)
{
    auto work = titled("Arbeit");
    work->addEvent(
        event("DTSTAMP:20071201T000000Z\nDTSTART:20071224T100000Z\n"
              "DTEND:20071224T110000Z\nSUMMARY:Besprechung"));
    work->addEvent(
        event("DTSTAMP:20071201T000000Z\nDTSTART;VALUE=DATE:20071225\n"
              "DTEND;VALUE=DATE:20071226\nSUMMARY:Feiertag"));
    work->addTask(task("SUMMARY:Einkaufen"));
    const auto found = writeAndRead({work});
    ASSERT_EQ(found.size(), 1u);
    EXPECT_THAT(titlesOf(found.at("Arbeit")->events()),
                UnorderedElementsAre("Besprechung", "Feiertag"));
    ASSERT_NE(found.at("Arbeit")->tasks(), nullptr);
    ASSERT_EQ(found.at("Arbeit")->tasks()->size(), 1u);
    EXPECT_EQ(found.at("Arbeit")->tasks()->front()->title(), Value("Einkaufen"));
}

TEST_P(EachStoreLayout, WritesTheItemsAtHandWithoutLoadingAny)
{
    auto work = titled("Arbeit");
    work->addTask(task("SUMMARY:Einkaufen"));
    ASSERT_TRUE(store->storeCalendars({work}));
    const auto unloaded = titled("Arbeit");
    EXPECT_TRUE(unloaded->storeEventsAndTasks());
    EXPECT_EQ(unloaded->heldEvents(), nullptr);
    EXPECT_EQ(unloaded->heldTasks(), nullptr);
}

TEST_P(EachStoreLayout, GivesAnOccurrenceTheUIDOfItsSeries)
{
    auto occurrence = event(
        "DTSTAMP:20071201T000000Z\nDTSTART:20071224T100000Z\n"
        "DTEND:20071224T110000Z\nSUMMARY:Besprechung");
    occurrence->setRecurrenceParentRecordKey("Reihe");
    auto work = titled("Arbeit");
    work->addEvent(occurrence);
    ASSERT_TRUE(store->storeCalendars({work}));
    EXPECT_EQ(occurrence->uid(), Value("Reihe"));
}

TEST_P(EachStoreLayout, WritesWithinWhatIsBackedUpAndThePluginsFolder)
{
    const auto before = home.tree();
    ASSERT_TRUE(store->storeCalendars({titled("Arbeit")}));
    for (const auto& [path, content] : home.tree()) {
        const auto known = before.find(path);
        if (known != before.end() && known->second == content)
            continue;
        EXPECT_TRUE(path.starts_with(GetParam().toBackUp.front()) ||
                    path.starts_with("Library/Application Support/VeloraSuite/"))
            << path;
    }
}

class SystemWithoutStoreLayout : public ModelFixture, public testing::WithParamInterface<int> {
protected:
    SystemWithoutStoreLayout() { helper.script.macOSVersion = GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(Versions, SystemWithoutStoreLayout,
                         testing::Values(-1, 0, 1, 2, 3, 6, 7, 100));

TEST_P(SystemWithoutStoreLayout, HasNone)
{
    EXPECT_EQ(StoreLayout::forSystemVersion(GetParam()), nullptr);
    EXPECT_EQ(StoreLayout::ofHost(&helper), nullptr);
}

TEST_P(SystemWithoutStoreLayout, LeavesACalendarWithoutFolderAndNode)
{
    const auto orphan = calendar();
    EXPECT_EQ(orphan->corestoragePath(), std::nullopt);
    EXPECT_TRUE(orphan->iCalNode().empty());
    EXPECT_EQ(orphan->events(), nullptr);
    EXPECT_FALSE(orphan->storeEventsAndTasks());
    EXPECT_THAT(home.tree(), IsEmpty());
}

TEST_P(SystemWithoutStoreLayout, IsOfferedCalendarsWhenItIsNewer)
{
    EXPECT_EQ(StoreLayout::isOfferedOnSystem(GetParam()), GetParam() >= 4);
}

TEST(StoreLayout, IsNoneWithoutAHost) { EXPECT_EQ(StoreLayout::ofHost(nullptr), nullptr); }

}  // namespace
}  // namespace kt::test
