// What the reader takes of subscriptions and publications.

#include "Sync/Foundation/KeyedArchive.h"
#include "tests/Sync/PlugIns/iCal/Calendar/Layout104ReaderFixture.h"
#include "tests/support/FailingFileManager.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// Subscriptions.

TEST_F(Layout104Reader, TakesTheBytesOfASubscriptionAndNoDictionary)
{
    writeCalendar("A", "Spiele", kSubscription);
    home.write(folderOf("A") + "Properties.plist", std::string("no\0plist", 8));
    writeNodes({calendarNode("A")});
    const auto calendar = titled(readStore(), "Spiele");
    EXPECT_EQ(calendar->subscriberData(), Value(Data{std::string("no\0plist", 8)}));
    EXPECT_TRUE(calendar->subscriber().isNil());
    EXPECT_THAT(helper.messages(), ElementsAre("Kalender: 'Spiele'"));
    EXPECT_THAT(helper.fileLog(), IsEmpty());
}

TEST_F(Layout104Reader, ReadsNoSubscriptionOfAnOrdinaryCalendar)
{
    writeCalendar("A", "Arbeit");
    home.write(folderOf("A") + "Properties.plist", "bytes");
    writeNodes({calendarNode("A")});
    EXPECT_TRUE(titled(readStore(), "Arbeit")->subscriberData().isNil());
}

TEST_F(Layout104Reader, KeepsASubscriptionWithoutPropertiesAndSaysSo)
{
    writeCalendar("A", "Spiele", kSubscription);
    writeNodes({calendarNode("A")});
    const auto calendar = titled(readStore(), "Spiele");
    EXPECT_TRUE(calendar->subscriberData().isNil());
    EXPECT_TRUE(calendar->subscriber().isNil());
    expectOnHostOnly("Abo-Beschreibung fuer Kalender 'Spiele' existiert nicht");
    EXPECT_THAT(losses(), IsEmpty());  // there was nothing to lose
}

TEST_F(Layout104Reader, TellsTheLossOfPropertiesThatCannotBeRead)
{
    writeCalendar("A", "Spiele", kSubscription);
    home.makeFolder(folderOf("A") + "Properties.plist");
    writeNodes({calendarNode("A")});
    EXPECT_THAT(titles(readStore()), ElementsAre("Spiele"));
    EXPECT_THAT(losses(),
                ElementsAre(KTLoss{"Spiele", home.path(folderOf("A") + "Properties.plist"),
                                   "Die Abo-Beschreibung kann nicht gelesen werden"}));
}

/// Answers that one file cannot be read, once.
class OnceUnreadable : public FailingFileManager {
public:
    explicit OnceUnreadable(std::string name)
        : FailingFileManager(makePosixFileManager(), 0),
          _name(std::move(name))
    {}

    std::optional<std::string> contentsAtPath(const std::string& path) const override
    {
        if (lastPathComponent(path) == _name) {
            _name.clear();
            return std::nullopt;
        }
        return FailingFileManager::contentsAtPath(path);
    }

private:
    mutable std::string _name;
};

/// A subscription whose file cannot be read at first, then as a dictionary.
class Layout104ReaderFallback : public Layout104Reader {
protected:
    std::shared_ptr<KTSyncCalendar> readSubscription(const std::string& properties)
    {
        writeCalendar("A", "Spiele", kSubscription);
        home.write(folderOf("A") + "Properties.plist", properties);
        writeNodes({calendarNode("A")});
        Platform::shared().setFileManager(std::make_shared<OnceUnreadable>("Properties.plist"));
        auto calendar = titled(readStore(), "Spiele");
        EXPECT_THAT(helper.messages(),
                    ElementsAre("Abo-Beschreibung fuer Kalender 'Spiele' existiert nicht",
                                "Kalender: 'Spiele'"));
        return calendar;
    }
};

TEST_F(Layout104ReaderFallback, TakesTheFirstWebAddressAmongTheObjects)
{
    const auto calendar = readSubscription(xmlPropertyList(Dictionary{
        {"$objects", Array{"$null", 7, "https://sicher.invalid", "http://erste.invalid/a.ics",
                           "http://zweite.invalid/b.ics"}}}));
    EXPECT_EQ(calendar->subscriber(),
              Value(Dictionary{{"SubscriptionURL", "http://erste.invalid/a.ics"}}));
    EXPECT_TRUE(calendar->subscriberData().isNil());
    EXPECT_THAT(helper.fileLog(), ElementsAre("SubscriptionURL: http://erste.invalid/a.ics"));
}

TEST_F(Layout104ReaderFallback, FindsTheAddressInARealArchive)
{
    const auto calendar = readSubscription(archivedDataWithRootObject(
        Dictionary{{"RemoteURL", std::make_shared<URL>("http://erste.invalid/a.ics")}}));
    EXPECT_EQ(calendar->subscriber(),
              Value(Dictionary{{"SubscriptionURL", "http://erste.invalid/a.ics"}}));
}

