#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/Participation.h"
#include "Sync/Host/Engine/RemoteChanges.h"
#include "Sync/Host/Engine/SwitchedOffCalendars.h"
#include "tests/support/TemporaryFolder.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using Rewrite = Participation::Rewrite;

/// Calendars by key and folder, each with one task, as a load tells of them.
class CalendarsOfALoad : public testing::Test {
protected:
    CalendarsOfALoad() { identities.begin(); }

    void load(SyncRecordList& list, const std::string& key, const std::string& folder,
              const std::string& title = "")
    {
        add(list, kConduitCalendar, key, std::nullopt, {"", "", "", folder},
            {{"Title", title}, {"Type", "CalendarNode"}});
        add(list, kConduitTask, "task of " + key, key, {"uid of " + folder, "", "", ""}, {});
    }
    void active(const std::string& key, const std::string& folder) { load(given, key, folder); }
    void off(const std::string& key, const std::string& folder, const std::string& title = "")
    {
        load(skipped, key, folder, title);
    }
    void kept(const std::string& key, const std::string& folder)
    {
        state.setKept({{std::string(kConduitCalendar), key}, std::nullopt, "", {"", folder}}, {});
    }
    void seen(const std::string& key, const std::string& agreedKey, const std::string& folder)
    {
        SeenRow row;
        row.local = {std::string(kConduitCalendar), key};
        row.agreedKey = agreedKey;
        row.place.file = folder;
        state.addSeen(row, {});
    }
    void agreed(const std::string& key, const std::string& title)
    {
        state.setAgreed({{std::string(kConduitCalendar), key}, std::nullopt, 1, ""},
                        {{"Title", title}, {"Type", "CalendarNode"}});
    }

    Participation participation(Rewrite rewrite = Rewrite::settled)
    {
        return {given, places, Knowledge(state), state, switches, rewrite};
    }
    static std::vector<std::string> keysOf(const SyncRecordList& records)
    {
        std::vector<std::string> keys;
        for (const SyncRecord& record : records)
            keys.push_back(record->recordKey());
        return keys;
    }

    TemporaryFolder home;
    LocalState state{home.path("state.db")};
    HostIdentityReport identities;
    StorePlaces places{identities, ""};
    CalendarSwitches switches;
    SyncRecordList given;
    SyncRecordList skipped;

private:
    void add(SyncRecordList& list, std::string_view conduit, const std::string& key,
             const std::optional<std::string>& parent, const KTStoreIdentity& identity,
             const Dictionary& content)
    {
        list.push_back(
            std::make_shared<HostSyncRecord>(0, content, key, parent, std::string(conduit)));
        identities.reportIdentity(list.back(), identity);
    }
};

TEST_F(CalendarsOfALoad, TakePartAsThePluginSays)
{
    active("A", "a");
    off("B", "b");
    const Participation result = participation();
    EXPECT_THAT(keysOf(result.active()), ElementsAre("A", "task of A"));
    EXPECT_THAT(keysOf(result.off()), ElementsAre("B", "task of B"));
    EXPECT_EQ(result.kept(skipped), skipped);
}

TEST_F(CalendarsOfALoad, AreSwitchedOffUnderAnotherTitle)
{
    kept("B", "b");
    switches = {{"B", false}};
    active("A", "a");
    active("B now", "b");
    const Participation result = participation();
    EXPECT_THAT(keysOf(result.active()), ElementsAre("A", "task of A"));
    EXPECT_THAT(keysOf(result.off()), ElementsAre("B now", "task of B now"));
    EXPECT_THAT(keysOf(result.kept(skipped)), ElementsAre("B now", "task of B now"));
    EXPECT_THAT(result.renamed(), ElementsAre(Pair("B", "B now")));
}

TEST_F(CalendarsOfALoad, AreOnWhereSomebodySwitchedThemOn)
{
    kept("B", "b");
    kept("C", "c");
    kept("D", "d");
    switches = {{"B", false}, {"B now", true}, {"C", true}, {"D", true}};
    active("B now", "b");
    active("C now", "c");
    active("D", "d");
    EXPECT_THAT(participation().renamed(), IsEmpty());
    EXPECT_THAT(participation().off(), IsEmpty());
}

TEST_F(CalendarsOfALoad, StayUntilARewriteIsSettled)
{
    seen("A", "agreed", "a");
    off("A", "a");
    EXPECT_THAT(participation().staying(), IsEmpty());
    const Participation result = participation(Rewrite::unsettled);
    EXPECT_THAT(result.staying(), ElementsAre("A"));
    EXPECT_THAT(keysOf(result.active()), ElementsAre("A", "task of A"));
    EXPECT_THAT(result.off(), IsEmpty());
    EXPECT_THAT(result.kept(skipped), IsEmpty());
}

TEST_F(CalendarsOfALoad, StayOffWhileARewriteIsNotSettled)
{
    seen("A", "agreed", "a");
    kept("A", "a");
    off("A", "a");
    EXPECT_THAT(participation(Rewrite::unsettled).staying(), IsEmpty());
}

TEST_F(CalendarsOfALoad, StayOffWhereTheOthersNeverHeardOfThem)
{
    off("A", "a", "Geheim");
    agreed("B", "Arbeit");
    EXPECT_THAT(participation(Rewrite::unsettled).staying(), IsEmpty());
}

TEST_F(CalendarsOfALoad, StayWhereARewriteBroughtThem)
{
    off("B", "b", "Arbeit");
    agreed("made of another title", "Arbeit");
    EXPECT_THAT(participation(Rewrite::unsettled).staying(), ElementsAre("B"));
}

class SwitchedOffCalendarsOfALoad : public CalendarsOfALoad {
protected:
    std::optional<std::string> agreedKey(const std::string& key)
    {
        return switchedOffCalendars(skipped, given, places, Knowledge(state), RemoteChanges())
            .agreedKey(key);
    }
};

TEST_F(SwitchedOffCalendarsOfALoad, AreKnownByTheirFolder)
{
    seen("A", "agreed", "a");
    off("A now", "a");
    EXPECT_EQ(agreedKey("A now"), "agreed");
}

TEST_F(SwitchedOffCalendarsOfALoad, AreNotWhatElseHadTheirTitle)
{
    seen("A", "agreed", "a");
    active("A now", "a");
    off("A", "new");
    EXPECT_EQ(agreedKey("A"), std::nullopt);
}

TEST_F(SwitchedOffCalendarsOfALoad, AreKnownByTheirKeyWhereTheirFolderIsGone)
{
    seen("A", "agreed", "a");
    off("A", "imported again");
    EXPECT_EQ(agreedKey("A"), "agreed");
}

TEST_F(SwitchedOffCalendarsOfALoad, AreWhatWasAgreedUnderTheirKeyAndNeverSeen)
{
    agreed("A", "");
    off("A", "a");
    off("B", "b");
    EXPECT_EQ(agreedKey("A"), "A");
    EXPECT_EQ(agreedKey("B"), std::nullopt);
}

}  // namespace
}  // namespace kt::test
