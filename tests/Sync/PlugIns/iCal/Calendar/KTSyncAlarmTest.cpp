#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncAlarm.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "tests/Sync/PlugIns/iCal/Calendar/CalendarTextScope.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Alarm : public CalendarTextTest {
protected:
    std::shared_ptr<const KTSyncAlarm> read(LineList lines)
    {
        return KTSyncAlarm::alarmWithICalendLines(lines, &logger);
    }
    std::shared_ptr<const KTSyncAlarm> read(const Dictionary& record)
    {
        return KTSyncAlarm::alarmWithSyncRecord(record, &logger);
    }
};

TEST_F(Alarm, KeepsActionAndTriggerAndDropsTheDescription)
{
    const auto alarm = read(LineList{"ACTION:DISPLAY", "DESCRIPTION:x", "TRIGGER:-PT15M"});
    EXPECT_EQ(alarm->action(), Value("DISPLAY"));
    EXPECT_EQ(alarm->relativeTrigger(), Value("-PT15M"));
    EXPECT_TRUE(alarm->absoluteTrigger().isNil());
    EXPECT_EQ(alarm->emailAddress(), nullptr);
    EXPECT_FALSE(alarm->attachments().has_value());
    EXPECT_EQ(alarm->iCalLines(),
              "BEGIN:VALARM\r\nACTION:DISPLAY\r\nTRIGGER:-PT15M\r\nEND:VALARM\r\n");
    EXPECT_EQ(alarm->syncRecord(),
              (Dictionary{{"Action", "DISPLAY"}, {"RelativeTrigger", "-PT15M"}}));
}

TEST_F(Alarm, WritesAnAbsoluteTriggerBackInItsZone)
{
    const auto alarm = read(LineList{"ACTION:AUDIO", "TRIGGER;TZID=Europe/Berlin:20071224T090000"});
    EXPECT_TRUE(alarm->relativeTrigger().isNil());
    EXPECT_EQ(alarm->syncRecord()["AbsoluteTrigger"].description(),
              "20071224T090000 Europe/Berlin");
    EXPECT_EQ(alarm->iCalLines(),
              "BEGIN:VALARM\r\nACTION:AUDIO\r\n"
              "TRIGGER;TZID=Europe/Berlin:20071224T090000\r\nEND:VALARM\r\n");
}

TEST_F(Alarm, KeepsATriggerInUTCAsARelativeOne)
{
    const auto alarm = read(LineList{"ACTION:AUDIO", "TRIGGER;VALUE=DATE-TIME:20071224T090000Z"});
    EXPECT_EQ(alarm->relativeTrigger(), Value("20071224T090000Z"));
    EXPECT_EQ(alarm->iCalLines(),
              "BEGIN:VALARM\r\nACTION:AUDIO\r\nTRIGGER:20071224T090000Z\r\nEND:VALARM\r\n");
}

TEST_F(Alarm, WritesTheAddressOfItsFirstAttendeeOnly)
{
    const auto alarm =
        read(LineList{"ACTION:EMAIL", "ATTENDEE;CN=\"Max\":mailto:max", "ATTENDEE:mailto:moritz"});
    EXPECT_EQ(alarm->emailAddress()->commonName(), Value("Max"));
    EXPECT_EQ(alarm->iCalLines(),
              "BEGIN:VALARM\r\nACTION:EMAIL\r\nATTENDEE:mailto:max\r\nEND:VALARM\r\n");
}

TEST_F(Alarm, WritesNoLineForAnAttendeeWithoutAddress)
{
    const auto alarm =
        read(Dictionary{{"Action", "EMAIL"}, {"EmailAddress", Dictionary{{"Name", "Max"}}}});
    ASSERT_NE(alarm->emailAddress(), nullptr);
    EXPECT_EQ(alarm->iCalLines(), "BEGIN:VALARM\r\nACTION:EMAIL\r\nEND:VALARM\r\n");
}

TEST_F(Alarm, TakesTheAttachmentsOfItsLines)
{
    const auto alarm = read(LineList{"ACTION:AUDIO", "ATTACH;VALUE=URI:Basso", "ATTACH:http://a"});
    ASSERT_EQ(alarm->attachments()->size(), 2U);
    EXPECT_EQ(alarm->syncRecord()["Attachments"],
              Value(Array{Dictionary{{"Value", "VALUE=URI"}, {"Data", "Basso"}},
                          Dictionary{{"Data", "http://a"}}}));
    EXPECT_EQ(alarm->iCalLines(),
              "BEGIN:VALARM\r\nACTION:AUDIO\r\nATTACH;VALUE=URI:Basso\r\nATTACH:http://a\r\n"
              "END:VALARM\r\n");
}

