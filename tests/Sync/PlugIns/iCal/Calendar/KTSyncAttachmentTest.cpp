#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncAttachment.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "tests/Sync/PlugIns/iCal/Calendar/CalendarTextScope.h"
#include "tests/Sync/PlugIns/iCal/Calendar/UnicodeText.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kURI = "ical://attachments/ABC/report%20final.pdf";
constexpr const char* kFile = "Library/Calendars/Attachments/ABC/report final.pdf";

class Attachment : public testing::Test {
protected:
    KTSyncAttachment read(std::string_view URI, std::string_view key = "ATTACH")
    {
        return KTSyncAttachment(URI, key, &logger);
    }

    TemporaryFolder home;
    CalendarTextScope scope{home.path()};
    RecordingFileLogger& logger = scope.logger;
};

TEST_F(Attachment, KeepsItsParametersWholeAndItsValueVerbatim)
{
    const auto attachment = read("SGk=", "ATTACH;FMTTYPE=text/plain;ENCODING=BASE64;VALUE=BINARY");
    EXPECT_EQ(attachment.iCalLines(),
              "ATTACH;FMTTYPE=text/plain;ENCODING=BASE64;VALUE=BINARY:SGk=\r\n");
    EXPECT_EQ(attachment.syncRecord(), (Dictionary{{"Type", "FMTTYPE=text/plain"},
                                                   {"Encoding", "ENCODING=BASE64"},
                                                   {"Value", "VALUE=BINARY"},
                                                   {"Data", "SGk="}}));
}

TEST_F(Attachment, WritesItsParametersInOneOrder)
{
    EXPECT_EQ(read("x", "ATTACH;VALUE=A;ENCODING=B;FMTTYPE=C").iCalLines(),
              "ATTACH;FMTTYPE=C;ENCODING=B;VALUE=A:x\r\n");
}

TEST_F(Attachment, TakesTheLaterOfEqualParametersAndNoOthers)
{
    EXPECT_EQ(read("x", "VALUE=0;VALUE=A;X-B=C;VALUE=D").iCalLines(), "ATTACH;VALUE=D:x\r\n");
}

TEST_F(Attachment, DescribesItselfByItsLine) { EXPECT_EQ(read("x").description(), "ATTACH:x\r\n"); }

TEST_F(Attachment, IsFolded)
{
    const std::string address = "http://" + std::string(100, 'a');
    EXPECT_EQ(read(address).iCalLines(),
              KTSyncCalendarTools::splitLine("ATTACH:" + address + "\r\n", nullptr));
}

TEST_F(Attachment, WritesTheValueOfARecordThatHoldsNothingElse)
{
    EXPECT_EQ(KTSyncAttachment(Dictionary{{"Data", "http://a"}}, &logger).iCalLines(),
              "ATTACH:http://a\r\n");
}

TEST_F(Attachment, WritesNothingWithoutData)
{
    EXPECT_EQ(KTSyncAttachment(Dictionary{{"Type", "FMTTYPE=a/b"}, {"BinaryData", Data{"x"}}},
                               &logger)
                  .iCalLines(),
              "");
    EXPECT_EQ(KTSyncAttachment(nullptr, "ATTACH;VALUE=URI", &logger).iCalLines(), "");
}

TEST_F(Attachment, MapsAnAddressToAFileInTheHomeFolder)
{
    EXPECT_EQ(read("x").pathForICalAttachment(kURI), home.path(kFile));
    EXPECT_THAT(logger.entries(), ElementsAre(std::string("Attachment: '") + kURI + "'"));
}

struct PathRow {
    Value URI;
    std::optional<std::string> path;  // below the folder of attachments
};
class AttachmentPaths : public CalendarTextTable<PathRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, AttachmentPaths,
    testing::Values(PathRow{nullptr, std::nullopt}, PathRow{"ical:x", std::nullopt},
                    PathRow{"http://a/b", std::nullopt}, PathRow{"ICAL://a/b", std::nullopt},
                    PathRow{"ical://", std::nullopt}, PathRow{"ical://a/b", "a/b"},
                    PathRow{"ical://%C3%A4/%E2%82%AC", "ä/€"}, PathRow{"ical://a/b/c/d", "c/d"},
                    PathRow{"ical://a", "ical:/a"}, PathRow{"ical://%FF/b", std::nullopt},
                    PathRow{"ical://a/%zz", std::nullopt}));
TEST_P(AttachmentPaths, AreTheLastTwoComponents)
{
    const KTSyncAttachment attachment("x", "ATTACH", nullptr);
    std::optional<std::string> expected = GetParam().path;
    if (expected)
        expected = "/nonexistent/home/Library/Calendars/Attachments/" + *expected;
    EXPECT_EQ(attachment.pathForICalAttachment(GetParam().URI), expected);
}

