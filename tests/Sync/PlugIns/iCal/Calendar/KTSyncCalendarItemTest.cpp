#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarItem.h"
#include "tests/Sync/PlugIns/iCal/Calendar/ModelFixture.h"

namespace kt::test {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr std::string_view kNoDate = "kein Datum";

/// Shared behaviour is shown on events; what differs for tasks stands in their own test.
class KTSyncCalendarItemTest : public ModelFixture {
protected:
    static Dictionary recordWith(std::string_view key, Value value)
    {
        Dictionary record{{"Title", "Fest"}, {"ParentRecordKey", kParentKey}};
        record.set(key, std::move(value));
        return record;
    }
    Dictionary attachmentRecord(std::string_view data) const
    {
        return Dictionary{{"Data", Value(data)}};
    }
};

const std::string_view kFullEvent =
    "BEGIN:VALARM\n"
    "ACTION:DISPLAY\n"
    "TRIGGER:-PT15M\n"
    "END:VALARM\n"
    "SUMMARY:Fest\n"
    "DESCRIPTION:Mit Kuchen\n"
    "SEQUENCE:3\n"
    "URL;VALUE=URI:http://fest.invalid\n"
    "DTSTAMP:20071201T080000Z\n"
    "DTSTART;TZID=Europe/Paris:20071224T100000\n"
    "UID:uid-1\n"
    "ATTACH;FMTTYPE=text/plain:http://fest.invalid/a\n"
    "X-ONE:eins\n"
    "X-TWO;PARAMETER=1:zwei";

TEST_F(KTSyncCalendarItemTest, ReadsTheSharedProperties)
{
    const auto item = event(kFullEvent);
    EXPECT_EQ(item->title(), Value("Fest"));
    EXPECT_EQ(item->notes(), Value("Mit Kuchen"));
    EXPECT_EQ(item->sequence(), Value("3"));
    EXPECT_EQ(item->url(), Value("http://fest.invalid"));
    EXPECT_EQ(item->uid(), Value("uid-1"));
    EXPECT_EQ(item->dateStamp()->description(), "20071201T080000Z Etc/UTC");
    EXPECT_EQ(item->startDate()->description(), "20071224T100000 Europe/Paris");
    EXPECT_EQ(item->alarms()->size(), 1u);
    EXPECT_EQ(item->attachments()->size(), 1u);
    EXPECT_EQ(item->parentRecordKey(), kParentKey);
}

TEST_F(KTSyncCalendarItemTest, RecordHoldsTheSharedKeysInTheirOrder)
{
    const Dictionary record = event(kFullEvent)->syncRecord();
    EXPECT_THAT(keysOf(record), ElementsAre("Title", "URL", "Notes", "Sequence", "DateStamp",
                                            "StartDate", "Attachments", "ParentRecordKey",
                                            "Timezone", "AppleSpecialFields", "Alarms"));
}

struct RecordRow {
    std::string_view key;
    std::string_view description;
};
class KTSyncCalendarItemRecord : public KTSyncCalendarItemTest,
                                 public testing::WithParamInterface<RecordRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, KTSyncCalendarItemRecord,
    testing::Values(RecordRow{"Title", "Fest"}, RecordRow{"URL", "http://fest.invalid"},
                    RecordRow{"Notes", "Mit Kuchen"}, RecordRow{"Sequence", "3"},
                    RecordRow{"DateStamp", "20071201T080000Z Etc/UTC"},
                    RecordRow{"StartDate", "20071224T100000 Europe/Paris"},
                    RecordRow{"Attachments",
                              "(\n        {\n        Data = \"http://fest.invalid/a\";\n        "
                              "Type = \"FMTTYPE=text/plain\";\n    }\n)"},
                    RecordRow{"ParentRecordKey", "parent"}, RecordRow{"Timezone", "Europe/Berlin"},
                    RecordRow{"AppleSpecialFields", "{\n    X-ONE = eins;\n    X-TWO = zwei;\n}"},
                    RecordRow{"Alarms",
                              "(\n        {\n        Action = DISPLAY;\n        RelativeTrigger = "
                              "-PT15M;\n    }\n)"}));