TEST_F(Alarm, WritesItsPartsInOneOrderAndFoldsThem)
{
    const std::string address = "mailto:" + std::string(80, 'm');
    const std::string trigger = std::string(80, '1');
    const auto alarm =
        read(Dictionary{{"Action", std::string(100, 'A')},
                        {"RelativeTrigger", trigger},
                        {"EmailAddress", Dictionary{{"Address", address}, {"Name", "Max"}}},
                        {"Attachments", Array{Dictionary{{"Data", "http://a"}},
                                              Dictionary{{"Data", "http://b"}}}}});
    EXPECT_EQ(alarm->iCalLines(),
              "BEGIN:VALARM\r\nACTION:" + std::string(100, 'A') +
                  "\r\nATTACH:http://a\r\nATTACH:http://b\r\n" +
                  KTSyncCalendarTools::splitLine("ATTENDEE:" + address + "\r\n", nullptr) +
                  KTSyncCalendarTools::splitLine("TRIGGER:" + trigger + "\r\n", nullptr) +
                  "END:VALARM\r\n");
    EXPECT_EQ(alarm->description(), alarm->iCalLines());
}

TEST_F(Alarm, FoldsAnAbsoluteTrigger)
{
    const std::string zone(80, 'z');
    const std::string line = "TRIGGER;TZID=" + zone + ":20071224T090000";
    const auto alarm = read(LineList{"ACTION:AUDIO", line});
    EXPECT_EQ(alarm->iCalLines(), "BEGIN:VALARM\r\nACTION:AUDIO\r\n" +
                                      KTSyncCalendarTools::splitLine(line + "\r\n", nullptr) +
                                      "END:VALARM\r\n");
}

TEST_F(Alarm, WritesTheRelativeOfTwoTriggers)
{
    const Value date = KTSyncCalendarTools::parseICalDate("20071224", "Europe/Berlin", nullptr);
    const Dictionary record{{"Action", "AUDIO"},
                            {"AbsoluteTrigger", date},
                            {"RelativeTrigger", "-PT5M"}};
    EXPECT_EQ(read(record)->iCalLines(),
              "BEGIN:VALARM\r\nACTION:AUDIO\r\nTRIGGER:-PT5M\r\nEND:VALARM\r\n");
    EXPECT_EQ(read(record)->syncRecord(), record);
}

TEST_F(Alarm, TakesAnOlderRecordsSingleAttachment)
{
    EXPECT_EQ(read(Dictionary{{"Action", "AUDIO"}, {"Attachment", "http://a"}})->iCalLines(),
              "BEGIN:VALARM\r\nACTION:AUDIO\r\nATTACH:http://a\r\nEND:VALARM\r\n");
    const auto alarm =
        read(Dictionary{{"Action", "AUDIO"}, {"Attachment", Dictionary{{"Data", "http://b"}}}});
    EXPECT_EQ(alarm->syncRecord(),
              (Dictionary{{"Action", "AUDIO"},
                          {"Attachments", Array{Dictionary{{"Data", "http://b"}}}}}));
}

TEST_F(Alarm, TakesOnlyTheAttachmentsOfTheNewerForm)
{
    const auto alarm = read(Dictionary{{"Action", "AUDIO"},
                                       {"Attachment", "http://a"},
                                       {"Attachments", Array{Dictionary{{"Data", "http://b"}}}}});
    ASSERT_EQ(alarm->attachments()->size(), 1U);
    EXPECT_EQ(alarm->attachments()->front()->iCalLines(), "ATTACH:http://b\r\n");
}

TEST_F(Alarm, WritesNoEmptyListOfAttachments)
{
    EXPECT_EQ(read(Dictionary{{"Action", "AUDIO"}, {"Attachments", Array()}})->syncRecord(),
              (Dictionary{{"Action", "AUDIO"}}));
}

TEST_F(Alarm, CarriesARecordThroughARoundTrip)
{
    const Dictionary record{
        {"Action", "EMAIL"},
        {"Attachments", Array{Dictionary{{"Data", "http://a"}, {"Type", "FMTTYPE=a/b"}}}},
        {"EmailAddress", Dictionary{{"Name", "Max"}, {"Address", "mailto:max"}, {"Status", ""}}},
        {"AbsoluteTrigger", KTSyncCalendarTools::parseICalDate("20071224", "Asia/Tokyo", nullptr)}};
    EXPECT_EQ(read(record)->syncRecord(), record);
}

TEST_F(Alarm, KeepsTriggersAndActionsThatOccurTwiceAsTheyAre)
{
    const auto alarm =
        read(LineList{"ACTION:AUDIO", "ACTION:DISPLAY", "TRIGGER:-PT1M", "TRIGGER:-PT2M"});
    EXPECT_EQ(alarm->syncRecord(), (Dictionary{{"Action", Array{"AUDIO", "DISPLAY"}},
                                               {"RelativeTrigger", Array{"-PT1M", "-PT2M"}}}));
}