class AttachmentLog : public CalendarTextTable<PathRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, AttachmentLog,
                         testing::Values(PathRow{nullptr, "(null)"}, PathRow{"ical:x", "ical:x"},
                                         PathRow{"ical://a/b", "ical://a/b"}));
TEST_P(AttachmentLog, NamesTheAddressAlways)
{
    KTSyncAttachment("x", "ATTACH", &logger).pathForICalAttachment(GetParam().URI);
    EXPECT_THAT(logger.entries(), ElementsAre("Attachment: '" + *GetParam().path + "'"));
}

class AttachmentAddressesFromOutside : public CalendarTextTable<std::string> {};
INSTANTIATE_TEST_SUITE_P(URIs, AttachmentAddressesFromOutside,
                         testing::Values("ical://a/..", "ical://../b", "ical://./b",
                                         "ical://a/..%2F..%2F..", "ical://a/%00",
                                         "ical://a/b%00c"));
TEST_P(AttachmentAddressesFromOutside, WriteOneLogLineAndNoAttachmentUnlessPlain)
{
    const KTSyncAttachment attachment(GetParam(), "ATTACH", &logger);
    EXPECT_EQ(attachment.syncRecord(), Dictionary());
    EXPECT_EQ(attachment.iCalLines(), "");
    EXPECT_THAT(logger.entries(), ElementsAre("Attachment: '" + GetParam() + "'",
                                              "Anhang '" + GetParam() +
                                                  "' wird ausgelassen: kein gültiger Dateiname"));
    EXPECT_THAT(lossReasons(), ElementsAre("Anhang '" + GetParam() +
                                           "' wird nicht übernommen: kein gültiger Dateiname"));
}

TEST_F(Attachment, RefusesANameThatNoFileCanHave)
{
    const std::string longest = "ical://a/" + std::string(255, 'x');
    EXPECT_TRUE(read("x").pathForICalAttachment(longest).has_value());
    EXPECT_FALSE(read("x").pathForICalAttachment(longest + "x").has_value());
}

TEST_F(Attachment, HasNeitherDataNorFileForAnAddressThatNamesNoneAndTellsOfIt)
{
    const auto attachment = read("ical:x", "ATTACH;VALUE=URI");
    EXPECT_EQ(attachment.syncRecord(), (Dictionary{{"Value", "VALUE=URI"}}));
    EXPECT_EQ(attachment.iCalLines(), "");
    EXPECT_THAT(scope.lossReasons(),
                ElementsAre("Anhang 'ical:x' wird nicht übernommen: kein gültiger Dateiname"));
}

TEST_F(Attachment, TellsOfNoLossForAnAddressOutOfARecord)
{
    EXPECT_EQ(read("ical:x", "").syncRecord(), Dictionary());
    EXPECT_EQ(read(kURI, "").syncRecord(), (Dictionary{{"Data", kURI}}));
    EXPECT_THAT(scope.classes.losses(), IsEmpty());
}

TEST_F(Attachment, TakesTheContentOfItsFileAlong)
{
    home.write(kFile, std::string("a\0b", 3));
    const auto attachment = read(kURI);
    EXPECT_EQ(attachment.syncRecord(),
              (Dictionary{{"Data", kURI}, {"BinaryData", Data{std::string("a\0b", 3)}}}));
    EXPECT_THAT(scope.classes.losses(), IsEmpty());
}

TEST_F(Attachment, TellsOfAFileThatCannotBeReadAndKeepsItsLine)
{
    const auto attachment = read(kURI);
    EXPECT_EQ(attachment.syncRecord(), (Dictionary{{"Data", kURI}}));
    EXPECT_EQ(attachment.iCalLines(), std::string("ATTACH:") + kURI + "\r\n");
    EXPECT_THAT(scope.lossReasons(), ElementsAre(std::string("Anhang '") + kURI +
                                                 "' ist nicht lesbar: '" + home.path(kFile) + "'"));
}

TEST_F(Attachment, TakesAnEmptyFileAlong)
{
    home.write(kFile, "");
    EXPECT_EQ(read(kURI).syncRecord(), (Dictionary{{"Data", kURI}, {"BinaryData", Data{""}}}));
}

TEST_F(Attachment, WritesItsFileWhereItIsExpected)
{
    const KTSyncAttachment attachment(Dictionary{{"Data", kURI}, {"BinaryData", Data{"x"}}},
                                      &logger);
    EXPECT_EQ(attachment.iCalLines(), std::string("ATTACH:") + kURI + "\r\n");
    EXPECT_EQ(home.tree(), (std::map<std::string, std::string>{{kFile, "x"}}));
}