TEST_P(KTSyncCalendarItemRecord, HoldsTheValue)
{
    // Blanks are left aside: how far a description indents is shown elsewhere.
    const auto withoutBlanks = [](std::string text) {
        std::erase(text, ' ');
        std::erase(text, '"');
        return text;
    };
    const Dictionary record = event(kFullEvent)->syncRecord();
    EXPECT_EQ(withoutBlanks(record[GetParam().key].description()),
              withoutBlanks(std::string(GetParam().description)));
}

TEST_F(KTSyncCalendarItemTest, LinesStandInOneFixedOrder)
{
    EXPECT_EQ(event(kFullEvent)->iCalLines(),
              "BEGIN:VEVENT\r\n"
              "SUMMARY:Fest\r\n"
              "DESCRIPTION:Mit Kuchen\r\n"
              "SEQUENCE:3\r\n"
              "URL;VALUE=URI:http://fest.invalid\r\n"
              "DTSTAMP:20071201T080000Z\r\n"
              "DTSTART;TZID=Europe/Paris:20071224T100000\r\n"
              "UID:uid-1\r\n"
              "ATTACH;FMTTYPE=text/plain:http://fest.invalid/a\r\n"
              "BEGIN:VALARM\r\n"
              "ACTION:DISPLAY\r\n"
              "TRIGGER:-PT15M\r\n"
              "END:VALARM\r\n"
              "X-ONE:eins\r\n"
              "X-TWO:zwei\r\n"
              "END:VEVENT\r\n");
}

TEST_F(KTSyncCalendarItemTest, SequenceIsOneWhereTheComponentHasNone)
{
    const auto item = event("SUMMARY:Fest");
    EXPECT_EQ(item->sequence(), Value("1"));
    EXPECT_EQ(item->syncRecord()["Sequence"], Value("1"));
    EXPECT_THAT(item->iCalLines(), HasSubstr("\r\nSEQUENCE:1\r\n"));
}

TEST_F(KTSyncCalendarItemTest, AnItemFromARecordWithoutSequenceHasNone)
{
    const auto item = eventOf({{"Title", "Fest"}, {"ParentRecordKey", kParentKey}});
    EXPECT_FALSE(item->syncRecord().contains("Sequence"));
    EXPECT_THAT(item->iCalLines(), Not(HasSubstr("SEQUENCE")));
}

TEST_F(KTSyncCalendarItemTest, AnEmptySequenceIsOneOfItsOwn)
{
    const auto item = event("SUMMARY:Fest\nSEQUENCE:");
    EXPECT_EQ(item->syncRecord()["Sequence"], Value(""));
    EXPECT_THAT(item->iCalLines(), HasSubstr("\r\nSEQUENCE:\r\n"));
}

TEST_F(KTSyncCalendarItemTest, XPropertiesBeginWithACapitalX)
{
    EXPECT_FALSE(event("SUMMARY:Fest\nx-one:eins")->syncRecord().contains("AppleSpecialFields"));
    const auto item = eventOf(recordWith("AppleSpecialFields", Dictionary{{"x-one", "eins"}}));
    EXPECT_THAT(item->iCalLines(), Not(HasSubstr("eins")));
}

TEST_F(KTSyncCalendarItemTest, EveryXPropertyComesBackAfterTheAlarms)
{
    const auto item = event(
        "X-ONE:eins\nX-TWO:zwei\nSUMMARY:Fest\n"
        "BEGIN:VALARM\nACTION:DISPLAY\nEND:VALARM");
    EXPECT_THAT(keysOf(item->syncRecord()["AppleSpecialFields"].dictionary()),
                ElementsAre("X-ONE", "X-TWO"));
    EXPECT_THAT(item->iCalLines(), HasSubstr("END:VALARM\r\nX-ONE:eins\r\nX-TWO:zwei\r\nEND:"));
}

TEST_F(KTSyncCalendarItemTest, AnXPropertyWhoseNameTheReaderWouldCutIsNotWritten)
{
    for (const std::string name : {"X-A:B", "X-A;B", "X-A\"B"}) {
        classes.lossReport().clear();
        Dictionary record{{"Title", "Fest"}};
        record.set("AppleSpecialFields", Dictionary{{name, "eins"}});
        EXPECT_THAT(eventOf(record)->iCalLines(), Not(HasSubstr("eins")));
        EXPECT_THAT(lossReasons(),
                    ElementsAre("Eigenschaft '" + name + "' wird nicht geschrieben"));
    }
}