class Layout104ReaderFallbackWithoutAddress : public Layout104ReaderFallback,
                                              public ::testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P(
    Properties, Layout104ReaderFallbackWithoutAddress,
    ::testing::Values(xmlPropertyList(Dictionary{{"$objects", Array{"$null", "ftp://a.invalid"}}}),
                      xmlPropertyList(Dictionary{{"$objects", Array{}}}),
                      xmlPropertyList(Dictionary{{"Anderes", 1}}), std::string("no property list"),
                      xmlPropertyList(Array{"http://a.invalid"})));

TEST_P(Layout104ReaderFallbackWithoutAddress, LeavesTheSubscriberNil)
{
    EXPECT_TRUE(readSubscription(GetParam())->subscriber().isNil());
    EXPECT_THAT(helper.fileLog(), IsEmpty());
}

TEST_F(Layout104ReaderFallback, LogsAnExceptionToTheFileLoggerAndReadsOn)
{
    EXPECT_TRUE(readSubscription(xmlPropertyList(Dictionary{{"$objects", "keine Liste"}}))
                    ->subscriber()
                    .isNil());
    EXPECT_THAT(helper.fileLog(),
                ElementsAre("[KTSyncCalendarStore parseMacOS104Calendars]: SubscriptionURL\n"
                            "Liste erwartet, Text gefunden"));
}

// Publishers.

TEST_F(Layout104Reader, UsesTheFirstOfTwoPublishersAndTellsOfTheOther)
{
    writeCalendar("A", "Arbeit");
    const Dictionary first{{"UploadURL", "http://erste.invalid"}};
    const Dictionary second{{"UploadURL", "http://zweite.invalid"}};
    writeNodes({with(calendarNode("A"), "Publishers", Array{first, second})});
    EXPECT_EQ(titled(readStore(), "Arbeit")->publisher(), Value(first));
    EXPECT_THAT(losses(), ElementsAre(KTLoss{"Arbeit", home.path(kNodeFile),
                                             "Nur die erste von 2 Veröffentlichungen wird "
                                             "übernommen"}));
    EXPECT_EQ(classes.lossesAsTold().front().kind, KTLoss::Kind::thinned);
}

TEST_F(Layout104Reader, TellsOfNothingForOnePublisher)
{
    writeCalendar("A", "Arbeit");
    const Dictionary only{{"UploadURL", "http://erste.invalid"}};
    writeNodes({with(calendarNode("A"), "Publishers", Array{only})});
    EXPECT_EQ(titled(readStore(), "Arbeit")->publisher(), Value(only));
    EXPECT_THAT(losses(), IsEmpty());
}

TEST_F(Layout104Reader, TakesThePublisherOfAGroup)
{
    const Dictionary publisher{{"UploadURL", "http://erste.invalid"}};
    writeNodes({with(groupNode("Team"), "Publishers", Array{publisher})});
    EXPECT_EQ(titled(readStore(), "Team")->publisher(), Value(publisher));
}

TEST_F(Layout104Reader, SetsNoPublisherForAnEmptyList)
{
    writeCalendar("A", "Arbeit");
    writeNodes({with(calendarNode("A"), "Publishers", Array{})});
    EXPECT_TRUE(titled(readStore(), "Arbeit")->publisher().isNil());
    EXPECT_THAT(helper.fileLog(), IsEmpty());
}

class Layout104ReaderPublishers : public Layout104Reader,
                                  public ::testing::WithParamInterface<Value> {};

INSTANTIATE_TEST_SUITE_P(OfTheWrongKind, Layout104ReaderPublishers,
                         ::testing::Values(Value("text"), Value(Array{"text"}), Value(4),
                                           Value(Dictionary{{"UploadURL", "http://a.invalid"}})));

TEST_P(Layout104ReaderPublishers, AreLoggedToTheFileLoggerAndReadingGoesOn)
{
    writeCalendar("A", "Arbeit");
    writeNodes({with(calendarNode("A"), "Publishers", GetParam())});
    EXPECT_TRUE(titled(readStore(), "Arbeit")->publisher().isNil());
    EXPECT_THAT(helper.fileLog(),
                ElementsAre(testing::AllOf(
                    StartsWith("[KTSyncCalendarStore parseMacOS104CalendarsList(Publishers)]:\n"),
                    testing::EndsWith(" gefunden"))));
    EXPECT_THAT(helper.messages(), ElementsAre("Kalender: 'Arbeit'"));
    ASSERT_EQ(losses().size(), 1u);
    EXPECT_EQ(losses()[0].calendar, "Arbeit");
    EXPECT_EQ(losses()[0].file, home.path(kNodeFile));
    EXPECT_THAT(losses()[0].reason, StartsWith("Die Veröffentlichung kann nicht gelesen werden: "));
}

}  // namespace
}  // namespace kt::test
