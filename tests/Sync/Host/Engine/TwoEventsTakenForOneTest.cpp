#include <string>

#include <gtest/gtest.h>

#include "tests/Sync/Host/Engine/SyncEngineFixture.h"

namespace kt::test {
namespace {

/// Layouts of two homes, and whether their own files come before those that a rewrite names after
/// keys.
struct OneEventTwice {
    const char* name;
    Layout a;
    Layout b;
    const char* ownFiles;
};

/// Both homes have entered one event, with a sequence of their own: two keys, one event to the
/// reader, which gives the first that it finds.
class TwoEventsTakenForOne : public SyncEngineFixture,
                             public testing::WithParamInterface<OneEventTwice> {
protected:
    void SetUp() override
    {
        a.store.calendars = {calendar("Privat")};
        syncUntilRest();
        a.store.calendar("Privat")->items = {entered("A", "2")};
        b.store.calendar("Privat")->items = {entered("B", "3")};
    }

    static HomeItem entered(const std::string& name, const std::string& sequence)
    {
        HomeItem item = event("e", "20071224T100000", {{"Sequence", sequence}});
        item.uid = GetParam().ownFiles + name;
        return item;
    }

    MemoryHome& a = home("a", GetParam().a);
    MemoryHome& b = home("b", GetParam().b);
};

INSTANTIATE_TEST_SUITE_P(
    Homes, TwoEventsTakenForOne,
    testing::Values(OneEventTwice{"BehindTheOthers", Layout::leopard, Layout::leopard, "x-"},
                    OneEventTwice{"BeforeTheOthers", Layout::leopard, Layout::leopard, "-"},
                    OneEventTwice{"BehindOfOldAndNew", Layout::tiger, Layout::leopard, "x-"},
                    OneEventTwice{"BehindOfNewAndOld", Layout::leopard, Layout::tiger, "x-"},
                    OneEventTwice{"BeforeOfNewAndOld", Layout::leopard, Layout::tiger, "-"},
                    OneEventTwice{"BothOld", Layout::tiger, Layout::tiger, "x-"}),
    [](const auto& each) { return each.param.name; });

TEST_P(TwoEventsTakenForOne, AreBothKept)
{
    syncUntilRest();
    EXPECT_EQ(liveOnServer().size(), 3U);
    expectRest();
    EXPECT_EQ(liveOnServer().size(), 3U);
    EXPECT_GE(a.store.count("e"), 1);
    EXPECT_GE(b.store.count("e"), 1);
}

}  // namespace
}  // namespace kt::test
