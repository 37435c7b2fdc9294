// Texts out of records on their way into a file.

#include <algorithm>
#include <functional>

#include "tests/Sync/PlugIns/iCal/Calendar/ModelFixture.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string kEvil = "a\r\nEND:VEVENT\r\nBEGIN:VEVENT\r\nSUMMARY:b\nEND:VTODO\rBEGIN:VTODO";

class WritableLines : public ModelFixture {
protected:
    static Dictionary record(const std::string& key, Value value)
    {
        Dictionary made{{"Title", "t"}, {"ParentRecordKey", kParentKey}};
        made.set(key, std::move(value));
        return made;
    }
    /// The written text, its fold taken back.
    static std::string unfolded(std::string text)
    {
        const auto replaceAll = [&](std::string_view what, std::string_view with) {
            for (std::size_t at; (at = text.find(what)) != std::string::npos;)
                text.replace(at, what.size(), with);
        };
        replaceAll("\r\r\n \n", "\r\n");
        replaceAll("\r\n ", "");
        return text;
    }
    /// The lines of a text that holds no bare CR or LF.
    static std::vector<std::string> linesOf(const std::string& text)
    {
        std::vector<std::string> lines;
        for (std::string_view line : componentsSeparatedByString(text, "\r\n")) {
            EXPECT_EQ(line.find_first_of("\r\n"), std::string_view::npos) << line;
            lines.emplace_back(line);
        }
        return lines;
    }
    static long countOf(const std::vector<std::string>& lines, std::string_view start)
    {
        return std::count_if(lines.begin(), lines.end(),
                             [&](const std::string& line) { return line.starts_with(start); });
    }
};

Value evilDate() { return KTSyncCalendarTools::parseICalDate("20071224T100000", kEvil, nullptr); }

struct EvilRow {
    std::string_view key;
    std::function<Value()> value;
    bool isTold;  // otherwise nothing is lost: the break is written with its escape
};
std::ostream& operator<<(std::ostream& out, const EvilRow& row) { return out << row.key; }
class EvilRecord : public WritableLines, public testing::WithParamInterface<EvilRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, EvilRecord,
    testing::Values(
        EvilRow{"Title", [] { return kEvil; }, false},
        EvilRow{"Notes", [] { return kEvil; }, false},
        EvilRow{"Location", [] { return kEvil; }, false},
        EvilRow{"AppleSpecialFields",
                [] {
                    return Dictionary{{"X-A", kEvil}};
                },
                false},
        EvilRow{"AppleSpecialFields",
                [] {
                    return Dictionary{{"X-A" + kEvil, "1"}};
                },
                true},
        EvilRow{"AppleSpecialFields",
                [] {
                    return Dictionary{{"BEGIN", "VEVENT"}};
                },
                true},
        EvilRow{"AppleSpecialFields",
                [] {
                    return Dictionary{{"END", "VEVENT"}};
                },
                true},
        EvilRow{"AppleSpecialFields",
                [] {
                    return Dictionary{{" x", "1"}};
                },
                true},
        EvilRow{"URL", [] { return kEvil; }, true}, EvilRow{"Sequence", [] { return kEvil; }, true},
        EvilRow{"Sequence",
                [] {
                    return Array{kEvil, "2"};
                },
                true},
        EvilRow{"TRANSP", [] { return kEvil; }, true}, EvilRow{"StartDate", evilDate, true},
        EvilRow{"EndDate", evilDate, true},
        EvilRow{"DateStamp",
                [] {
                    return KTSyncCalendarTools::parseICalDate("20071224T100000", kEvil, nullptr);
                },
                false},
        EvilRow{"RecurrenceId", evilDate, true},
        EvilRow{"ExceptionDates", [] { return Array{evilDate()}; }, true},
        EvilRow{"RecurrenceRule",
                [] {
                    return Dictionary{{"Frequency", kEvil}};
                },
                true},
        EvilRow{
            "RecurrenceRule",
            [] {
                return Dictionary{{"Frequency", "DAILY"}, {"ByWeekday", Array{Array{kEvil, 0}}}};
            },
            true},
        EvilRow{"RecurrenceRule",
                [] {
                    return Dictionary{{"Frequency", "DAILY"}, {"ByMonth", Array{kEvil}}};
                },
                true},
        EvilRow{"Attendees",
                [] {
                    return Array{Dictionary{{"Name", kEvil}, {"Address", "x"}}};
                },
                true},
        EvilRow{"Attendees",
                [] {
                    return Array{Dictionary{{"Status", kEvil}, {"Address", "x"}}};
                },
                true},
        EvilRow{"Attendees",
                [] {
                    return Array{Dictionary{{"Address", kEvil}}};
                },
                true},
        EvilRow{"Attachments",
                [] {
                    return Array{Dictionary{{"Data", kEvil}}};
                },
                true},
        EvilRow{"Attachments",
                [] {
                    return Array{Dictionary{{"Data", "x"}, {"Type", kEvil}}};
                },
                true},
        EvilRow{"Attachments",
                [] {
                    return Array{Dictionary{{"Data", "x"}, {"Value", kEvil}}};
                },
                true},
        EvilRow{"Attachments",
                [] {
                    return Array{Dictionary{{"Data", "x"}, {"Encoding", kEvil}}};
                },
                true},
        EvilRow{"Attachment", [] { return kEvil; }, true},
        EvilRow{"Alarms",
                [] {
                    return Array{Dictionary{{"Action", kEvil}}};
                },
                true},
        EvilRow{"Alarms",
                [] {
                    return Array{Dictionary{{"Action", "DISPLAY"}, {"RelativeTrigger", kEvil}}};
                },
                true},
        EvilRow{
            "Alarms",
            [] {
                return Array{Dictionary{{"Action", "DISPLAY"}, {"AbsoluteTrigger", evilDate()}}};
            },
            true},
        EvilRow{"Alarms",
                [] {
                    return Array{Dictionary{{"Action", "EMAIL"},
                                            {"EmailAddress", Dictionary{{"Address", kEvil}}}}};
                },
                true},
        EvilRow{"Alarms",
                [] {
                    return Array{Dictionary{{"Action", "AUDIO"},
                                            {"Attachments", Array{Dictionary{{"Data", kEvil}}}}}};
                },
                true}));
