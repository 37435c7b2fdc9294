#include <fcntl.h>

#include "tests/Sync/PlugIns/iCal/CarefulFixture.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

// A store that was loaded before in the same process, by a host with careful writing.
class LoadAgain : public CarefulFixture {
protected:
    LoadAgain() { becomeLater(); }

    /// Long after everything that was written so far.
    void becomeLater() const
    {
        using namespace std::chrono;
        platform.setNow({floor<microseconds>(system_clock::now()) + hours(1)});
    }
    SyncRecordList loadAgain()
    {
        const LoadedStore earlier = std::exchange(loaded, {});
        identities.told.clear();
        return load(&earlier);
    }
    /// Bytes in the place of as many others, while all but the bytes seems to stay.
    void overwrite(const std::string& file, const std::string& from, const std::string& to) const
    {
        ASSERT_EQ(from.size(), to.size());
        const std::string path = home.path(file);
        struct stat before {};
        ASSERT_EQ(stat(path.c_str(), &before), 0);
        const std::string text = replaced(home.read(file).value_or(""), from, to);
        const int descriptor = open(path.c_str(), O_WRONLY);
        ASSERT_EQ(write(descriptor, text.data(), text.size()), ssize_t(text.size()));
        const timespec times[] = {before.st_atim, before.st_mtim};
        ASSERT_EQ(futimens(descriptor, times), 0);
        close(descriptor);
    }
    static SyncRecord titled(const SyncRecordList& records, const std::string& title)
    {
        return records[positionOf(records, title)];
    }
    std::vector<KTStoreIdentity> toldIdentities() const
    {
        std::vector<KTStoreIdentity> told;
        for (const auto& [record, identity] : identities.told)
            told.push_back(identity);
        return told;
    }
    std::vector<std::string> placesLoaded() const
    {
        std::vector<std::string> places;
        for (const LoadedCalendar& calendar : loaded.calendars) {
            for (const LoadedItem& item : calendar.items)
                places.push_back(item.record->record()["Title"].description() + " in " +
                                 calendar.files[item.place.file].path + " at " +
                                 std::to_string(item.place.offset) + '+' +
                                 std::to_string(item.place.length));
        }
        return places;
    }
};

INSTANTIATE_TEST_SUITE_P(Layouts, LoadAgain, ::testing::Values(4, 5));

TEST_P(LoadAgain, GivesTheRecordsOfFilesThatStandAsTheyStood)
{
    layOut({{"A",
             "Privat",
             {event("1", "Eins"), task("2", "Zwei"),
              event("3", "Reihe", "RRULE:FREQ=DAILY;INTERVAL=1\r\n") +
                  event("3", "Ausnahme", "RECURRENCE-ID;TZID=Europe/Berlin:20071225T100000\r\n"),
              event("4", "Vier")}}});
    const SyncRecordList before = load();
    const auto places = placesLoaded();
    const std::vector<KTStoreIdentity> told = toldIdentities();
    const SyncRecordList after = loadAgain();
    ASSERT_EQ(titles(after), titles(before));
    for (std::size_t index = 1; index < before.size(); ++index)
        EXPECT_EQ(after[index], before[index]) << before[index]->record()["Title"].description();
    EXPECT_EQ(placesLoaded(), places);
    ASSERT_THAT(toldIdentities(), SizeIs(told.size()));
    for (std::size_t index = 0; index < told.size(); ++index) {
        EXPECT_EQ(toldIdentities()[index].uid, told[index].uid);
        EXPECT_EQ(toldIdentities()[index].recurrenceId, told[index].recurrenceId);
        EXPECT_EQ(toldIdentities()[index].file, told[index].file);
    }
}

TEST_P(LoadAgain, ReadsAFileWhoseSizeAndTimeAreAsTheyWere)
{
    layOut({{"A", "Privat", {event("1", "Eins"), event("2", "Zwei")}}});
    load();
    overwrite(itemFile("A", 1), "Zwei", "Drei");
    EXPECT_THAT(titles(loadAgain()), ElementsAre("Privat", "Eins", "Drei"));
}

TEST_P(LoadAgain, ReadsAFileThatWasWrittenJustBefore)
{
    using namespace std::chrono;
    platform.setNow({floor<microseconds>(system_clock::now())});
    layOut({{"A", "Privat", {event("1", "Eins")}}});
    const SyncRecordList before = load();
    EXPECT_NE(titled(loadAgain(), "Eins"), titled(before, "Eins"));
}

TEST_P(LoadAgain, ReadsAFileInThePlaceOfAnother)
{
    layOut({{"A", "Privat", {event("1", "Eins"), event("2", "Zwei")}}});
    load();
    const std::string text = home.read(itemFile("A", 1)).value_or("");
    home.write("Zwischen.ics", replaced(text, "Zwei", "Drei"));
    std::filesystem::rename(home.path("Zwischen.ics"), home.path(itemFile("A", 1)));
    EXPECT_THAT(titles(loadAgain()), ElementsAre("Privat", "Eins", "Drei"));
}