TEST_F(Attachment, ReplacesAFileThatHoldsOtherBytes)
{
    home.write(kFile, "y");
    const KTSyncAttachment attachment(Dictionary{{"Data", kURI}, {"BinaryData", Data{"x"}}},
                                      &logger);
    EXPECT_NE(attachment.iCalLines(), "");
    EXPECT_EQ(home.read(kFile), "x");
}

TEST_F(Attachment, LeavesAFileThatHoldsTheSameBytesAlone)
{
    home.write(kFile, "x");
    const auto before = std::filesystem::last_write_time(home.path(kFile)) - std::chrono::hours(1);
    std::filesystem::last_write_time(home.path(kFile), before);
    const WriteGuard guard;
    EXPECT_EQ(read(kURI).iCalLines(), std::string("ATTACH:") + kURI + "\r\n");
    EXPECT_EQ(std::filesystem::last_write_time(home.path(kFile)), before);
}

TEST_F(Attachment, WritesNoLineWhenItsFileCannotBeWritten)
{
    home.write("Library", "in the way");
    const KTSyncAttachment attachment(Dictionary{{"Data", kURI}, {"BinaryData", Data{"x"}}},
                                      &logger);
    EXPECT_EQ(attachment.iCalLines(), "");
}

TEST_F(Attachment, WritesNoLineForContentWithoutAFile)
{
    const KTSyncAttachment attachment(Dictionary{{"Data", "http://a/b"}, {"BinaryData", Data{"x"}}},
                                      &logger);
    EXPECT_EQ(attachment.iCalLines(), "");
    EXPECT_THAT(home.tree(), IsEmpty());
    EXPECT_THAT(logger.entries(), ElementsAre("Attachment: 'http://a/b'"));
}

TEST_F(Attachment, LogsAnAddressThatIsNoTextAndThrowsOn)
{
    EXPECT_THROW(KTSyncAttachment(Array{"a"}, "ATTACH;A=B", &logger), Exception);
    EXPECT_THAT(logger.entries(),
                ElementsAre(testing::StartsWith(
                    "[KTSyncAttachment initWithURI:(\n    a\n) properties:ATTACH;A=B:\n")));
}

TEST_F(Attachment, IsNilForANilRecordAndRaisesForNone)
{
    EXPECT_EQ(KTSyncAttachment::attachmentWithSyncRecord(nullptr, &logger), nullptr);
    EXPECT_THROW(KTSyncAttachment::attachmentWithSyncRecord("x", &logger), Exception);
}

TEST_F(Attachment, SurvivesARoundTripThroughItsRecord)
{
    EXPECT_TRUE(rc::check([&] {
        Dictionary record;
        for (const char* key : {"Type", "Value", "Encoding", "Data"})
            if (*rc::gen::arbitrary<bool>())
                record.set(key, *unicodeText());
        if (*rc::gen::arbitrary<bool>())
            record.set("BinaryData", Data{*rc::gen::arbitrary<std::string>()});
        const auto attachment = KTSyncAttachment::attachmentWithSyncRecord(record, nullptr);
        RC_ASSERT(attachment->syncRecord() == record);
    }));
}

TEST_F(Attachment, SurvivesARoundTripThroughItsLine)
{
    EXPECT_TRUE(rc::check([&] {
        const std::string value = *unicodeText();
        RC_PRE(!value.starts_with("ical:"));
        const std::string line =
            KTSyncAttachment(value, "ATTACH;FMTTYPE=a/b;VALUE=URI", nullptr).iCalLines();
        // The fold counts the line end, so it may cut it; without it the text is whole.
        const std::string folded =
            KTSyncCalendarTools::splitLine("ATTACH;FMTTYPE=a/b;VALUE=URI:" + value, nullptr);
        RC_ASSERT(line.starts_with(folded.substr(0, 75)));
        LineList lines = linesOf(folded);
        const Dictionary properties =
            KTSyncCalendarTools::findAndRemovePropertiesFromLines(lines, nullptr);
        const Dictionary values =
            KTSyncCalendarTools::filterICalValuesInComponents(properties, "Etc/UTC", nullptr);
        const auto again = values["ATTACH"].array().at(0).objectOfClass<KTSyncAttachment>();
        RC_ASSERT(again->syncRecord() ==
                  (Dictionary{{"Type", "FMTTYPE=a/b"}, {"Value", "VALUE=URI"}, {"Data", value}}));
        RC_ASSERT(again->iCalLines() == line);
    }));
}

}  // namespace
}  // namespace kt::test