TEST_P(EvilRecord, BeginsNoLineOfItsOwnInAnEvent)
{
    const auto lines = linesOf(
        unfolded(eventOf(record(std::string(GetParam().key), GetParam().value()))->iCalLines()));
    EXPECT_EQ(countOf(lines, "BEGIN:VEVENT"), 1);
    EXPECT_EQ(countOf(lines, "END:VEVENT"), 1);
    EXPECT_EQ(countOf(lines, "BEGIN:VTODO") + countOf(lines, "END:VTODO"), 0);
    EXPECT_EQ(countOf(lines, "SUMMARY:"), 1);
    EXPECT_EQ(lines.back(), "");
    EXPECT_EQ(!lossReasons().empty(), GetParam().isTold);
}

struct EvilTaskRow {
    std::string_view key;
    std::function<Value()> value;
};
class EvilTaskRecord : public WritableLines, public testing::WithParamInterface<EvilTaskRow> {};
INSTANTIATE_TEST_SUITE_P(Rows, EvilTaskRecord,
                         testing::Values(EvilTaskRow{"Priority", [] { return kEvil; }},
                                         EvilTaskRow{"DueDate", evilDate},
                                         EvilTaskRow{"CompletedDate", evilDate}));
TEST_P(EvilTaskRecord, BeginsNoLineOfItsOwnInATask)
{
    const auto lines = linesOf(
        unfolded(taskOf(record(std::string(GetParam().key), GetParam().value()))->iCalLines()));
    EXPECT_EQ(countOf(lines, "BEGIN:"), 1);
    EXPECT_EQ(countOf(lines, "END:"), 1);
    EXPECT_EQ(countOf(lines, "SUMMARY:"), 1);
    EXPECT_THAT(lossReasons(), Not(IsEmpty()));
}

