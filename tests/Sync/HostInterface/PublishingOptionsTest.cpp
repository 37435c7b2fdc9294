#include <gtest/gtest.h>

#include "Sync/HostInterface/PublishingOptions.h"

namespace kt {
namespace {

struct Row {
    const char* text;
    PublishingOptions options;
};
class PublishingOptionsText : public testing::TestWithParam<Row> {};
INSTANTIATE_TEST_SUITE_P(Rows, PublishingOptionsText,
                         testing::Values(Row{"EVENTS  ", {true, false, false}},
                                         Row{" TASKS ", {false, true, false}},
                                         Row{"EVENTS  ANON", {true, false, true}},
                                         Row{"EVENTS TASKS ANON", {true, true, true}},
                                         Row{"  ", {false, false, false}}));

TEST_P(PublishingOptionsText, IsReadAndWritten)
{
    EXPECT_EQ(PublishingOptions::fromText(GetParam().text), GetParam().options);
    EXPECT_EQ(GetParam().options.text(), GetParam().text);
}

TEST(PublishingOptions, TakeAWordWhereverItStands)
{
    EXPECT_EQ(PublishingOptions::fromText("ANON,EVENTS"), (PublishingOptions{true, false, true}));
    EXPECT_EQ(PublishingOptions::fromText(""), PublishingOptions{});
}

}  // namespace
}  // namespace kt
