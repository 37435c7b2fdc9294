#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/RewriteProof.h"
#include "tests/Sync/Host/Engine/HomeModel.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A calendar "C" that is handed out with items, and what a store gives back of them.
class FaultsOfRewrite : public testing::Test {
protected:
    static Dictionary calendarRecord(const std::string& title, const std::string& type)
    {
        return {{"Title", title}, {"Type", type}};
    }

    void handOutCalendar(const std::string& key, const std::string& title,
                         const std::string& type = "CalendarNode")
    {
        handed.push_back(
            {{std::string(kConduitCalendar), key}, std::nullopt, calendarRecord(title, type)});
    }
    void handOut(std::string_view conduit, const std::string& key, const std::string& title,
                 const std::string& calendar = "C")
    {
        handed.push_back({{std::string(conduit), key},
                          calendar,
                          {{"Title", title}, {"ParentRecordKey", calendar}}});
    }
    // What was handed out under `agreedKey` comes back; nullopt is nobody's.
    void giveBack(std::string_view conduit, const std::optional<std::string>& agreedKey,
                  const std::string& file = "")
    {
        const std::string key = agreedKey.value_or("x");
        const bool isCalendar = conduit == kConduitCalendar;
        records.push_back(std::make_shared<HostSyncRecord>(
            0, Dictionary{}, key, isCalendar ? std::nullopt : std::optional<std::string>("C"),
            std::string(conduit)));
        agreedKeys.push_back(agreedKey);
        identities.reportIdentity(records.back(), {"", "", "", file});
    }
    std::vector<std::string> faults(const std::vector<KTLoss>& losses = {})
    {
        return faultsOfRewrite(handed, {records, agreedKeys, {}, {}, StorePlaces(identities, "")},
                               losses);
    }
    static KTLoss curtailed(const std::string& calendar, const std::string& file = "")
    {
        KTLoss loss{calendar, file, "gekürzt"};
        loss.kind = KTLoss::Kind::curtailed;
        return loss;
    }

    FaultsOfRewrite() { identities.begin(); }

    std::vector<HandedRecord> handed;
    SyncRecordList records;
    std::vector<std::optional<std::string>> agreedKeys;
    HostIdentityReport identities;
};

TEST_F(FaultsOfRewrite, AreNoneWhereAllComesBack)
{
    handOutCalendar("C", "Privat");
    handOut(kConduitTask, "T", "Einkaufen");
    giveBack(kConduitCalendar, "C");
    giveBack(kConduitTask, "T");
    EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(FaultsOfRewrite, NameTheItemAndItsCalendar)
{
    handOutCalendar("C", "Privat");
    handOut(kConduitTask, "T", "Einkaufen");
    giveBack(kConduitCalendar, "C");
    EXPECT_THAT(faults(), ElementsAre("'Einkaufen' (Kalender 'Privat')"));
}

TEST_F(FaultsOfRewrite, NameACalendarOnceWithoutItsItems)
{
    handOutCalendar("C", "Privat");
    handOut(kConduitTask, "T", "Einkaufen");
    EXPECT_THAT(faults(), ElementsAre("Kalender 'Privat'"));
}

TEST_F(FaultsOfRewrite, LeaveOutItemsOfBirthdayCalendarsAndOfNone)
{
    handOutCalendar("C", "Geburtstage", "BirthdayCalendar");
    handOut(kConduitEvent, "E", "Anna");
    handOut(kConduitEvent, "F", "Bert", "nirgends");
    giveBack(kConduitCalendar, "C");
    EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(FaultsOfRewrite, LeaveOutCopiesOfAnEventButNotOfATask)
{
    handOutCalendar("C", "Privat");
    handOut(kConduitEvent, "E", "Probe");
    handOut(kConduitEvent, "E-2", "Probe");
    handOut(kConduitTask, "T", "Einkaufen");
    handOut(kConduitTask, "T-2", "Einkaufen");
    giveBack(kConduitCalendar, "C");
    giveBack(kConduitEvent, "E-2");
    giveBack(kConduitTask, "T");
    EXPECT_THAT(faults(), ElementsAre("'Einkaufen' (Kalender 'Privat')"));
}

TEST_F(FaultsOfRewrite, TakeEmptyFieldsForMissingOnesInACopy)
{
    handOutCalendar("C", "Privat");
    for (const char* key : {"E", "E-2", "E-3"})
        handOut(kConduitEvent, key, "Probe");
    handed[2].record.set("Notes", "");
    handed[3].record.set("Attendees", Array{});
    giveBack(kConduitCalendar, "C");
    giveBack(kConduitEvent, "E");
    EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(FaultsOfRewrite, DoNotTakeTheOnlyOneForItsOwnCopy)
{
    handOutCalendar("C", "Privat");
    handOut(kConduitEvent, "E", "Probe");
    handOut(kConduitEvent, "E-2", "Probe");
    giveBack(kConduitCalendar, "C");
    EXPECT_EQ(faults().size(), 2U);
}

TEST_F(FaultsOfRewrite, LeaveOutACalendarThatANamesakeDisplaces)
{
    handOutCalendar("C", "Privat");
    handOutCalendar("D", "Privat");
    handOut(kConduitTask, "T", "Einkaufen", "D");
    giveBack(kConduitCalendar, "C");
    EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(FaultsOfRewrite, LetARecordThatIsNobodysStandForOneOfItsKind)
{
    handOutCalendar("C", "Privat");
    handOut(kConduitTask, "T", "Einkaufen");
    handOut(kConduitTask, "U", "Blumen");
    giveBack(kConduitCalendar, "C");
    giveBack(kConduitTask, std::nullopt);
    EXPECT_EQ(faults().size(), 1U);
}

TEST_F(FaultsOfRewrite, LeaveOutWhatWasToldAsCurtailedOncePerRemark)
{
    handOutCalendar("C", "Privat");
    handOut(kConduitTask, "T", "Einkaufen");
    handOut(kConduitTask, "U", "Blumen");
    giveBack(kConduitCalendar, "C");
    EXPECT_EQ(faults({curtailed("Privat")}).size(), 1U);
    EXPECT_EQ(faults({curtailed("Arbeit")}).size(), 2U);
}

TEST_F(FaultsOfRewrite, LeaveOutWhatWasToldAsCurtailedInAFileThatGivesNoRecord)
{
    handOutCalendar("C", "Privat");
    handOut(kConduitTask, "T", "Einkaufen");
    giveBack(kConduitCalendar, "C");
    EXPECT_THAT(faults({curtailed("Privat", "/C/t.ics")}), IsEmpty());
}

TEST_F(FaultsOfRewrite, DoNotExcuseOneRecordByARemarkOnAnothersFile)
{
    handOutCalendar("C", "Privat");
    handOut(kConduitTask, "T", "Einkaufen");
    handOut(kConduitTask, "U", "Blumen");
    giveBack(kConduitCalendar, "C");
    giveBack(kConduitTask, "U", "/C/u.ics");
    EXPECT_THAT(faults({curtailed("Privat", "/C/u.ics")}),
                ElementsAre("'Einkaufen' (Kalender 'Privat')"));
}

}  // namespace
}  // namespace kt::test
