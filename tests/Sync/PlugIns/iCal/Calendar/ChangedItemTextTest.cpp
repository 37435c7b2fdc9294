#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/ChangedItemText.h"
#include "Sync/PlugIns/iCal/Calendar/ComponentText.h"

namespace kt {
namespace {

using testing::ElementsAre;

std::string component(const std::vector<std::string_view>& lines)
{
    std::string text = "BEGIN:VEVENT\r\n";
    for (const std::string_view line : lines)
        text.append(line).append("\r\n");
    return text + "END:VEVENT\r\n";
}

std::vector<std::string_view> names(const ComponentText& text)
{
    std::vector<std::string_view> names;
    for (const auto& part : text.parts())
        names.push_back(part.name);
    return names;
}

TEST(ComponentText, CutsPropertiesWithTheirFoldsAndComponentsWhole)
{
    const std::string text = component({"SUMMARY;LANGUAGE=de:Za", " hnarzt", "BEGIN:VALARM",
                                        "ACTION:AUDIO", " X", "END:VALARM", "X-A;B=c:d"});
    const ComponentText cut(text);
    EXPECT_THAT(names(cut), ElementsAre("SUMMARY", "BEGIN:VALARM", "X-A"));
    EXPECT_EQ(cut.parts()[0].value, "Zahnarzt");
    EXPECT_EQ(cut.parts()[1].text, "BEGIN:VALARM\r\nACTION:AUDIO\r\n X\r\nEND:VALARM\r\n");
    EXPECT_EQ(cut.begin(), "BEGIN:VEVENT\r\n");
    EXPECT_EQ(cut.end(), "END:VEVENT\r\n");
}

TEST(ComponentText, LeavesATabWithTheLineThatItCarriesOn)
{
    const std::string text = component({"GEO:1", "\t;2", "URL:x"});
    EXPECT_THAT(names(ComponentText(text)), ElementsAre("GEO", "URL"));
}

/// The writer of these tests knows SUMMARY, LOCATION, ATTENDEE and alarms; what is read is what
/// stands there of them, without parameters, the last of each SUMMARY.
std::optional<std::string> read(std::string_view text)
{
    std::string read;
    std::string title;
    const ComponentText cut(text);
    for (const auto& part : cut.parts()) {
        if (part.name == "SUMMARY")
            title = part.value;
        else if (part.name == "LOCATION" || part.name == "ATTENDEE")
            read += std::string(part.name) + '=' + part.value + '\n';
        else if (part.isComponent() && part.name == "BEGIN:VALARM")
            read += part.text;
    }
    return title + '\n' + read;
}

std::string changed(const std::string& stored, const std::string& written,
                    const std::string& wanted)
{
    return changedItemText({stored, written, wanted, *read(wanted)}, read);
}

/// Whatever is read is what was wanted.
std::string changedAnyhow(const std::string& stored, const std::string& written,
                          const std::string& wanted)
{
    return changedItemText({stored, written, wanted, ""},
                           [](std::string_view) { return std::optional<std::string>("same"); });
}

TEST(ChangedItemText, KeepsWhatTheWriterKnowsNothingOf)
{
    EXPECT_EQ(changed(component({"CLASS:PRIVATE", "SUMMARY:a", "GEO;X=1:1;2"}),
                      component({"SUMMARY:a"}), component({"SUMMARY:b"})),
              component({"CLASS:PRIVATE", "SUMMARY:b", "GEO;X=1:1;2"}));
}

TEST(ChangedItemText, KeepsTheLineOfWhatTheWriterWouldWriteAsBefore)
{
    EXPECT_EQ(changed(component({"SUMMARY;LANGUAGE=de:a", "LOCATION;ALTREP=\"x\":Kiel"}),
                      component({"SUMMARY:a", "LOCATION:Kiel"}),
                      component({"SUMMARY:b", "LOCATION:Kiel"})),
              component({"SUMMARY:b", "LOCATION;ALTREP=\"x\":Kiel"}));
}

TEST(ChangedItemText, KeepsTheLinesOfValuesThatStayedAmongSeveral)
{
    EXPECT_EQ(changed(component({"ATTENDEE;RSVP=TRUE:a", "ATTENDEE;ROLE=CHAIR:b"}),
                      component({"ATTENDEE:a", "ATTENDEE:b"}),
                      component({"ATTENDEE:b", "ATTENDEE:c"})),
              component({"ATTENDEE;ROLE=CHAIR:b", "ATTENDEE:c"}));
}

TEST(ChangedItemText, KeepsALineWhoseKeyIsCutWhereTheWriterCutsItToo)
{
    const std::string key = "ATTENDEE;ROLE=" + std::string(55, 'R') + ";CUTYPE";
    EXPECT_EQ(changedAnyhow(component({key, " =INDIVIDUAL:a", "ATTENDEE:b"}),
                            component({key, " :=INDIVIDUAL:a", "ATTENDEE:b"}),
                            component({key, " :=INDIVIDUAL:a", "ATTENDEE:c"})),
              component({key, " =INDIVIDUAL:a", "ATTENDEE:c"}));
}

TEST(ChangedItemText, TellsPropertiesOfOneValueApartByTheirOrder)
{
    EXPECT_EQ(changedAnyhow(component({"ATTENDEE;CN=A;X=1:a", "ATTENDEE;CN=B;X=2:a"}),
                            component({"ATTENDEE;CN=A:a", "ATTENDEE;CN=B:a"}),
                            component({"ATTENDEE;CN=C:a", "ATTENDEE;CN=B:a"})),
              component({"ATTENDEE;CN=C:a", "ATTENDEE;CN=B;X=2:a"}));
}

TEST(ChangedItemText, WritesAPropertyAnewWhoseParametersChanged)
{
    EXPECT_EQ(changed(component({"ATTENDEE;PARTSTAT=NEEDS-ACTION:a"}),
                      component({"ATTENDEE;PARTSTAT=NEEDS-ACTION:a"}),
                      component({"ATTENDEE;PARTSTAT=ACCEPTED:a"})),
              component({"ATTENDEE;PARTSTAT=ACCEPTED:a"}));
}

TEST(ChangedItemText, RemovesWhatIsWantedNoMore)
{
    EXPECT_EQ(changed(component({"SUMMARY:a", "LOCATION;X=1:Kiel"}),
                      component({"SUMMARY:a", "LOCATION:Kiel"}), component({"SUMMARY:a"})),
              component({"SUMMARY:a"}));
}

TEST(ChangedItemText, PutsNewPropertiesInFrontOfComponents)
{
    EXPECT_EQ(changed(component({"SUMMARY:a", "BEGIN:VALARM", "END:VALARM"}),
                      component({"SUMMARY:a", "BEGIN:VALARM", "END:VALARM"}),
                      component({"SUMMARY:a", "LOCATION:Kiel", "BEGIN:VALARM", "END:VALARM"})),
              component({"SUMMARY:a", "LOCATION:Kiel", "BEGIN:VALARM", "END:VALARM"}));
}

TEST(ChangedItemText, KeepsTheAlarmsThatStayedWithAllThatTheyHold)
{
    const auto alarms = [](std::string_view first, std::string_view second) {
        return component(
            {"BEGIN:VALARM", first, "END:VALARM", "BEGIN:VALARM", second, "END:VALARM"});
    };
    EXPECT_EQ(changedItemText({alarms("A;X=1:1", "B;X=1:1"), alarms("A:1", "B:1"),
                               alarms("A:1", "B:2"), ""},
                              [](std::string_view) { return std::optional<std::string>("same"); }),
              alarms("A;X=1:1", "B:2"));
}

TEST(ChangedItemText, KeepsTheOtherLinesOfAnAlarmThatChanged)
{
    const auto alarms = [](std::initializer_list<std::string_view> first,
                           std::initializer_list<std::string_view> second) {
        std::vector<std::string_view> lines{"BEGIN:VALARM"};
        lines.insert(lines.end(), first);
        lines.insert(lines.end(), {"END:VALARM", "BEGIN:VALARM"});
        lines.insert(lines.end(), second);
        lines.push_back("END:VALARM");
        return component(lines);
    };
    EXPECT_EQ(changedAnyhow(alarms({"ACTION:A", "UID:a", "TRIGGER;X=1:1"},
                                   {"ACTION:B", "UID:b", "TRIGGER:2"}),
                            alarms({"ACTION:A", "TRIGGER:1"}, {"ACTION:B", "TRIGGER:2"}),
                            alarms({"ACTION:B", "TRIGGER:3"}, {"ACTION:C", "TRIGGER:1"})),
              alarms({"ACTION:B", "UID:b", "TRIGGER:3"}, {"ACTION:C", "UID:a", "TRIGGER;X=1:1"}));
    // The first one went, so the second is the one that changed.
    EXPECT_EQ(changedAnyhow(alarms({"ACTION:A", "UID:a", "TRIGGER:1"},
                                   {"ACTION:B", "UID:b", "TRIGGER:2"}),
                            alarms({"ACTION:A", "TRIGGER:1"}, {"ACTION:B", "TRIGGER:2"}),
                            component({"BEGIN:VALARM", "ACTION:B", "TRIGGER:3", "END:VALARM"})),
              component({"BEGIN:VALARM", "ACTION:B", "UID:b", "TRIGGER:3", "END:VALARM"}));
}

TEST(ChangedItemText, LetsLastModifiedGoAndPercentWithTheStatusThatItTellsOf)
{
    EXPECT_EQ(changed(component({"LAST-MODIFIED:1", "PERCENT-COMPLETE:50", "SUMMARY:a"}),
                      component({"SUMMARY:a"}), component({"STATUS:COMPLETED", "SUMMARY:a"})),
              component({"SUMMARY:a", "STATUS:COMPLETED"}));
    EXPECT_EQ(changed(component({"PERCENT-COMPLETE:50", "SUMMARY:a"}), component({"SUMMARY:a"}),
                      component({"SUMMARY:b"})),
              component({"PERCENT-COMPLETE:50", "SUMMARY:b"}));
}

TEST(ChangedItemText, LetsEveryLineOfAChangedNameFollowTheRecord)
{
    EXPECT_EQ(changed(component({"SUMMARY;LANGUAGE=de:a", "SUMMARY;LANGUAGE=en:b"}),
                      component({"SUMMARY:b"}), component({"SUMMARY:c"})),
              component({"SUMMARY:c"}));
    EXPECT_EQ(changed(component({"LOCATION;X=1:Kiel", "LOCATION:Bonn"}),
                      component({"LOCATION:Bonn"}), component({"LOCATION:Ulm"})),
              component({"LOCATION:Ulm"}));
    // The writer made nothing of the old status, and the new one would not be read beside it.
    EXPECT_EQ(changed(component({"STATUS:NEEDS-ACTION", "SUMMARY:a"}), component({"SUMMARY:a"}),
                      component({"STATUS:COMPLETED", "SUMMARY:a"})),
              component({"STATUS:COMPLETED", "SUMMARY:a"}));
}

TEST(ChangedItemText, CarriesExceptionsOfAnotherZoneAndNoneThatTheRecordTellsOf)
{
    EXPECT_EQ(changed(component({"EXDATE;TZID=A:1", "EXDATE;TZID=B:2", "EXDATE;TZID=B:3"}),
                      component({"EXDATE;TZID=B:2", "EXDATE;TZID=B:3"}),
                      component({"EXDATE;TZID=B:3"})),
              component({"EXDATE;TZID=A:1", "EXDATE;TZID=B:3"}));
    EXPECT_EQ(changed(component({"EXDATE:1,2"}), component({"EXDATE;TZID=B:1", "EXDATE;TZID=B:2"}),
                      component({"EXDATE;TZID=B:1"})),
              component({"EXDATE;TZID=B:1"}));
}

TEST(ChangedItemText, GivesUpLinesOfChangedNamesBeforeAnythingElse)
{
    // Two keys of exceptions, of which one would not be read.
    const auto reads = [](std::string_view text) {
        const bool areMixed = text.find("EXDATE:1") != std::string_view::npos;
        return std::optional<std::string>(areMixed ? "anders" : "gut");
    };
    EXPECT_EQ(changedItemText({component({"GEO:1", "EXDATE:1"}), component({"EXDATE;TZID=B:1"}),
                               component({"EXDATE;TZID=B:1", "EXDATE;TZID=B:2"}), "gut"},
                              reads),
              component({"GEO:1", "EXDATE;TZID=B:1", "EXDATE;TZID=B:2"}));
}

TEST(ChangedItemText, IsTheWantedTextWhereNothingCanBeRead)
{
    const std::string wanted = component({"SUMMARY:b"});
    EXPECT_EQ(changedItemText({component({"SUMMARY:a", "GEO:1"}), component({"SUMMARY:a"}), wanted,
                               ""},
                              [](std::string_view) { return std::optional<std::string>(); }),
              wanted);
}

TEST(ChangedItemText, CarriesALineThatTheWritersOwnTextWouldNotBringBack)
{
    // Read from the writer's text the address would be another one.
    const auto reads = [](std::string_view text) {
        const bool isWritten = text.find("ATTENDEE:a") != std::string_view::npos;
        return std::optional<std::string>(isWritten ? "anders" : "gut");
    };
    EXPECT_EQ(changedItemText({component({"ATTENDEE;X=1:a", "SUMMARY:a"}),
                               component({"ATTENDEE:a", "SUMMARY:a"}),
                               component({"ATTENDEE:a", "SUMMARY:b"}), "gut"},
                              reads),
              component({"ATTENDEE;X=1:a", "SUMMARY:b"}));
}

}  // namespace
}  // namespace kt
