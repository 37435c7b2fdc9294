// Every line of an item is folded but that of a priority. DTSTAMP and DURATION never get as long.

#include "tests/Sync/PlugIns/iCal/Calendar/ModelFixture.h"

namespace kt::test {
namespace {

using testing::HasSubstr;

const std::string kLong(100, 'x');
const std::string kLongZone = "Zone/" + std::string(80, 'z');

struct FoldRow {
    std::string name;
    std::string read;     // the lines of an item that give the value
    std::string written;  // before it is folded, without its line end
    friend void PrintTo(const FoldRow& row, std::ostream* out) { *out << row.name; }
};

FoldRow text(const std::string& name)
{
    return {name, "SUMMARY:t\n" + name + ":" + kLong, name + ":" + kLong};
}
FoldRow date(const std::string& name)
{
    const std::string line = name + ";TZID=" + kLongZone + ":20071224T100000";
    return {name, "SUMMARY:t\n" + line, line};
}

class ItemFold : public ModelFixture, public testing::WithParamInterface<FoldRow> {
protected:
    static std::string folded()
    {
        return KTSyncCalendarTools::splitLine(GetParam().written + "\r\n", nullptr);
    }
};
class EventFold : public ItemFold {};
class TaskFold : public ItemFold {};

INSTANTIATE_TEST_SUITE_P(
    Shared, EventFold,
    testing::Values(FoldRow{"SUMMARY", "SUMMARY:" + kLong, "SUMMARY:" + kLong}, text("DESCRIPTION"),
                    text("SEQUENCE"), text("UID"), text("X-A"),
                    FoldRow{"URL", "SUMMARY:t\nURL:" + kLong, "URL;VALUE=URI:" + kLong},
                    date("DTSTART")));
INSTANTIATE_TEST_SUITE_P(Own, EventFold,
                         testing::Values(text("LOCATION"), text("TRANSP"), date("DTEND"),
                                         date("EXDATE"), date("RECURRENCE-ID")));
TEST_P(EventFold, IsThatOfTheLine)
{
    EXPECT_THAT(event(GetParam().read)->iCalLines(), HasSubstr("\r\n" + folded()));
}

INSTANTIATE_TEST_SUITE_P(Own, TaskFold, testing::Values(date("DUE"), date("COMPLETED")));
TEST_P(TaskFold, IsThatOfTheLine)
{
    EXPECT_THAT(task(GetParam().read)->iCalLines(), HasSubstr("\r\n" + folded()));
}

class ItemLines : public ModelFixture {};

TEST_F(ItemLines, OfAPriorityAreNotFolded)
{
    EXPECT_THAT(task("SUMMARY:t\nPRIORITY:" + kLong)->iCalLines(),
                HasSubstr("\r\nPRIORITY:" + kLong + "\r\n"));
}

TEST_F(ItemLines, OfAnXPropertyThatCameTwiceAreFoldedAsWell)
{
    const std::string line = "X-A:(\n    " + kLong + ",\n    b\n)\r\n";
    EXPECT_THAT(event("SUMMARY:t\nX-A:" + kLong + "\nX-A:b")->iCalLines(),
                HasSubstr("\r\n" + KTSyncCalendarTools::splitLine(line, nullptr)));
}

// Several values of a property that should have one.

class ItemSeveralValues : public ModelFixture, public testing::WithParamInterface<const char*> {
protected:
    static std::string twice()
    {
        const std::string name = GetParam();
        return (name.starts_with("SUMMARY") ? "" : "SUMMARY:t\n") + name + ":a\n" + name + ":b";
    }
    static std::string told()
    {
        const std::string name = GetParam();
        return name.substr(0, name.find(';')) + ": mehrere Werte werden als ein Text geschrieben";
    }
};
class EventSeveralValues : public ItemSeveralValues {};
class TaskSeveralValues : public ItemSeveralValues {};

INSTANTIATE_TEST_SUITE_P(Names, EventSeveralValues,
                         testing::Values("SUMMARY;LANGUAGE=de", "DESCRIPTION", "SEQUENCE", "URL",
                                         "UID", "LOCATION", "TRANSP", "X-A"));
TEST_P(EventSeveralValues, AreToldAsSuchAndNothingElse)
{
    event(twice())->iCalLines();
    EXPECT_EQ(lossReasons(), std::vector<std::string>{told()});
}

INSTANTIATE_TEST_SUITE_P(Names, TaskSeveralValues, testing::Values("PRIORITY", "UID"));
TEST_P(TaskSeveralValues, AreToldAsSuchAndNothingElse)
{
    task(twice())->iCalLines();
    EXPECT_EQ(lossReasons(), std::vector<std::string>{told()});
}

}  // namespace
}  // namespace kt::test