TEST_F(Alarm, WritesSeveralActionsAndTriggersAsOneTextEachAndTellsThatAlone)
{
    const auto alarm =
        read(LineList{"ACTION:AUDIO", "ACTION:DISPLAY", "TRIGGER:-PT1M", "TRIGGER:-PT2M"});
    EXPECT_EQ(alarm->iCalLines(),
              "BEGIN:VALARM\r\nACTION:(     AUDIO,     DISPLAY )\r\n"
              "TRIGGER:(     -PT1M,     -PT2M )\r\nEND:VALARM\r\n");
    EXPECT_THAT(lossReasons(),
                ElementsAre("ACTION: mehrere Werte werden als ein Text geschrieben",
                            "TRIGGER: mehrere Werte werden als ein Text geschrieben"));
}

TEST_F(Alarm, LosesTheParametersOfARelativeTrigger)
{
    const auto alarm = read(LineList{"ACTION:DISPLAY", "TRIGGER;RELATED=END:-PT15M"});
    EXPECT_EQ(alarm->syncRecord(),
              (Dictionary{{"Action", "DISPLAY"}, {"RelativeTrigger", "-PT15M"}}));
    EXPECT_EQ(alarm->iCalLines(),
              "BEGIN:VALARM\r\nACTION:DISPLAY\r\nTRIGGER:-PT15M\r\nEND:VALARM\r\n");
    EXPECT_THAT(lossReasons(), IsEmpty());
}

TEST_F(Alarm, TakesAZoneThatDoesNotComeFirstForNoAbsoluteTrigger)
{
    const auto alarm =
        read(LineList{"ACTION:DISPLAY", "TRIGGER;RELATED=END;TZID=Europe/Berlin:20071224T090000"});
    EXPECT_EQ(alarm->relativeTrigger(), Value("20071224T090000"));
    EXPECT_TRUE(alarm->absoluteTrigger().isNil());
}

TEST_F(Alarm, RaisesWithoutAnActionWhereARecordNeedsOne)
{
    const auto alarm = read(LineList{"TRIGGER:-PT1M"});
    EXPECT_THROW(alarm->syncRecord(), Exception);
    EXPECT_EQ(alarm->iCalLines(),
              "BEGIN:VALARM\r\nACTION:(null)\r\nTRIGGER:-PT1M\r\nEND:VALARM\r\n");
    EXPECT_THAT(logger.entries(), IsEmpty());
}

TEST_F(Alarm, ReadsATriggerInUTCWhateverItsZoneParameterSays)
{
    const auto alarm =
        read(LineList{"ACTION:AUDIO", "TRIGGER;TZID=Europe/Berlin:20071224T090000Z"});
    EXPECT_EQ(alarm->absoluteTrigger().description(), "20071224T090000Z Etc/UTC");
    EXPECT_EQ(alarm->iCalLines(),
              "BEGIN:VALARM\r\nACTION:AUDIO\r\nTRIGGER:20071224T090000Z\r\nEND:VALARM\r\n");
}

TEST_F(Alarm, TakesItsPropertiesOutOfTheLines)
{
    LineList lines{"ACTION:AUDIO", "BEGIN:X", "END:X", "TRIGGER:-PT1M"};
    KTSyncAlarm::alarmWithICalendLines(lines, &logger);
    EXPECT_THAT(lines, testing::ElementsAre("BEGIN:X", "END:X"));
}

TEST_F(Alarm, LogsLinesThatCannotBeTakenAndThrowsOn)
{
    LineList lines{"BEGIN:X", "END:X", "DURATION:P"};
    EXPECT_THROW(KTSyncAlarm(lines, &logger), Exception);
    EXPECT_EQ(logger.entries().back(),
              "[KTSyncAlarm initWithICalendLines]:\n" +
                  (LineList{"BEGIN:X", "END:X"}).description() +
                  "\nnil kann nicht in ein Wörterbuch (Schlüssel: DURATION)");
}

TEST_F(Alarm, LogsARecordThatCannotBeTakenAndThrowsOn)
{
    const Dictionary record{{"Action", "AUDIO"}, {"EmailAddress", "Max"}};
    EXPECT_THROW(read(record), Exception);
    EXPECT_EQ(logger.entries().back(), "[KTSyncAlarm initWithSyncRecord]:\n" +
                                           record.description() +
                                           "\nWörterbuch erwartet, Text gefunden");
}

TEST_F(Alarm, LogsWhatStandsInTheRecordsPlaceAndThrowsOn)
{
    EXPECT_THROW(KTSyncAlarm::alarmWithSyncRecord("AUDIO", &logger), Exception);
    EXPECT_EQ(logger.entries().back(),
              "[KTSyncAlarm initWithSyncRecord]:\nAUDIO\nWörterbuch erwartet, Text gefunden");
}

TEST_F(Alarm, IsNilForANilRecord)
{
    EXPECT_EQ(KTSyncAlarm::alarmWithSyncRecord(nullptr, &logger), nullptr);
}

}  // namespace
}  // namespace kt::test
