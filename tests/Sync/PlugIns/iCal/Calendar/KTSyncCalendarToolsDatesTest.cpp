#include <memory>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "tests/Sync/PlugIns/iCal/Calendar/CalendarTextScope.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Tools = KTSyncCalendarTools;

struct DateRow {
    std::string_view text;
    std::optional<std::string> timezone;
    std::string_view description;  // wall clock and zone
    bool isAllDay = false;
};
class DateTexts : public CalendarTextTable<DateRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, DateTexts,
    testing::Values(DateRow{"20071224", "America/New_York", "20071224 America/New_York", true},
                    DateRow{"20071224", std::nullopt, "20071224 Europe/Berlin", true},
                    DateRow{"20071224T100000", "America/New_York",
                            "20071224T100000 America/New_York"},
                    DateRow{"20071224T100000", std::nullopt, "20071224T100000 Europe/Berlin"},
                    DateRow{"20071224T100000Z", "America/New_York", "20071224T100000Z Etc/UTC"},
                    DateRow{"20071224T100000Z", std::nullopt, "20071224T100000Z Etc/UTC"},
                    // Only the tail counts.
                    DateRow{"x20071224", "Europe/Berlin", "20071224 Europe/Berlin", true},
                    DateRow{"x\xC3\xA4x20071224", "Europe/Berlin", "20071224 Europe/Berlin", true},
                    DateRow{"abcdef20071224", "Europe/Berlin", "20071224 Europe/Berlin", true},
                    DateRow{"abc20071224T100000", "Europe/Berlin", "20071224T100000 Europe/Berlin"},
                    DateRow{"abc20071224T100000Z", "Europe/Berlin", "20071224T100000Z Etc/UTC"},
                    // The zone stays as it came.
                    DateRow{"20071224T100000", "Erfunden/Ort", "20071224T100000 Erfunden/Ort"},
                    DateRow{"20071224T100000", "", "20071224T100000 "},
                    // A leap second stays, and a time that the zone skips.
                    DateRow{"20081231T235960Z", std::nullopt, "20081231T235960Z Etc/UTC"},
                    DateRow{"20080330T023000", "Europe/Berlin", "20080330T023000 Europe/Berlin"}));
TEST_P(DateTexts, GiveTheWallClockAsWritten)
{
    const EnhancedDate date = Tools::parseICalDate(GetParam().text, GetParam().timezone, &logger);
    ASSERT_NE(date, nullptr);
    EXPECT_EQ(date->description(), GetParam().description);
    EXPECT_EQ(date->isAllDay(), GetParam().isAllDay);
    EXPECT_THAT(logger.entries(), IsEmpty());
}

class ShortDateTexts : public CalendarTextTable<std::string> {};
INSTANTIATE_TEST_SUITE_P(Texts, ShortDateTexts,
                         testing::Values("", "2007122", "x", "\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4"));
TEST_P(ShortDateTexts, GiveNilAndALogLine)
{
    EXPECT_EQ(Tools::parseICalDate(GetParam(), "Europe/Berlin", &logger), nullptr);
    EXPECT_THAT(logger.entries(), ElementsAre("Unbekanntes Datumsformat: '" + GetParam() + "'"));
}

class WrongDateTexts : public CalendarTextTable<std::string> {};
INSTANTIATE_TEST_SUITE_P(Texts, WrongDateTexts,
                         testing::Values("20071324", "20070229", "2007122x", "00000000",
                                         "20071224 100000", "20071224T250000", "20071224T10000Z",
                                         "20071224T106000Z", "zzzzzzzzzzzzzzzZ"));
TEST_P(WrongDateTexts, OfTheRightLengthGiveNil)
{
    EXPECT_EQ(Tools::parseICalDate(GetParam(), "Europe/Berlin", &logger), nullptr);
    EXPECT_THAT(logger.entries(), IsEmpty());
}

class ParseICalDate : public CalendarTextTest {};

