#include <string>
#include <vector>

#include "tests/Sync/Host/Engine/SyncEngineRules.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// Five events of sequence 5 are in step; then some of them are as they were or went on.
class OlderCopy : public SyncEngineRules {
protected:
    void SetUp() override
    {
        a.store.calendars = {calendar("Privat")};
        for (const char* title : kTitles)
            a.store.calendars.front().items.push_back(
                event(title, "20071224T100000", {{"Sequence", "5"}}));
        a.sync();
    }
    void setSequences(const std::vector<std::string>& sequences)
    {
        for (std::size_t index = 0; index < sequences.size(); ++index)
            fields(a, "Privat", kTitles[index]).set("Sequence", sequences[index]);
    }

    static constexpr const char* kTitles[] = {"eins", "zwei", "drei", "vier", "fünf"};
    MemoryHome& a = home("a");
};

TEST_F(OlderCopy, Rule17_IsWhereThreeWentBack)
{
    setSequences({"4", "4", "4"});
    const SyncRunSummary summary = a.sync();
    EXPECT_FALSE(summary.finished);
    EXPECT_THAT(summary.reasons, ElementsAre(HasSubstr("3 Einträge sind älter")));
}

TEST_F(OlderCopy, Rule17_IsNoneWhereTwoWentBack)
{
    setSequences({"4", "4"});
    const SyncRunSummary summary = a.sync();
    EXPECT_TRUE(summary.finished);
    EXPECT_EQ(summary.sent, 2U);
}

TEST_F(OlderCopy, Rule17_IsOneWhereFewerWentOn)
{
    setSequences({"4", "4", "4", "6", "6"});
    EXPECT_FALSE(a.sync().finished);
}

TEST_F(OlderCopy, Rule17_IsNoneWhereAsManyWentOn)
{
    a.store.calendars.front().items.push_back(
        event("sechs", "20071224T100000", {{"Sequence", "5"}}));
    a.sync();
    setSequences({"4", "4", "4", "6", "6"});
    fields(a, "Privat", "sechs").set("Sequence", "6");
    EXPECT_TRUE(a.sync().finished);
}

TEST_F(OlderCopy, Rule17_IsNoneOfARewriteThatIsNotSettled)
{
    home("b").sync();
    home("b").store.calendar("Privat")->items.push_back(task("Blumen"));
    home("b").sync();
    a.sync(broken(Break::killAfterFinish));
    setSequences({"4", "4", "4"});
    EXPECT_TRUE(a.sync().finished);
}

}  // namespace
}  // namespace kt::test