TEST_P(LoadAgain, FindsACopyOfWhatItDidNotRead)
{
    layOut({{"A", "Privat", {event("1", "Eins"), event("2", "Zwei")}}});
    load();
    overwrite(itemFile("A", 1), "SUMMARY;LANGUAGE=de:Zwei", "SUMMARY;LANGUAGE=de:Eins");
    EXPECT_THAT(titles(loadAgain()), ElementsAre("Privat", "Eins"));
    EXPECT_THAT(loaded.calendars.front().copies, SizeIs(1));
}

// Another process would find it, too, and miss what this one had given.
TEST_P(LoadAgain, FindsThatWhatItDidNotReadIsACopyNow)
{
    layOut({{"A", "Privat", {event("1", "Eins"), event("2", "Zwei")}}});
    load();
    overwrite(itemFile("A", 0), "SUMMARY;LANGUAGE=de:Eins", "SUMMARY;LANGUAGE=de:Zwei");
    EXPECT_THAT(titles(loadAgain()), ElementsAre("Privat", "Zwei"));
    EXPECT_THAT(loaded.calendars.front().copies, SizeIs(1));
}

TEST_P(LoadAgain, FindsAgainWhatIsACopy)
{
    layOut({{"A", "Privat", {event("1", "Eins"), event("2", "Eins"), event("3", "Drei")}}});
    load();
    EXPECT_THAT(titles(loadAgain()), ElementsAre("Privat", "Eins", "Drei"));
    ASSERT_THAT(loaded.calendars.front().copies, SizeIs(1));
    EXPECT_EQ(loaded.calendars.front().copies.front().of, 0U);
}

TEST_P(LoadAgain, ReadsWhatGaveALossAndTellsOfItAgain)
{
    const std::string journal = "BEGIN:VJOURNAL\r\nUID:3\r\nEND:VJOURNAL\r\n";
    layOut({{"A", "Privat", {event("1", "Eins"), event("2", "Zwei") + journal}}});
    const std::uint64_t start = lossesTold();
    load();
    const std::uint64_t first = lossesTold() - start;
    ASSERT_GT(first, 0U);
    loadAgain();
    EXPECT_EQ(lossesTold() - start, 2 * first);
}

TEST_P(LoadAgain, ReadsAnItemWithAttachments)
{
    layOut({{"A",
             "Privat",
             {event("1", "Eins", "ATTACH:http://beispiel.example/eins\r\n"),
              event("2", "Zwei",
                    "BEGIN:VALARM\r\nTRIGGER:-PT15M\r\nACTION:EMAIL\r\n"
                    "ATTACH:http://beispiel.example/zwei\r\nEND:VALARM\r\n")}}});
    const SyncRecordList before = load();
    const SyncRecordList after = loadAgain();
    EXPECT_NE(titled(after, "Eins"), titled(before, "Eins"));
    EXPECT_NE(titled(after, "Zwei"), titled(before, "Zwei"));
}

TEST_P(LoadAgain, ReadsACalendarOfAnotherTitle)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}});
    load();
    const std::string info = folderOf("A") + "Info.plist";
    home.write(info, replaced(home.read(info).value_or(""), "Privat", "Dienst"));
    const SyncRecordList after = loadAgain();
    ASSERT_THAT(titles(after), ElementsAre("Dienst", "Eins"));
    EXPECT_EQ(after[1]->record()["ParentRecordKey"], Value(after[0]->recordKey()));
}

TEST_P(LoadAgain, ReadsEverythingInAnotherZone)
{
    layOut({{"A", "Privat", {event("1", "Eins")}}});
    const SyncRecordList before = load();
    Platform::shared().setLocalTimeZoneName("Asia/Tokyo");
    EXPECT_NE(titled(loadAgain(), "Eins"), titled(before, "Eins"));
}

TEST_P(LoadAgain, KnowsWhereWhatItDidNotReadStands)
{
    layOut({{"A", "Privat", {event("1", "Eins"), event("2", "Zwei"), event("3", "Drei")}}});
    const SyncRecordList before = load();
    if (is104())
        overwrite(itemFile("A", 0), "Eins", "Acht");
    else
        std::filesystem::remove(home.path(itemFile("A", 0)));
    SyncRecordList after = loadAgain();
    EXPECT_EQ(titled(after, "Drei") == titled(before, "Drei"), !is104());
    const auto stood = store();
    SyncRecord& changed = after[positionOf(after, "Drei")];
    changed = with(changed, "Notes", "neu");
    ASSERT_TRUE(save(after));
    EXPECT_THAT(differing(stood, store()), ElementsAre(itemFile("A", 2)));
    EXPECT_THAT(store()[itemFile("A", 2)], ::testing::HasSubstr("SUMMARY;LANGUAGE=de:Drei\r\n"));
}

}  // namespace
}  // namespace kt::test
