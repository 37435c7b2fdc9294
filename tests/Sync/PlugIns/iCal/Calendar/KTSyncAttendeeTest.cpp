#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "Sync/Foundation/Exception.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncAttendee.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "tests/Sync/PlugIns/iCal/Calendar/CalendarTextScope.h"
#include "tests/Sync/PlugIns/iCal/Calendar/UnicodeText.h"

namespace kt::test {
namespace {

struct Row {
    Value commonName;
    Value status;
    Value address;
    std::string_view line;
};
class AttendeeLines : public testing::TestWithParam<Row> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, AttendeeLines,
    testing::Values(Row{"Max", "PARTSTAT=ACCEPTED", "mailto:max",
                        "ATTENDEE;CN=\"Max\";PARTSTAT=ACCEPTED:mailto:max\r\n"},
                    Row{nullptr, "", "mailto:max", "ATTENDEE:mailto:max\r\n"},
                    Row{nullptr, nullptr, "mailto:max", "ATTENDEE:mailto:max\r\n"},
                    Row{nullptr, "A=B;C=D", "mailto:max", "ATTENDEE;A=B;C=D:mailto:max\r\n"},
                    Row{"", nullptr, "mailto:max", "ATTENDEE;CN=\"\":mailto:max\r\n"},
                    Row{"a\"b", nullptr, "", "ATTENDEE;CN=\"a\"b\":\r\n"},
                    Row{"Max", "PARTSTAT=ACCEPTED", nullptr, ""}));
TEST_P(AttendeeLines, AreWritten)
{
    const auto attendee =
        KTSyncAttendee::attendeeWithCommonName(GetParam().commonName, GetParam().status,
                                               GetParam().address, nullptr);
    EXPECT_EQ(attendee->iCalLines(), GetParam().line);
}

struct SeparatedRow {
    std::string_view commonName;
    bool isToldOf;
};
class AttendeeNames : public CalendarTextTable<SeparatedRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, AttendeeNames,
                         testing::Values(SeparatedRow{"Max", false}, SeparatedRow{"A:B", false},
                                         SeparatedRow{"Max\":x", true},
                                         SeparatedRow{"Max\" und \"Moritz", false}));
TEST_P(AttendeeNames, AreToldWhenTheReaderWouldTakePartOfThemForTheAddress)
{
    KTSyncAttendee(GetParam().commonName, nullptr, "mailto:max", nullptr).iCalLines();
    const std::vector<std::string> told{"ATTENDEE '" + std::string(GetParam().commonName) +
                                        "': Name und Adresse werden beim nächsten Lesen anders "
                                        "getrennt"};
    EXPECT_EQ(lossReasons(), GetParam().isToldOf ? told : std::vector<std::string>{});
}

TEST(Attendee, IsFoldedAtSeventyFiveCharacters)
{
    const std::string address(100, 'm');
    EXPECT_EQ(KTSyncAttendee("Max", "A=B", address, nullptr).iCalLines(),
              KTSyncCalendarTools::splitLine("ATTENDEE;CN=\"Max\";A=B:" + address + "\r\n",
                                             nullptr));
}

TEST(Attendee, HasNoStatusInItsRecordWhereTheRecordHadNone)
{
    const Dictionary record{{"Name", "Max"}, {"Address", "mailto:max"}};
    EXPECT_EQ(KTSyncAttendee(record, nullptr).syncRecord(), record);
}

TEST(Attendee, KeepsWhatARecordHoldsInPlaceOfATextInOneKeyEach)
{
    const Dictionary record{{"Name", 1}, {"Address", Array{"a"}}, {"Status", "s"}};
    const KTSyncAttendee attendee(record, nullptr);
    EXPECT_EQ(attendee.syncRecord(), record);
    EXPECT_EQ(attendee.commonName(), Value(1));
    EXPECT_EQ(attendee.address(), Value(Array{"a"}));
    EXPECT_EQ(attendee.status(), Value("s"));
}

TEST(Attendee, DescribesItself)
{
    EXPECT_EQ(KTSyncAttendee(nullptr, nullptr, nullptr, nullptr).description(),
              "Name:'', Address:'', Status:''");
    EXPECT_EQ(KTSyncAttendee("a", "b", "c", nullptr).description(),
              "Name:'a', Address:'c', Status:'b'");
}

TEST(Attendee, IsNilForANilRecordAndRaisesForNone)
{
    EXPECT_EQ(KTSyncAttendee::attendeeWithSyncRecord(nullptr, nullptr), nullptr);
    EXPECT_THROW(KTSyncAttendee::attendeeWithSyncRecord("Max", nullptr), Exception);
    EXPECT_NE(KTSyncAttendee::attendeeWithSyncRecord(Dictionary(), nullptr), nullptr);
}

RC_GTEST_PROP(Attendee, SurvivesARoundTripThroughItsRecord, ())
{
    const auto field = [] { return *rc::gen::arbitrary<bool>() ? Value(*unicodeText()) : Value(); };
    const KTSyncAttendee attendee(field(), field(), field(), nullptr);
    const auto again = KTSyncAttendee::attendeeWithSyncRecord(attendee.syncRecord(), nullptr);
    RC_ASSERT(again->syncRecord() == attendee.syncRecord());
    RC_ASSERT(again->iCalLines() == attendee.iCalLines());
    RC_ASSERT(again->description() == attendee.description());
}

RC_GTEST_PROP(Attendee, SurvivesARoundTripThroughItsLine, ())
{
    // Longer names are cut by the fold, which the reader of keys does not undo.
    const auto name = *rc::gen::container<std::string>(rc::gen::elementOf(std::string("abc :;,")));
    RC_PRE(name.size() < 40);
    const std::string line = KTSyncAttendee(name, "A=B", "mailto:max", nullptr).iCalLines();
    LineList lines = linesOf(line);
    const Dictionary properties =
        KTSyncCalendarTools::findAndRemovePropertiesFromLines(lines, nullptr);
    Array list;
    for (const auto& [key, value] : properties)
        if (!key.empty())
            KTSyncCalendarTools::addCNAndValueToList(list, key, value, nullptr);
    RC_ASSERT(list.size() == 1U);
    const auto attendee = list[0].objectOfClass<KTSyncAttendee>();
    RC_ASSERT(attendee->commonName() == Value(name));
    RC_ASSERT(attendee->status() == Value("A=B"));
    RC_ASSERT(attendee->address() == Value("mailto:max"));
}

}  // namespace
}  // namespace kt::test
