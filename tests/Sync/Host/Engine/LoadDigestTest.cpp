#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/LoadDigest.h"

namespace kt {
namespace {

using testing::TestWithParam;
using testing::ValuesIn;

/// What one record of a load brings into the digest.
struct Loaded {
    std::string conduit{kConduitEvent};
    std::string key = "K";
    std::optional<std::string> parentKey = "C";
    std::string hash = "4711";
    HostIdentityReport::View identity{"uid", "20071224", "S", "/Library/", "a.ics"};
};

std::string digestOf(const std::vector<Loaded>& load, std::string_view earlier)
{
    LoadDigest digest(earlier);
    for (const Loaded& each : load)
        digest.add(HostSyncRecord(kRecordTypeRecord, Dictionary{}, each.key, each.parentKey,
                                  each.conduit),
                   each.hash, each.identity);
    return digest.text();
}

TEST(LoadDigest, IsThatOfAnEqualLoadUnderTheSameKey)
{
    const std::string first = digestOf({Loaded{}}, "");
    EXPECT_EQ(digestOf({Loaded{}}, first), first);
    EXPECT_NE(digestOf({Loaded{}}, ""), first) << "each begins with a key of its own";
}

TEST(LoadDigest, IsThatOfAnEqualLoadHoweverLarge)
{
    const std::vector<Loaded> load(1000);
    const std::string first = digestOf(load, "");
    EXPECT_EQ(digestOf(load, first), first);
    std::vector<Loaded> other = load;
    other[500].hash = "4712";
    EXPECT_NE(digestOf(other, first), first);
}

TEST(LoadDigest, TellsTextsApartWhereverTheyAreCut)
{
    LoadDigest left("");
    LoadDigest right(left.text());
    left.add("ab");
    left.add("c");
    right.add("a");
    right.add("bc");
    EXPECT_NE(left.text(), right.text());
}

struct Row {
    std::string name;
    std::function<void(Loaded&)> change;
};
class LoadDigestOfOneRecord : public TestWithParam<Row> {};
INSTANTIATE_TEST_SUITE_P(Rows, LoadDigestOfOneRecord,
                         ValuesIn(std::vector<Row>{
                             {"Conduit", [](Loaded& it) { it.conduit = kConduitTask; }},
                             {"Key", [](Loaded& it) { it.key = "L"; }},
                             {"ParentKey", [](Loaded& it) { it.parentKey = "D"; }},
                             {"NoParentKey", [](Loaded& it) { it.parentKey = std::nullopt; }},
                             {"Content", [](Loaded& it) { it.hash = "4712"; }},
                             {"Uid", [](Loaded& it) { it.identity.uid = "other"; }},
                             {"Occurrence", [](Loaded& it) { it.identity.recurrenceId = ""; }},
                             {"SourceKey", [](Loaded& it) { it.identity.sourceKey = "T"; }},
                             {"Folder", [](Loaded& it) { it.identity.folder = "/"; }},
                             {"File", [](Loaded& it) { it.identity.name = "b.ics"; }},
                         }),
                         [](const auto& row) { return row.param.name; });

TEST_P(LoadDigestOfOneRecord, TellsWhatChanged)
{
    const std::string first = digestOf({Loaded{}}, "");
    Loaded changed;
    GetParam().change(changed);
    EXPECT_NE(digestOf({changed}, first), first);
}

// States written before hold digests of other kinds.
class TextOfAnotherKind : public TestWithParam<std::string> {};
INSTANTIATE_TEST_SUITE_P(Rows, TextOfAnotherKind,
                         ValuesIn(std::vector<std::string>{
                             "", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855",
                             "xxh3 ", "xxh3 keywithoutdigest", "xxh3  0", "md5 key 0"}));

TEST_P(TextOfAnotherKind, GivesNoKey)
{
    const std::string text = digestOf({}, GetParam());
    EXPECT_NE(text, GetParam());
    EXPECT_NE(text, digestOf({}, GetParam())) << "the key was drawn";
    EXPECT_EQ(text, digestOf({}, text));
}

}  // namespace
}  // namespace kt