TEST_F(KTSyncCalendarItemTest, AnXPropertyThatOccursTwiceIsWrittenAsAnArrayDescribesItself)
{
    const auto item = event("SUMMARY:Fest\nX-ONE:a\nX-ONE:b");
    EXPECT_EQ(item->syncRecord()["AppleSpecialFields"].dictionary()["X-ONE"],
              Value(Array{"a", "b"}));
    EXPECT_THAT(item->iCalLines(), HasSubstr("X-ONE:(\n    a,\n    b\n)\r\n"));
}

TEST_F(KTSyncCalendarItemTest, OfXPropertiesUnderSeveralKeysOfOneNameTheLastStays)
{
    const auto made = event("SUMMARY:a\nX-A;P=1:eins\nX-A;P=2:zwei\nX-A;P=2:drei");
    EXPECT_EQ(made->syncRecord()["AppleSpecialFields"],
              Value(Dictionary{{"X-A", Array{"zwei", "drei"}}}));
}

TEST_F(KTSyncCalendarItemTest, OfTwoSummariesWithoutParametersTheLastCounts)
{
    const auto made = event("SUMMARY:eins\nSUMMARY:zwei\nDTSTART:20071224T100000");
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->title(), Value("zwei"));
    EXPECT_THAT(made->iCalLines(), HasSubstr("SUMMARY:zwei\r\n"));
}

TEST_F(KTSyncCalendarItemTest, OfSummariesUnderSeveralKeysTheLastCounts)
{
    const auto made = event("SUMMARY;LANGUAGE=de:eins\nSUMMARY:zwei\nSUMMARY;LANGUAGE=en:drei");
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->title(), Value("drei"));
}

TEST_F(KTSyncCalendarItemTest, TwoSummariesOfOneKeyWithParametersMakeAnArray)
{
    const auto made = event("SUMMARY;LANGUAGE=de:eins\nSUMMARY;LANGUAGE=de:zwei");
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->title(), Value(Array{"eins", "zwei"}));
    EXPECT_EQ(made->syncRecord()["Title"], Value(Array{"eins", "zwei"}));
    EXPECT_THAT(made->iCalLines(), HasSubstr("SUMMARY:(\\n    eins,\\n    zwei\\n)\r\n"));
}

TEST_F(KTSyncCalendarItemTest, APropertyThatOccursTwiceStaysAnArrayInTheRecord)
{
    const auto item =
        event("SUMMARY:Fest\nDESCRIPTION:a\nDESCRIPTION:b\nUID:c\nUID:d\nURL:e\nURL:f");
    const Dictionary record = item->syncRecord();
    EXPECT_EQ(record["Notes"], Value(Array{"a", "b"}));
    EXPECT_EQ(record["URL"], Value(Array{"e", "f"}));
    EXPECT_EQ(item->uid(), Value(Array{"c", "d"}));
    EXPECT_EQ(eventOf(record)->syncRecord()["Notes"], record["Notes"]);
}

TEST_F(KTSyncCalendarItemTest, ADateThatIsNoneCountsAsMissingAndIsTold)
{
    const auto item = event("SUMMARY:Fest\nDTSTART:20071399T100000\nDTSTAMP:heute\nDTEND:neulich");
    EXPECT_EQ(item->startDate(), nullptr);
    EXPECT_EQ(item->dateStamp(), nullptr);
    EXPECT_EQ(item->endDate(), nullptr);
    EXPECT_THAT(keysOf(item->syncRecord()),
                ElementsAre("Title", "Sequence", "ParentRecordKey", "Timezone"));
    EXPECT_EQ(classes.losses().size(), 3u);
}

TEST_F(KTSyncCalendarItemTest, TheNewAttachmentFormWinsAndBothAreLogged)
{
    Dictionary record = recordWith("Attachment", "http://fest.invalid/alt");
    record.set("Attachments", Array{attachmentRecord("http://fest.invalid/neu")});
    const auto item = eventOf(record);
    EXPECT_EQ(item->syncRecord()["Attachments"],
              Value(Array{attachmentRecord("http://fest.invalid/neu")}));
    EXPECT_FALSE(item->syncRecord().contains("Attachment"));
    EXPECT_THAT(helper.fileLog(), ElementsAre("Attachment, alte Version bei 'Fest'",
                                              "Attachment, neue Version bei 'Fest'"));
}