TEST_F(WritableLines, AnEvilKeyBeginsNoLineEither)
{
    const auto made = KTSyncEvent::syncEventWithPluginHelper(
        &helper, kEvil, Dictionary{{"Title", "t"}, {"ParentRecordKey", kParentKey}});
    const auto lines = linesOf(unfolded(made->iCalLines()));
    EXPECT_EQ(countOf(lines, "BEGIN:VEVENT"), 1);
    EXPECT_THAT(lossReasons(),
                ElementsAre("UID: ein Zeilenumbruch wird als Leerzeichen geschrieben"));
}

struct OneLineRow {
    std::string_view line;
    std::string_view written;
};
class OnOneLine : public testing::TestWithParam<OneLineRow> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, OnOneLine,
    testing::Values(OneLineRow{"SUMMARY:a\r\n", "SUMMARY:a\r\n"},
                    OneLineRow{"SUMMARY:a", "SUMMARY:a"},
                    OneLineRow{"SUMMARY:a\r\nb\rc\nd\r\n", "SUMMARY:a\\nb\\nc\\nd\r\n"},
                    OneLineRow{"SUMMARY:a\n\r\r\nb\r\n", "SUMMARY:a\\n\\n\\nb\r\n"},
                    OneLineRow{"DESCRIPTION;X=1:a\nb\r\n", "DESCRIPTION;X=1:a\\nb\r\n"},
                    OneLineRow{"LOCATION:\n\r\n", "LOCATION:\\n\r\n"},
                    OneLineRow{"X-A:a\nb\r\n", "X-A:a\\nb\r\n"},
                    OneLineRow{"URL:a\r\nb\r\n", "URL:a b\r\n"},
                    OneLineRow{"ATTENDEE;CN=\"a\rb\":c\r\n", "ATTENDEE;CN=\"a b\":c\r\n"},
                    OneLineRow{"\r\n", "\r\n"}, OneLineRow{"", ""}));
TEST_P(OnOneLine, ABreakIsAnEscapeInTextAndABlankElsewhere)
{
    EXPECT_EQ(KTSyncCalendarTools::onOneLine(std::string(GetParam().line)), GetParam().written);
}

// What the reader is going to cut.

const std::string kWillBeCut = "ATTENDEE: die Parameter werden beim nächsten Lesen abgeschnitten";

struct LongKeyRow {
    std::size_t nameLength;
    bool isTold;
};
class LongAttendee : public WritableLines, public testing::WithParamInterface<LongKeyRow> {};
// ATTENDEE;CN="...": is 14 characters and the name; the colon has to stand among the first 75.
INSTANTIATE_TEST_SUITE_P(Rows, LongAttendee,
                         testing::Values(LongKeyRow{10, false}, LongKeyRow{60, false},
                                         LongKeyRow{61, true}, LongKeyRow{200, true}));
TEST_P(LongAttendee, IsToldWhenItIsWrittenAndOnlyThen)
{
    const std::string name(GetParam().nameLength, 'x');
    const auto made =
        eventOf(record("Attendees", Array{Dictionary{{"Name", name}, {"Address", "mailto:max"}}}));
    EXPECT_THAT(lossReasons(), IsEmpty());
    made->iCalLines();
    EXPECT_EQ(lossReasons(), GetParam().isTold ? std::vector<std::string>{kWillBeCut}
                                               : std::vector<std::string>{});
}

TEST_F(WritableLines, ANameThatHidesTheAddressBehindAQuoteIsTold)
{
    eventOf(
        record("Attendees", Array{Dictionary{{"Name", "Max \"Maxi"}, {"Address", "mailto:max"}}}))
        ->iCalLines();
    EXPECT_THAT(lossReasons(), ElementsAre(kWillBeCut));
}

struct ZoneRow {
    std::string zone;
    std::string written;
};
class WildZone : public WritableLines, public testing::WithParamInterface<ZoneRow> {};
const std::string kLongZone =
    "(GMT+01.00) Amsterdam, Berlin, Bern, Rom, Stockholm, Wien, und alles sonst noch, Bonn";
INSTANTIATE_TEST_SUITE_P(Rows, WildZone,
                         testing::Values(ZoneRow{"Europe/Berlin", "Europe/Berlin"},
                                         ZoneRow{"\"Berlin\"", "\"Berlin\""},
                                         ZoneRow{"Berlin, Wien", "Berlin, Wien"},
                                         ZoneRow{"\"(GMT+01", "(GMT+01"},
                                         ZoneRow{"Berlin\\", "Berlin"}, ZoneRow{"a:b", "a:b"}));
