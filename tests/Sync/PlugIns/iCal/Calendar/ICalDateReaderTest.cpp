#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/ICalDateReader.h"
#include "tests/Sync/PlugIns/iCal/Calendar/CalendarTextScope.h"

namespace kt::test {
namespace {

struct Row {
    std::string text;
    std::optional<std::string> description;  // nullopt for what is no date
    bool isAllDay = false;
};
class ICalDateReaderRows : public CalendarTextTable<Row> {};
INSTANTIATE_TEST_SUITE_P(
    Rows, ICalDateReaderRows,
    testing::Values(Row{"20071224", "20071224 Asia/Tokyo", true},
                    Row{"20071224T100000", "20071224T100000 Asia/Tokyo"},
                    Row{"20071224T100000Z", "20071224T100000Z Etc/UTC"},
                    Row{"am 20071224T100000", "20071224T100000 Asia/Tokyo"},
                    Row{"ä20071224", "20071224 Asia/Tokyo", true}, Row{"20071224Z", std::nullopt},
                    Row{"20071224 100000", std::nullopt}, Row{"20071224T10000Z", std::nullopt},
                    Row{"20071324T100000Z", std::nullopt}, Row{"2007122", std::nullopt},
                    Row{"", std::nullopt}, Row{"ZZZZZZZZZZZZZZZZ", std::nullopt}));

TEST_P(ICalDateReaderRows, ReadTheTailOfATextAsADate)
{
    ICalDateReader reader(&logger);
    const EnhancedDate date = reader.dateInText(GetParam().text, "Asia/Tokyo");
    ASSERT_EQ(date != nullptr, GetParam().description.has_value());
    if (date == nullptr)
        return;
    EXPECT_EQ(date->description(), GetParam().description);
    EXPECT_EQ(date->isAllDay(), GetParam().isAllDay);
}

class ICalDateReaderTest : public CalendarTextTest {};

TEST_F(ICalDateReaderTest, TakesAZoneForEachDate)
{
    ICalDateReader reader(nullptr);
    EXPECT_EQ(reader.dateInText("20071224T100000", "Asia/Tokyo")->timezone(), "Asia/Tokyo");
    EXPECT_EQ(reader.dateInText("20071224T100000", std::nullopt)->timezone(), "Europe/Berlin");
    EXPECT_EQ(reader.dateInText("20071224T100000Z", "Asia/Tokyo")->timezone(), "Etc/UTC");
}

TEST_F(ICalDateReaderTest, LogsATextThatIsTooShort)
{
    ICalDateReader(&logger).dateInText("2007", "Asia/Tokyo");
    EXPECT_EQ(logger.entries(), std::vector<std::string>{"Unbekanntes Datumsformat: '2007'"});
}

TEST_F(ICalDateReaderTest, FindsNoDateWithoutAHost)
{
    setHostClassTable({});
    EXPECT_EQ(ICalDateReader(&logger).dateInText("20071224", "Asia/Tokyo"), nullptr);
}

}  // namespace
}  // namespace kt::test
