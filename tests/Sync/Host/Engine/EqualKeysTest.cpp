#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Engine/EqualKeys.h"
#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/Host/Engine/RecordCoding.h"

namespace kt::test {
namespace {

using testing::ElementsAre;

// The records of one key, what was seen of it, and what is known of its names otherwise.
class Rule2 : public testing::Test, public EqualKeysContext {
protected:
    void given(Dictionary record, const StorePlace& place = {})
    {
        auto local = std::make_unique<LocalRecord>();
        local->hash = contentHash(record);
        local->place = place;
        local->record =
            std::make_shared<HostSyncRecord>(0, std::move(record), "K", "C", "ical-task");
        _locals.push_back(std::move(local));
    }

    void seen(const std::optional<std::string>& agreedKey, Dictionary record,
              const StorePlace& place = {})
    {
        auto row = std::make_unique<SeenRow>();
        row->row = static_cast<std::int64_t>(_rows.size()) + 1;
        row->local = {"ical-task", "K"};
        row->agreedKey = agreedKey;
        row->hash = contentHash(record);
        row->place = place;
        _contents[row->row] = contentHash(record, HashScope::neutral);
        _rows.push_back(std::move(row));
    }

    void unseen(const std::string& key, const Dictionary& record)
    {
        _unseen[key] = contentHash(record, HashScope::neutral);
    }

    // The names given, in load order; "-" for what belongs to nothing.
    std::vector<std::string> names()
    {
        const std::vector<LocalRecord*> records = this->records();
        tellEqualKeysApart(records, rows(), *this);
        std::vector<std::string> names;
        for (const LocalRecord* record : records)
            names.push_back(record->isLeftOver ? "-" : record->agreedId.key);
        return names;
    }

    std::vector<LocalRecord*> records() const
    {
        std::vector<LocalRecord*> records;
        for (const auto& local : _locals)
            records.push_back(local.get());
        return records;
    }

    std::vector<const SeenRow*> rows() const
    {
        std::vector<const SeenRow*> rows;
        for (const auto& row : _rows)
            rows.push_back(row.get());
        return rows;
    }

    std::string seenContent(const SeenRow& row) const override { return _contents.at(row.row); }
    std::optional<std::string> agreedContent(const SeenRow& row) const override
    {
        const auto found = _agreed.find(row.agreedKey.value_or(""));
        return found == _agreed.end() ? std::nullopt : std::optional(found->second);
    }
    std::optional<std::string> unseenContent(const RecordId& id) const override
    {
        const auto found = _unseen.find(id.key);
        return found == _unseen.end() ? std::nullopt : std::optional(found->second);
    }
    UnreadClaim unreadClaim(const SeenRow& row) const override
    {
        const auto found = _claims.find(row.agreedKey.value_or(""));
        return found == _claims.end() ? UnreadClaim::none : found->second;
    }
    bool mayTake(const RecordId& id, const LocalRecord&) const override
    {
        return _refused.count(id.key) == 0;
    }