TEST_F(ParseICalDate, GivesNilForNil)
{
    EXPECT_EQ(Tools::parseICalDate(nullptr, "Europe/Berlin", &logger), nullptr);
    EXPECT_THAT(logger.entries(), IsEmpty());
}

TEST_F(ParseICalDate, LogsWhatIsNoTextAndGivesNil)
{
    EXPECT_EQ(Tools::parseICalDate(Array{"a", "b"}, "Europe/Berlin", &logger), nullptr);
    EXPECT_THAT(logger.entries(), ElementsAre("Unbekanntes Datumsformat: '(\n    a,\n    b\n)'"));
}

class FailingDateClass : public KTSyncEnhancedDateClass {
public:
    EnhancedDate enhancedDateWithDate(const std::optional<CalendarDate>&,
                                      const std::optional<std::string>&, bool) const override
    {
        throw Exception(NSGenericException, "keine Zeit");
    }
};

TEST_F(ParseICalDate, LogsAFailureOfTheHostAndGivesNil)
{
    FailingDateClass failing;
    KTClassTable table;
    table.setClass(KTSyncEnhancedDateClass::className, &failing);
    setHostClassTable(table);
    EXPECT_EQ(Tools::parseICalDate("20071224", "Europe/Berlin", &logger), nullptr);
    EXPECT_THAT(logger.entries(), ElementsAre("Unbekanntes Datumsformat: '20071224'"));
}

TEST_F(ParseICalDate, GivesNilWhereTheHostHasNoDates)
{
    setHostClassTable(KTClassTable());
    EXPECT_EQ(Tools::parseICalDate("20071224", "Europe/Berlin", &logger), nullptr);
}

struct ZoneRow {
    std::optional<std::string_view> key;
    std::string_view timezone;
};
class ZonesOfKeys : public testing::TestWithParam<ZoneRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, ZonesOfKeys,
                         testing::Values(ZoneRow{std::nullopt, "Asia/Tokyo"},
                                         ZoneRow{"DTSTART", "Asia/Tokyo"},
                                         ZoneRow{"DTSTART;TZID=Europe/Paris;X-A=1", "Europe/Paris"},
                                         ZoneRow{"DTSTART;TZID=Europe/Paris", "Europe/Paris"},
                                         ZoneRow{"DTSTART;X-A=1;TZID=Europe/Paris", "Europe/Paris"},
                                         ZoneRow{"DTSTART;TZID=", ""},
                                         // A colon wins over a semicolon before it; quotes stay.
                                         ZoneRow{"DTSTART;TZID=\"A;B:C\"", "\"A;B"},
                                         ZoneRow{"DTSTART;TZID=A;B:C", "A;B"},
                                         ZoneRow{"DTSTART;X-TZID=A", "A"}));
TEST_P(ZonesOfKeys, AreTheParameterAsWritten)
{
    EXPECT_EQ(Tools::findTimezone(GetParam().key, "Asia/Tokyo", nullptr), GetParam().timezone);
}

class AssembleDateComponent : public CalendarTextTest {
protected:
    EnhancedDate date(std::string_view text, const std::string& timezone)
    {
        return Tools::parseICalDate(text, timezone, &logger);
    }
};

TEST_F(AssembleDateComponent, WritesAnAllDayDateWithItsValueType)
{
    EXPECT_EQ(Tools::assembleDateComponent("DTSTART", date("20071224", "Europe/Berlin")),
              "DTSTART;VALUE=DATE:20071224\r\n");
    EXPECT_EQ(Tools::assembleDateComponent("DTSTART", date("20071224", "Etc/UTC")),
              "DTSTART;VALUE=DATE:20071224\r\n");
}

TEST_F(AssembleDateComponent, WritesAUTCDateWithoutParameters)
{
    EXPECT_EQ(Tools::assembleDateComponent("DUE", date("20071224T100000Z", "Europe/Berlin")),
              "DUE:20071224T100000Z\r\n");
}

