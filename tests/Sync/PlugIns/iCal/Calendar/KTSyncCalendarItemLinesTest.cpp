// How the lines of items are written: folded (DTSTAMP and DURATION never get as long, and a
// priority stays as it is), and what becomes of a property that should stand there once.

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

class EventSeveralDates : public ItemSeveralValues {
protected:
    static std::string twoDates()
    {
        const std::string line = "\n" + std::string(GetParam()) + ":2007122";
        return "SUMMARY:t" + line + "4T100000Z" + line + "5T100000Z";
    }
    void expectNoDate(const Dictionary& record, const std::string& lines)
    {
        for (const auto& [key, value] : record)
            EXPECT_EQ(value.objectOfClass<KTSyncEnhancedDate>(), nullptr) << key;
        EXPECT_THAT(lines, testing::Not(HasSubstr(GetParam())));
        ASSERT_EQ(lossReasons().size(), 1u);
        EXPECT_THAT(lossReasons().front(), testing::StartsWith(GetParam()));
        EXPECT_THAT(lossReasons().front(), testing::EndsWith("ist kein Datum"));
    }
};
class TaskSeveralDates : public EventSeveralDates {};

INSTANTIATE_TEST_SUITE_P(Names, EventSeveralDates,
                         testing::Values("DTSTART", "DTEND", "DTSTAMP", "RECURRENCE-ID"));
TEST_P(EventSeveralDates, CountAsNoneAndAreToldWhenTheyAreRead)
{
    const auto read = event(twoDates());
    expectNoDate(read->syncRecord(), read->iCalLines());
}

INSTANTIATE_TEST_SUITE_P(Names, TaskSeveralDates, testing::Values("DUE", "COMPLETED"));
TEST_P(TaskSeveralDates, CountAsNoneAndAreToldWhenTheyAreRead)
{
    const auto read = task(twoDates());
    expectNoDate(read->syncRecord(), read->iCalLines());
    EXPECT_FALSE(read->isCompleted());
}

}  // namespace
}  // namespace kt::test
