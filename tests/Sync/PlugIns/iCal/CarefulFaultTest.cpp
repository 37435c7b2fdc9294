// Whichever operation of a rewrite fails: the store can be read, nothing that stood in it is gone
// from store and backup both, and the next rewrite brings it to what was wanted.

#include <algorithm>

#include "tests/Sync/PlugIns/iCal/CarefulFixture.h"
#include "tests/support/FailingFileManager.h"

namespace kt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

using Afterwards = FailingFileManager::Afterwards;

class CarefulFault : public CarefulFixture {
protected:
    const std::string kept = event("1", "Bleibt");
    const std::string changing = event("2", "Ändert sich");
    const std::string going = task("3", "Geht");
    const std::string unread = event("9", "Bleibt", "X-ANDERS:1\r\n");
    const std::string elsewhere = event("4", "Woanders");

    std::string brokenFile() const
    {
        return folderOf("A") + (is104() ? "" : "Events/") + "kaputt.ics";
    }

    void begin()
    {
        home.remove("Library");
        layOut({{"A", "Privat", {kept + unread, changing, going}}, {"B", "Arbeit", {elsewhere}}});
        home.write(brokenFile(), "BEGIN:VCALENDAR\r\n" + event("8", "Kaputt"));
        // An older backup, so that there is something to copy over and to remove.
        home.write(std::string(kPluginFolder) + "Calendars/alt.calendar/Info.plist", "alt");
        home.write(std::string(kPluginFolder) + "Sources.bak/alt.calendar/Info.plist", "alt");
    }

    /// One item is kept, one changed, one removed, one new; a calendar goes and one comes.
    SyncRecordList wanted(SyncRecordList records) const
    {
        records = without(without(records, "Geht"), "Arbeit");
        records = without(records, "Woanders");
        SyncRecord& changed = records[positionOf(records, "Ändert sich")];
        changed = with(changed, "Title", "Anders", std::string(40, 'a'));
        records.push_back(
            record(kConduitTask, std::string(40, 'b'),
                   {{"Title", "Neu"},
                    {"ParentRecordKey", records[positionOf(records, "Privat")]->recordKey()}}));
        records.push_back(record(kConduitCalendar, std::string(40, 'c'),
                                 {{"Type", "CalendarNode"},
                                  {"Title", "Verein"},
                                  {"Color", "#FF0000"},
                                  {"Notes", ""},
                                  {"SourceKey", "C"}}));
        return records;
    }

    std::string everything() const
    {
        std::string all;
        for (const auto& [path, content] : home.tree())
            all += content;
        return all;
    }

    void expectNothingLost(const std::string& where)
    {
        const std::string all = everything();
        for (const std::string& text : {kept, changing, going, unread, elsewhere})
            EXPECT_NE(all.find(text), std::string::npos) << where << "\n" << text;
        const auto files = store();
        const auto stands = [&](const std::string& text) {
            return std::any_of(files.begin(), files.end(), [&](const auto& file) {
                return file.second.find(text) != std::string::npos;
            });
        };
        EXPECT_TRUE(stands(kept)) << where;
        EXPECT_TRUE(stands(unread)) << where;
        EXPECT_TRUE(files.contains(brokenFile())) << where;
        const SyncRecordList records = load();
        EXPECT_EQ(std::count_if(records.begin(), records.end(),
                                [](const SyncRecord& item) {
                                    const auto& title = item->record()["Title"];
                                    return title == Value("Ändert sich") ||
                                           title == Value("Anders");
                                }),
                  1)
            << where;
    }

