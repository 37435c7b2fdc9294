#include <string>
#include <string_view>

#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

using testing::Contains;
using testing::Not;

/// The calendar "Arbeit" is deleted everywhere and only the server remembers it; then another
/// version
/// of the program puts an item of it there and leaves the calendar as it is.
class OnlyTheServerRemembers : public SyncEngineRules {
protected:
    void SetUp() override
    {
        givenTwoHomes();
        LocalState state = home("a").openState();
        for (const AgreedRow& row : state.agreedRows()) {
            if (state.agreedRecord(row.id)["Title"] == Value("Arbeit"))
                calendar = row.id;
        }
        ASSERT_FALSE(calendar.key.empty());
    }

    void deleteCalendar()
    {
        removeCalendar(home("a"), "Arbeit");
        syncUntilRest();
        ASSERT_THAT(liveOnServer(), Not(Contains(calendar)));
    }

    void writeItem()
    {
        writeToServer({"ical-task", "X"},
                      {{"Title", "Nachtrag"}, {"ParentRecordKey", calendar.key}});
    }

    void deleteOnServer(const RecordId& id)
    {
        auto opened = syncServerWithURL(serverUrl())
                          ->openSession("default", "other", ServerAccess::readWrite);
        ASSERT_NE(opened.session, nullptr) << opened.reason;
        ServerWrite write;
        write.id = id;
        write.isDeletion = true;
        opened.session->write({&write, 1});
        opened.session->commit();
    }

    RecordId calendar;
};

TEST_F(OnlyTheServerRemembers, Rule11_AnItemThereBringsItsCalendarBackFromTheTombstone)
{
    deleteCalendar();
    writeItem();
    syncUntilRest();
    EXPECT_THAT(liveOnServer(), Contains(calendar));
    for (const char* name : {"a", "b"})
        EXPECT_NE(home(name).store.item("Arbeit", "Nachtrag"), nullptr) << name;
    expectRest();
}

TEST_F(OnlyTheServerRemembers, Rule1_ATombstoneThatNoStoreCouldTakeIsNotBroughtBack)
{
    Dictionary bad = recordOnServer(calendar);
    bad.remove("Color");
    writeToServer(calendar, bad);
    deleteOnServer(calendar);
    removeCalendar(home("a"), "Arbeit");
    removeCalendar(home("b"), "Arbeit");
    syncAll();
    writeItem();
    syncAll();
    syncAll();
    EXPECT_THAT(liveOnServer(), Not(Contains(calendar)));
    for (const char* name : {"a", "b"})
        EXPECT_EQ(home(name).store.calendar("Arbeit"), nullptr) << name;
}

}  // namespace
}  // namespace kt::test