TEST_F(KTSyncCalendarItemTest, TheOldAttachmentFormIsAnAddressOrADictionary)
{
    const auto fromAddress = eventOf(recordWith("Attachment", "http://fest.invalid/alt"));
    const auto fromDictionary =
        eventOf(recordWith("Attachment", attachmentRecord("http://fest.invalid/alt")));
    const Value expected(Array{attachmentRecord("http://fest.invalid/alt")});
    EXPECT_EQ(fromAddress->syncRecord()["Attachments"], expected);
    EXPECT_EQ(fromDictionary->syncRecord()["Attachments"], expected);
    EXPECT_THAT(helper.fileLog(), Each("Attachment, alte Version bei 'Fest'"));
}

TEST_F(KTSyncCalendarItemTest, AnItemFromARecordIsWrittenWithItsRecordKeyAsUID)
{
    const auto item = eventOf({{"Title", "Fest"}, {"ParentRecordKey", kParentKey}});
    EXPECT_TRUE(item->uid().isNil());
    EXPECT_THAT(item->iCalLines(), HasSubstr("\r\nUID:event-key\r\n"));
    EXPECT_EQ(item->uid(), Value("event-key"));
}

TEST_F(KTSyncCalendarItemTest, AUIDThatWasSetIsWritten)
{
    const auto item = event("SUMMARY:Fest\nUID:von-der-Platte");
    item->setUID("series");
    EXPECT_THAT(item->iCalLines(), HasSubstr("\r\nUID:series\r\n"));
}

TEST_F(KTSyncCalendarItemTest, TimezoneIsTheSystemsWhateverTheDatesCarry)
{
    const auto item = event("SUMMARY:Fest\nDTSTART;TZID=America/New_York:20071224T100000");
    EXPECT_EQ(item->syncRecord()["Timezone"], Value("Europe/Berlin"));
    Platform::shared().setLocalTimeZoneName("Asia/Tokyo");
    EXPECT_EQ(item->syncRecord()["Timezone"], Value("Asia/Tokyo"));
}

TEST_F(KTSyncCalendarItemTest, TheSystemsZoneIsThatOfDatesWithoutOne)
{
    Platform::shared().setLocalTimeZoneName("Asia/Tokyo");
    EXPECT_EQ(event("SUMMARY:Fest\nDTSTART:20071224T100000")->startDate()->timezone(),
              "Asia/Tokyo");
}

TEST_F(KTSyncCalendarItemTest, EmptyListsGiveNoKeys)
{
    const auto fromLines = event("SUMMARY:Fest");
    EXPECT_TRUE(fromLines->alarms());
    EXPECT_THAT(*fromLines->alarms(), IsEmpty());
    Dictionary record = recordWith("Alarms", Array());
    record.set("Attachments", Array());
    record.set("AppleSpecialFields", Dictionary());
    const auto fromRecord = eventOf(record);
    for (const auto& item : {fromLines, fromRecord}) {
        const Dictionary given = item->syncRecord();
        EXPECT_FALSE(given.contains("Alarms"));
        EXPECT_FALSE(given.contains("Attachments"));
        EXPECT_FALSE(given.contains("AppleSpecialFields"));
    }
}

TEST_F(KTSyncCalendarItemTest, WhatARecordDoesNotCarryIsNil)
{
    const auto item = eventOf({{"Title", "Fest"}, {"ParentRecordKey", kParentKey}});
    EXPECT_FALSE(item->alarms());
    EXPECT_FALSE(item->attachments());
    EXPECT_FALSE(item->uniquenessKey());
    EXPECT_TRUE(item->uid().isNil());
    EXPECT_EQ(item->recordKey(), "event-key");
}

