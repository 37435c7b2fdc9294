#include <string>
#include <vector>

#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

// What a device pushed in its first run stands on the server, and its state says no more than that
// it was about to. Its store tells nothing of UIDs.
class UnansweredPush : public SyncEngineRules {
protected:
    void SetUp() override
    {
        a.telling = SimulatedHome::Telling::noPlaces;
        a.store.calendars = {calendar("Privat", {event("Zahnarzt", "20071224T100000")})};
        fields(a, "Privat", "Zahnarzt").set("Notes", "von a");
        static_cast<void>(LocalState(a.statePath()));
        const std::string before = *folder.read("a.state");
        a.sync();
        const std::vector<PushedRow> pushed = rowsOfPush();
        folder.write("a.state", before);
        for (const PushedRow& row : pushed)
            LocalState(a.statePath()).setPushed(row, std::nullopt);
        b.sync();
    }

    SimulatedHome& a = home("a");
    SimulatedHome& b = home("b");

private:
    std::vector<PushedRow> rowsOfPush()
    {
        std::vector<PushedRow> pushed;
        for (const SeenRow& row : LocalState(a.statePath()).seenRows())
            pushed.push_back({row.hash, row});
        return pushed;
    }
};

TEST_F(UnansweredPush, Rule22_AnEditElsewhereIsOneOfWhatItEntered)
{
    fields(b, "Privat", "Zahnarzt").set("Notes", "von b");
    b.sync();
    a.sync();
    syncUntilRest();
    EXPECT_EQ(fields(a, "Privat", "Zahnarzt")["Notes"], Value("von b"));
    expectEqualHomes();
    expectRest();
}

TEST_F(UnansweredPush, Rule22_AnEditHereIsOneOfWhatItEntered)
{
    fields(a, "Privat", "Zahnarzt").set("Notes", "später von a");
    a.sync();
    syncUntilRest();
    EXPECT_EQ(fields(b, "Privat", "Zahnarzt")["Notes"], Value("später von a"));
    expectEqualHomes();
    expectRest();
}

}  // namespace
}  // namespace kt::test
