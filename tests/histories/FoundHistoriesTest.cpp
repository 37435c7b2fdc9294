#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/histories/Verdict.h"

namespace kt::test {
namespace {

// Histories that once ended wrong, each as small as it could be made: a file of the folder `found`
// each, named after what happens in it.

const std::filesystem::path kFolder = KT_SOURCE_DIR "/tests/histories/found";

std::vector<std::string> foundHistories()
{
    std::vector<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(kFolder))
        names.push_back(file.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

class FoundHistory : public testing::TestWithParam<std::string> {};

TEST_P(FoundHistory, EndsWell)
{
    std::ifstream file(kFolder / (GetParam() + ".txt"));
    const History history = historyInText({std::istreambuf_iterator<char>(file), {}});
    ASSERT_FALSE(history.operations.empty());
    const Verdict verdict = play(history);
    EXPECT_EQ(verdict.fault, "") << verdict.story;
}

INSTANTIATE_TEST_SUITE_P(Once, FoundHistory, testing::ValuesIn(foundHistories()),
                         [](const auto& row) { return row.param; });

}  // namespace
}  // namespace kt::test