    std::map<std::string, std::string> _agreed;
    std::set<std::string> _refused;
    std::map<std::string, UnreadClaim> _claims;  // by agreed key

private:
    std::vector<std::unique_ptr<LocalRecord>> _locals;
    std::vector<std::unique_ptr<SeenRow>> _rows;
    std::map<std::int64_t, std::string> _contents;
    std::map<std::string, std::string> _unseen;
};

const Dictionary kFirst{{"Title", "Einkaufen"}, {"Notes", "Milch"}};
const Dictionary kSecond{{"Title", "Einkaufen"}, {"Notes", "Brot"}};
const Dictionary kThird{{"Title", "Einkaufen"}, {"Notes", "Käse"}};
const Dictionary kOccurrence{{"Title", "Einkaufen"}, {"RecurrenceId", "20071224"}};

TEST_F(Rule2, EqualKeysAreNumberedInLoadOrder)
{
    given(kFirst);
    given(kSecond);
    given(kThird);
    EXPECT_THAT(names(), ElementsAre("K", "K-2", "K-3"));
}

TEST_F(Rule2, WhatEqualsItsSeenKeepsItsNumber)
{
    seen("K", kFirst);
    seen("K-2", kSecond);
    given(kSecond);
    given(kFirst);
    EXPECT_THAT(names(), ElementsAre("K-2", "K"));
}

TEST_F(Rule2, AnEditedRecordTakesTheNumberThatIsLeft)
{
    seen("K", kFirst);
    seen("K-2", kSecond);
    given(kThird);
    given(kFirst);
    EXPECT_THAT(names(), ElementsAre("K-2", "K"));
}

TEST_F(Rule2, ANewRecordTakesTheNextFreeNumber)
{
    seen("K", kFirst);
    seen("K-2", kSecond);
    given(kThird);
    given(kSecond);
    given(kFirst);
    EXPECT_THAT(names(), ElementsAre("K-3", "K-2", "K"));
}

TEST_F(Rule2, WhatIsLeftKeepsItsNumberWhenTheFirstIsDeleted)
{
    seen("K", kFirst);
    seen("K-2", kSecond);
    given(kSecond);
    EXPECT_THAT(names(), ElementsAre("K-2"));
}

TEST_F(Rule2, ALoneRecordIsTheOneThatWasSeen)
{
    seen("K-2", kFirst);
    given(kThird);
    EXPECT_THAT(names(), ElementsAre("K-2"));
}

// Else an edit of the first one elsewhere would bring that back in the place of the second.
TEST_F(Rule2, AnItemThatCameWhenAnotherOneWentIsNoEditOfThat)
{
    seen("K", kFirst, {.uid = "eins"});
    given(kSecond, {.uid = "zwei"});
    EXPECT_THAT(names(), ElementsAre("K-2"));
}

TEST_F(Rule2, AnItemThatCameAmongOthersWhenOneWentIsNoEditOfThat)
{
    seen("K", kFirst, {.uid = "eins"});
    seen("K-2", kSecond, {.uid = "zwei"});
    given(kSecond, {.uid = "zwei"});
    given(kThird, {.uid = "drei"});
    EXPECT_THAT(names(), ElementsAre("K-2", "K-3"));
}

TEST_F(Rule2, WhatOnlyChangedByItselfKeepsItsNumber)
{
    seen("K", kFirst);
    seen("K-2", kSecond);
    Dictionary stamped = kSecond;
    stamped.set("Timezone", "Asia/Tokyo");
    given(stamped);
    given(kFirst);
    EXPECT_THAT(names(), ElementsAre("K-2", "K"));
}

TEST_F(Rule2, ADetachedOccurrenceNeverTakesTheBareKeyWhileAnotherIsThere)
{
    given(kOccurrence);
    given(kFirst);
    EXPECT_THAT(names(), ElementsAre("K-2", "K"));
}

TEST_F(Rule2, ADetachedOccurrenceAloneTakesTheBareKey)
{
    given(kOccurrence);
    EXPECT_THAT(names(), ElementsAre("K"));
}

TEST_F(Rule2, ADetachedOccurrenceMakesRoomForASeriesThatComesLater)
{
    seen("K", kOccurrence);
    given(kOccurrence);
    given(kFirst);
    EXPECT_THAT(names(), ElementsAre("K-2", "K"));
}

TEST_F(Rule2, WhatEqualsARecordOnTheServerTakesItsName)
{
    unseen("K", kFirst);
    unseen("K-2", kSecond);
    given(kSecond);
    given(kFirst);
    EXPECT_THAT(names(), ElementsAre("K-2", "K"));
}

TEST_F(Rule2, ANameThatMeansAnotherRecordIsNotTaken)
{
    _refused = {"K", "K-2"};
    given(kFirst);
    EXPECT_THAT(names(), ElementsAre("K-3"));
}

TEST_F(Rule2, WhatARewriteLeftBehindIsRecognisedByWhatIsAgreedNow)
{
    seen("K", kFirst);
    seen("K-2", kSecond);
    _agreed = {{"K", contentHash(kThird, HashScope::neutral)},
               {"K-2", contentHash(kFirst, HashScope::neutral)}};
    given(kSecond);
    given(kThird);
    EXPECT_THAT(names(), ElementsAre("K-2", "K"));
}

TEST_F(Rule2, WhatBelongsToNothingStaysSoUntilItIsEdited)
{
    seen("K", kFirst);
    seen(std::nullopt, kSecond);
    given(kSecond);
    given(kFirst);
    EXPECT_THAT(names(), ElementsAre("-", "K"));
}

TEST_F(Rule2, WhatBelongedToNothingIsNewOnceItIsEdited)
{
    seen("K", kFirst);
    seen(std::nullopt, kSecond);
    given(kThird);
    given(kFirst);
    EXPECT_THAT(names(), ElementsAre("K-2", "K"));
}

struct KeyRow {
    std::string key;
    std::optional<std::string> before;
};

class KeysBeforeNumbers : public testing::TestWithParam<KeyRow> {};

INSTANTIATE_TEST_SUITE_P(Rows, KeysBeforeNumbers,
                         testing::Values(KeyRow{"K-2", "K"}, KeyRow{"K-31", "K"},
                                         KeyRow{"a-b-2", "a-b"}, KeyRow{"K", std::nullopt},
                                         KeyRow{"K-", std::nullopt}, KeyRow{"K-1", std::nullopt},
                                         KeyRow{"K-02", std::nullopt}, KeyRow{"K-x", std::nullopt},
                                         KeyRow{"-2", std::nullopt}));

TEST_P(KeysBeforeNumbers, AreFound)
{
    EXPECT_EQ(keyBeforeNumber(GetParam().key), GetParam().before);
}

TEST(NumberedKey, AddsNumbersFromTwoOn)
{
    EXPECT_EQ(numberedKey("K", 1), "K");
    EXPECT_EQ(numberedKey("K", 2), "K-2");
}

TEST_F(Rule2, WhatIsNotCertainWaitsWithoutANameAndCanBeGivenOne)
{
    seen("K", kFirst);
    given(kThird);
    given(kFirst);
    given(kSecond);
    keepWhatEqualsItsSeen(records(), rows(), *this);
    EXPECT_EQ(records()[0]->agreedId.key, "");
    EXPECT_EQ(records()[1]->agreedId.key, "K");
    EXPECT_EQ(records()[2]->agreedId.key, "");
    records()[2]->agreedId = {"ical-task", "K-2"};
    EXPECT_THAT(names(), ElementsAre("K-3", "K", "K-2"));
}

TEST_F(Rule2, TwinsAreToldApartByTheirUidsWhateverWasEdited)
{
    seen("K", kFirst, {"uid-1", "1.ics"});
    seen("K-2", kSecond, {"uid-2", "2.ics"});
    given(kThird, {"uid-2", "2.ics"});
    given(kSecond, {"uid-1", "1.ics"});
    EXPECT_THAT(names(), ElementsAre("K-2", "K"));
}

TEST_F(Rule2, AnEditedTwinDoesNotTakeTheNameOfOneThatMayBeUnread)
{
    seen("K", kFirst, {"uid-1", "1.ics"});
    seen("K-2", kSecond, {"uid-2", "2.ics"});
    _claims["K"] = UnreadClaim::certain;
    given(kFirst, {"uid-2", "2.ics"});
    EXPECT_THAT(names(), ElementsAre("K-2"));
}

TEST_F(Rule2, ANewTwinOfAnUnreadRecordTakesTheNextNumber)
{
    seen("K", kFirst, {"uid-1", "1.ics"});
    _claims["K"] = UnreadClaim::possible;
    _refused = {"K"};
    given(kFirst, {"uid-9", "9.ics"});
    EXPECT_THAT(names(), ElementsAre("K-2"));
}

TEST_F(Rule2, WithoutUidsARecordIsTakenForTheOneThatMayBeUnread)
{
    seen("K", kFirst);
    _claims["K"] = UnreadClaim::possible;
    given(kSecond);
    EXPECT_THAT(names(), ElementsAre("K"));
}

}  // namespace
}  // namespace kt::test