    /// Fails the operations in turn until a rewrite gets through without meeting one.
    void failEach(Afterwards afterwards)
    {
        for (std::size_t failing = 1;; ++failing) {
            begin();
            const SyncRecordList target = wanted(load());
            const auto files = failFileOperation(failing, afterwards);
            const bool isDone = save(target);
            const bool hasFailed = files->hasFailed();
            const std::string where =
                hasFailed ? files->operations()[failing - 1] : "no operation failed";
            failFileOperation(0);
            expectNothingLost(where);

            load();
            EXPECT_TRUE(save(target)) << where;
            EXPECT_THAT(titles(load()),
                        UnorderedElementsAre("Privat", "Bleibt", "Anders", "Neu", "Verein"))
                << where;
            if (!hasFailed) {
                EXPECT_TRUE(isDone);
                EXPECT_GT(failing, 5U);
                return;
            }
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Layouts, CarefulFault, ::testing::Values(4, 5));

TEST_P(CarefulFault, OfOneOperationCostsNothing) { failEach(Afterwards::everythingWorks); }

TEST_P(CarefulFault, OfAFullVolumeCostsNothing) { failEach(Afterwards::everythingFails); }

TEST_P(CarefulFault, OfWritingRemovesNothingAndIsToldWithTheFile)
{
    begin();
    const SyncRecordList target = wanted(load());
    Platform::shared().setFileManager(std::make_shared<FailingFileManager>(
        makePosixFileManager(), [](const std::string& operation) {
            return operation.starts_with("writeAtomically") &&
                   operation.find("A.calendar") != std::string::npos;
        }));
    EXPECT_FALSE(save(target));
    failFileOperation(0);
    EXPECT_TRUE(home.exists(folderOf("B") + "Info.plist"));
    std::vector<std::string> unwritten;
    for (const KTLoss& loss : classes.lossesAsTold()) {
        if (loss.kind == KTLoss::Kind::unwritten)
            unwritten.push_back(loss.file);
    }
    EXPECT_THAT(unwritten, testing::Contains(home.path(itemFile("A", 1))));
}

/// What else stands there, calendars that cannot be read among it, is known to nobody then.
TEST_P(CarefulFault, OfReadingADescriptionAgainTouchesNothing)
{
    std::vector<std::string> files{"A.calendar/Info.plist"};
    if (is104())
        files.emplace_back("nodes.plist");
    for (const std::string& file : files) {
        begin();
        SyncRecordList target = wanted(load());
        SyncRecord& calendar = target[positionOf(target, "Privat")];
        calendar = with(calendar, "Color", "#00FF00");
        const auto before = store();
        failFileReads([&](const std::string& path) { return path.ends_with(file); });
        EXPECT_FALSE(save(target)) << file;
        failFileOperation(0);
        EXPECT_EQ(store(), before) << file;
    }
}

/// In one file of all items, too, be there others that come into it at once.
TEST_P(CarefulFault, OfWritingAnItemInItsNewCalendarLeavesItInTheOldOne)
{
    for (const bool isOldOneToGrow : {false, true}) {
        begin();
        SyncRecordList target = load();
        const std::string from = target[positionOf(target, "Privat")]->recordKey();
        const std::string to = target[positionOf(target, "Arbeit")]->recordKey();
        SyncRecord& moved = target[positionOf(target, "Ändert sich")];
        moved = with(moved, "ParentRecordKey", to, std::string(40, 'd'));
        if (isOldOneToGrow)
            target.push_back(record(kConduitTask, std::string(40, 'b'),
                                    {{"Title", "Neu"}, {"ParentRecordKey", from}}));
        failFileOperations([](const std::string& operation) {
            return operation.starts_with("writeAtomically") &&
                   operation.find("B.calendar") != std::string::npos;
        });
        EXPECT_FALSE(save(target));
        failFileOperation(0);
        EXPECT_THAT(store()[itemFile("A", 1)], testing::HasSubstr(changing));
        EXPECT_THAT(titles(load()), testing::Contains("Ändert sich"));

        EXPECT_TRUE(save(target));
        const SyncRecordList records = load();
        EXPECT_EQ(records[positionOf(records, "Ändert sich")]->record()["ParentRecordKey"],
                  Value(to));
    }
}

}  // namespace
}  // namespace kt::test