TEST_P(WildZone, LeavesTheDateReadable)
{
    for (const std::string_view name : {"DTSTART", "EXDATE"}) {
        classes.lossReport().clear();
        const auto line = KTSyncCalendarTools::assembleDateComponent(name, date("20071224T100000",
                                                                                GetParam().zone));
        EXPECT_EQ(line, std::string(name) + ";TZID=" + GetParam().written + ":20071224T100000\r\n");
        EXPECT_EQ(lossReasons().size(), GetParam().zone == GetParam().written ? 0u : 1u);
    }
}

TEST_F(WritableLines, WhatAFoldCutsOffAZoneIsNeverTakenForAnExceptionDate)
{
    const Value day = date("20071224T100000", kLongZone);
    EXPECT_THAT(*KTSyncCalendarTools::assembleDateComponent("DTSTART", day), HasSubstr(kLongZone));
    EXPECT_THAT(*KTSyncCalendarTools::assembleDateComponent("EXDATE", day),
                HasSubstr("Amsterdam Berlin Bern Rom Stockholm Wien und"));
}

// Whatever a record held, what was written is read without a loss and the same from then on.
class Rest : public WritableLines, public testing::WithParamInterface<EvilRow> {
protected:
    static constexpr const char* kEvents = "Library/Calendars/source.calendar/Events";

    std::shared_ptr<KTSyncEvent> readBack()
    {
        const auto made = calendar();
        made->recordKey();
        EXPECT_EQ(made->events()->size(), 1u);
        return made->events()->front();
    }
};
INSTANTIATE_TEST_SUITE_P(
    Rows, Rest,
    testing::Values(
        EvilRow{
            "Attendees",
            [] {
                return Array{Dictionary{{"Name", std::string(70, 'x')}, {"Address", "mailto:max"}}};
            },
            true},
        EvilRow{"Attachments",
                [] {
                    return Array{Dictionary{{"Data", "http://x"},
                                            {"Type", "FMTTYPE=" + std::string(90, 'x')}}};
                },
                true},
        EvilRow{"ExceptionDates",
                [] {
                    return Array{KTSyncCalendarTools::parseICalDate("20071224T100000", "\"(GMT+01",
                                                                    nullptr)};
                },
                true},
        EvilRow{"ExceptionDates",
                [] {
                    return Array{
                        KTSyncCalendarTools::parseICalDate("20071224T100000", kLongZone, nullptr)};
                },
                true},
        EvilRow{"ExceptionDates",
                [] {
                    return Array{
                        KTSyncCalendarTools::parseICalDate("20071224T100000", "a\\", nullptr)};
                },
                true},
        EvilRow{"Location",
                [] {
                    return Array{"a", "b"};
                },
                true},
        EvilRow{"Title", [] { return kEvil; }, false}, EvilRow{"URL", [] { return kEvil; }, true}));
TEST_P(Rest, ComesAfterOneRewrite)
{
    const auto written = calendar();
    written->addEvent(
        KTSyncEvent::syncEventWithPluginHelper(&helper, "0123456789abcdef0123456789abcdef01234567",
                                               record(std::string(GetParam().key),
                                                      GetParam().value())));
    ASSERT_TRUE(written->storeEventsAndTasks());
    EXPECT_EQ(!lossReasons().empty(), GetParam().isTold);
    for (const KTLoss& loss : classes.losses())
        EXPECT_EQ(loss.calendar, "Privat");

    classes.lossReport().clear();
    const auto first = readBack();
    EXPECT_THAT(lossReasons(), IsEmpty());
    if (GetParam().key == "ExceptionDates") {
        const Value dates = first->syncRecord()["ExceptionDates"];
        ASSERT_EQ(dates.array().size(), 1u);
        EXPECT_EQ(dates.array()[0].objectOfClass<KTSyncEnhancedDate>()->iCalDate(),
                  "20071224T100000");
    }
    EXPECT_EQ(readBack()->syncRecord(), first->syncRecord());
    EXPECT_EQ(readBack()->recordKey(), first->recordKey());
}

}  // namespace
}  // namespace kt::test