TEST_F(KTSyncCalendarItemTest, AnEmptyTextIsNotNil)
{
    const auto item = event("SUMMARY:\nDESCRIPTION:\nLOCATION:");
    EXPECT_EQ(item->syncRecord()["Notes"], Value(""));
    EXPECT_EQ(item->syncRecord()["Location"], Value(""));
    EXPECT_THAT(item->iCalLines(), HasSubstr("\r\nDESCRIPTION:\r\n"));
}

TEST_F(KTSyncCalendarItemTest, AFailingAlarmIsLoggedWithoutContextAndThrownOn)
{
    const std::string reason = reasonOfException(
        [&] { event("BEGIN:VALARM\nACTION:DISPLAY\nDURATION:P\nEND:VALARM\nSUMMARY:Fest"); });
    EXPECT_NE(reason, "");
    EXPECT_THAT(helper.fileLog(),
                Contains("[KTSyncCalendarItem init(alarms)]:\n(null)\n" + reason));
}

TEST_F(KTSyncCalendarItemTest, AFailingPropertyIsLoggedAndThrownOn)
{
    const std::string reason = reasonOfException([&] { event("SUMMARY:Fest\nDURATION:P"); });
    EXPECT_NE(reason, "");
    EXPECT_EQ(helper.fileLog().back(), "[KTSyncCalendarItem init]:\n(\n)\n" + reason);
}

TEST_F(KTSyncCalendarItemTest, ARecordWithADateOfTheWrongKindIsLoggedAndThrownOn)
{
    const Dictionary record = recordWith("StartDate", "morgen");
    const std::string reason = reasonOfException([&] { eventOf(record); });
    EXPECT_THAT(reason, StartsWith(std::string(kNoDate)));
    EXPECT_THAT(helper.fileLog(),
                ElementsAre("[KTSyncCalendarItem init]:\n" + record.description() + "\n" + reason));
}

TEST_F(KTSyncCalendarItemTest, ARecordWithoutTitleGivesNoRecord)
{
    const auto item = eventOf({{"ParentRecordKey", kParentKey}});
    const std::string reason = reasonOfException([&] { item->syncRecord(); });
    EXPECT_NE(reason, "");
    EXPECT_THAT(helper.fileLog(), ElementsAre("[KTSyncCalendarItem syncRecord]:\n{\n}\n" + reason,
                                              "[KTSyncEvent syncRecord]:\n{\n}\n" + reason));
}

TEST_F(KTSyncCalendarItemTest, ARecordWithoutParentGivesNoRecord)
{
    const auto item = eventOf({{"Title", "Fest"}});
    const std::string reason = reasonOfException([&] { item->syncRecord(); });
    EXPECT_THAT(helper.fileLog(), Contains("[KTSyncCalendarItem syncRecord]:\n{\n    Title = "
                                           "Fest;\n}\n" +
                                           reason));
}

TEST_F(KTSyncCalendarItemTest, LinesThatCannotBeBuiltAreLoggedAndThrownOn)
{
    const Dictionary alarm{{"Action", "DISPLAY"}, {"AbsoluteTrigger", "morgen"}};
    const auto item = eventOf(recordWith("Alarms", Array{alarm}));
    const std::string reason = reasonOfException([&] { item->iCalLines(); });
    EXPECT_NE(reason, "");
    EXPECT_THAT(helper.fileLog(),
                ElementsAre("[KTSyncCalendarItem iCalLines]:\nSUMMARY:Fest\r\nUID:event-key\r\n"
                            "\n" +
                                reason,
                            "[KTSyncEvent iCalLines]:\nBEGIN:VEVENT\r\n\n" + reason));
}

TEST_F(KTSyncCalendarItemTest, LongLinesAreFolded)
{
    const std::string title(200, 'x');
    const auto item = event("SUMMARY:" + title);
    EXPECT_THAT(item->iCalLines(), HasSubstr("SUMMARY:" + std::string(67, 'x') + "\r\n " +
                                             std::string(75, 'x') + "\r\n "));
}

TEST_F(KTSyncCalendarItemTest, DescribesItselfByItsRecord)
{
    const auto item = event("SUMMARY:Fest");
    EXPECT_EQ(item->description(), item->syncRecord().description());
    EXPECT_EQ(eventOf({{"ParentRecordKey", kParentKey}})->description(), "Name:'(null)'");
}

}  // namespace
}  // namespace kt::test