TEST_F(AssembleDateComponent, WritesAnyOtherDateWithItsZone)
{
    EXPECT_EQ(Tools::assembleDateComponent("DTEND", date("20071224T100000", "America/New_York")),
              "DTEND;TZID=America/New_York:20071224T100000\r\n");
}

TEST_F(AssembleDateComponent, DoesNotFold)
{
    const std::string zone(100, 'z');
    EXPECT_EQ(Tools::assembleDateComponent("DTEND", date("20071224T100000", zone)),
              "DTEND;TZID=" + zone + ":20071224T100000\r\n");
}

TEST_F(AssembleDateComponent, GivesNilWithoutNameOrDate)
{
    EXPECT_EQ(Tools::assembleDateComponent(std::nullopt, date("20071224", "Etc/UTC")),
              std::nullopt);
    EXPECT_EQ(Tools::assembleDateComponent("DTSTART", nullptr), std::nullopt);
    EXPECT_EQ(Tools::assembleDateComponent(std::nullopt, "20071224"), std::nullopt);
}

TEST_F(AssembleDateComponent, RaisesForWhatIsNoDate)
{
    EXPECT_THROW(Tools::assembleDateComponent("DTSTART", "20071224"), Exception);
}

class ExceptionDates : public CalendarTextTest {
protected:
    std::vector<std::string> dates(std::string_view key, const Value& value)
    {
        std::vector<std::string> descriptions;
        for (const Value& date : Tools::filterExceptionDates(key, value, "Europe/Berlin", &logger))
            descriptions.push_back(date.description());
        return descriptions;
    }
};

TEST_F(ExceptionDates, TakeADefaultForAZoneThatIsTooLongToBeOneAndTellOfIt)
{
    const std::string longest(255, 'x');
    EXPECT_THAT(dates("EXDATE;TZID=" + longest, "20071224"), ElementsAre("20071224 " + longest));
    EXPECT_THAT(lossReasons(), IsEmpty());
    EXPECT_THAT(dates("EXDATE;TZID=" + longest + "x", "20071224"),
                ElementsAre("20071224 Europe/Berlin"));
    EXPECT_THAT(lossReasons(),
                ElementsAre("Eine Zeitzone mit mehr als 255 Zeichen wird nicht gelesen"));
    EXPECT_THAT(logger.entries(),
                ElementsAre("Unbekannte Zeitzone: 'EXDATE;TZID=" + longest + "x'"));
}

TEST_F(ExceptionDates, AreSplitAtCommas)
{
    EXPECT_THAT(dates("EXDATE", "20071224,20071225T100000Z"),
                ElementsAre("20071224 Europe/Berlin", "20071225T100000Z Etc/UTC"));
}

TEST_F(ExceptionDates, OfSeveralLinesMakeOneList)
{
    EXPECT_THAT(dates("EXDATE;TZID=Asia/Tokyo",
                      Array{"20071224T100000,20071225T100000", "20071226T100000"}),
                ElementsAre("20071224T100000 Asia/Tokyo", "20071225T100000 Asia/Tokyo",
                            "20071226T100000 Asia/Tokyo"));
}

TEST_F(ExceptionDates, OfAnyOtherValueAreNone)
{
    EXPECT_THAT(dates("EXDATE", 20071224), IsEmpty());
    EXPECT_THAT(dates("EXDATE", nullptr), IsEmpty());
}

TEST_F(ExceptionDates, RaiseForAPieceThatIsNoDate)
{
    EXPECT_THROW(dates("EXDATE", "20071224,"), Exception);
    EXPECT_THROW(dates("EXDATE", "20071332"), Exception);
}

TEST_F(ExceptionDates, AddNothingForNil)
{
    Array list{1};
    Tools::splitSingleExceptionDateLine(nullptr, list, "EXDATE", "Etc/UTC", &logger);
    EXPECT_EQ(list.size(), 1U);
}

}  // namespace
}  // namespace kt::test
