// Calendars whose source keys name no folder of the store.

#include "tests/Sync/PlugIns/iCal/Calendar/Layout104ReaderFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Layout104ReaderOutside : public Layout104Reader,
                               public ::testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(SourceKeys, Layout104ReaderOutside,
                         ::testing::Values("../outside", "a/b", "/", "", ".", "..",
                                           std::string(250, 'k')));

TEST_P(Layout104ReaderOutside, RefusesASourceKeyThatLeadsOutOfTheStoreWithOneLine)
{
    home.write(kICal + "Sources/../outside.calendar/Info.plist",
               xmlPropertyList(Dictionary{{"Title", "Fremd"}, {"Type", kOrdinary}}));
    writeCalendar("B", "Zuhause");
    writeNodes({with(calendarNode("A"), "SourceKey", GetParam()), calendarNode("B")});
    EXPECT_THAT(titles(readStore()), ElementsAre("Zuhause"));
    EXPECT_THAT(helper.messages(), ElementsAre("Der Kalender wird nicht gelesen: '" + GetParam() +
                                                   "' ist als Ordnername nicht erlaubt",
                                               "Kalender: 'Zuhause'"));
    EXPECT_THAT(losses(),
                ElementsAre(
                    KTLoss{"", home.path(kNodeFile),
                           "Der SourceKey des Kalenders ist als Ordnername nicht erlaubt"}));
}

TEST_P(Layout104ReaderOutside, KeepsACalendarWhoseNodeSaysEnoughWithoutAFolder)
{
    home.write(kICal + "Sources/../outside.calendar/Info.plist",
               xmlPropertyList(Dictionary{{"Title", "Fremd"}, {"Type", kBirthdays}}));
    Dictionary node = with(with(calendarNode("A"), "SourceKey", GetParam()), "Title", "Arbeit");
    node.set("Notes", "Notiz");
    node.set("Selection", false);
    writeNodes({node, calendarNode("B")});
    writeCalendar("B", "Zuhause");
    const auto parsed = readStore();
    EXPECT_THAT(titles(parsed), ElementsAre("Arbeit", "Zuhause"));
    EXPECT_THAT(helper.messages(), ElementsAre("Kalender: 'Arbeit'", "Kalender: 'Zuhause'"));
    EXPECT_THAT(losses(), IsEmpty());
    const auto kept = titled(parsed, "Arbeit");
    EXPECT_EQ(kept->calendarType(), kCalendarTypeNode);
    EXPECT_EQ(kept->ownSourceKey(), GetParam());
    EXPECT_EQ(kept->notes(), "Notiz");
    EXPECT_EQ(kept->order(), 0);
    EXPECT_FALSE(kept->selected());
    EXPECT_EQ(titled(parsed, "Zuhause")->order(), 1);
    EXPECT_EQ(kept->corestoragePath(), std::nullopt);
    EXPECT_EQ(kept->events(), nullptr);
}

class Layout104ReaderOutsideWithoutDescription
    : public Layout104Reader,
      public ::testing::WithParamInterface<std::pair<const char*, Value>> {};

INSTANTIATE_TEST_SUITE_P(Entries, Layout104ReaderOutsideWithoutDescription,
                         ::testing::Values(std::pair{"Title", Value()},
                                           std::pair{"Title", Value(7)},
                                           std::pair{"ThemeColor", Value()}));

TEST_P(Layout104ReaderOutsideWithoutDescription, GivesNoCalendar)
{
    Dictionary node = with(with(calendarNode("A"), "SourceKey", "a/b"), "Title", "Arbeit");
    node.remove(GetParam().first);
    node.setIfPresent(GetParam().first, GetParam().second);
    writeNodes({node});
    EXPECT_THAT(readStore(), IsEmpty());
    ASSERT_EQ(losses().size(), 1u);
    EXPECT_EQ(losses()[0].reason, "Der SourceKey des Kalenders ist als Ordnername nicht erlaubt");
    EXPECT_EQ(classes.lossesAsTold()[0].kind, KTLoss::Kind::unread);
    EXPECT_EQ(classes.lossesAsTold()[0].extent, KTLoss::Extent::calendar);
}

TEST_F(Layout104Reader, AcceptsTheLongestSourceKeyThatNamesAFolder)
{
    const std::string longest(255 - std::string(".calendar").size(), 'k');
    writeCalendar(longest, "Arbeit");
    writeNodes({calendarNode(longest)});
    EXPECT_THAT(titles(readStore()), ElementsAre("Arbeit"));
}

}  // namespace
}  // namespace kt::test
