#include "Sync/Host/Engine/UnreadRecords.h"

#include <algorithm>

#include "Sync/Foundation/FileManager.h"
#include "Sync/HostInterface/KTSyncRecord.h"
#include "Sync/HostInterface/StorePaths.h"

namespace kt {

namespace {

using Whose = UnreadRow::Whose;

std::int64_t sinceOf(const Knowledge& knowledge, const UnreadTexts& texts, Whose whose,
                     const RecordId& id)
{
    const UnreadRow* row = knowledge.unreadRow(whose, id);
    return row == nullptr ? texts.now() : row->since;
}

// Where it is not known where a calendar stood, its key says what its folder is called: a group has
// only that of its record.
template <class Content>
void nameFolder(KnownRecord& record, Content&& content)
{
    if (!record.isCalendar || !record.place.file.empty())
        return;
    const Value sourceKey = content()["SourceKey"];
    record.sourceKey = sourceKey.isString() ? std::string(sourceKey.string()) : record.calendar;
}

// Candidates, with what is to be done about each.
struct Missing {
    std::vector<KnownRecord> records;
    std::vector<RecordId> ids;         // without a key: comes from a rewrite, is nobody's
    std::vector<const SeenRow*> rows;  // null where there is none
    RecordIdSet known;

    void add(KnownRecord record, RecordId id, const SeenRow* row)
    {
        known.insert(id);
        records.push_back(std::move(record));
        ids.push_back(std::move(id));
        rows.push_back(row);
    }
};

bool isSwitchedOff(const std::string& agreedKey, const Knowledge& knowledge,
                   const LocalRecords& local)
{
    return knowledge.switchedOff().hasAgreed(agreedKey) &&
           local.recordAgreedAs({std::string(kConduitCalendar), agreedKey}) == nullptr;
}

bool isOfCalendarSwitchedOff(const SeenRow& row, const Knowledge& knowledge,
                             const LocalRecords& local)
{
    if (!knowledge.switchedOff().holds(row, knowledge))
        return false;
    const bool isCalendar = row.local.conduit == kConduitCalendar;
    const std::string localKey = isCalendar ? row.local.key : row.localParentKey.value_or("");
    const SeenRow* calendar = knowledge.seenCalendarUnder(localKey);
    return calendar == nullptr || !calendar->agreedKey
               ? !local.hasCalendar(localKey)
               : isSwitchedOff(*calendar->agreedKey, knowledge, local);
}

bool isOfCalendarSwitchedOff(const AgreedRow& row, const Knowledge& knowledge,
                             const LocalRecords& local)
{
    const bool isCalendar = row.id.conduit == kConduitCalendar;
    return isSwitchedOff(isCalendar ? row.id.key : row.parentKey.value_or(""), knowledge, local);
}

Missing missingRecords(const UnreadTexts& texts, const Knowledge& knowledge,
                       const LocalRecords& local, const UnreadRules& rules, LocalState& state)
{
    Missing missing;
    for (const SeenRow& row : knowledge.seen()) {
        const RecordId id{row.local.conduit, row.agreedKey.value_or("")};
        const bool isThere =
            row.agreedKey ? local.recordAgreedAs(id) != nullptr : local.isRowTaken(row);
        if (isThere || isOfCalendarSwitchedOff(row, knowledge, local))
            continue;
        if (row.agreedKey && knowledge.agreedRow(id) == nullptr)
            continue;
        KnownRecord record = knownRecord(row, knowledge, texts);
        nameFolder(record, [&] { return state.seenRecord(row); });
        missing.add(std::move(record), id, &row);
    }
    for (const AgreedRow& row : knowledge.agreed()) {
        if (missing.known.count(row.id) != 0 || local.recordAgreedAs(row.id) != nullptr)
            continue;
        // What was never seen is missed only where it was handed out, or unread, already.
        if (!rules.isHealing && knowledge.unreadRow(Whose::agreed, row.id) == nullptr)
            continue;
        if (!isOfCalendarSwitchedOff(row, knowledge, local))
            missing.add(knownRecord(row, knowledge, texts, state), row.id, nullptr);
    }
    return missing;
}

// While a rewrite is not settled, a calendar whose description cannot be read may be one that was
// half made. All of it was known when the rewrite began, so it is written over. Items are whole or
// not there. A text of which nothing is known but its folder may be anything that is missing, but
// what the folder is named after comes first.
std::vector<std::size_t> calendarsOfBrokenRewrite(const UnreadTexts& texts,
                                                  const std::vector<KnownRecord>& missing,
                                                  const std::vector<bool>& wasUnread)
{
    std::vector<std::size_t> result;
    for (std::size_t text = 0; text < texts.count(); ++text) {
        const KTLoss& loss = texts.loss(text);
        if (loss.extent != KTLoss::Extent::calendar ||
            lastPathComponent(loss.file) != StorePaths::infoFileName)
            continue;
        bool claimsNew = false;
        bool claimsUnread = false;
        for (std::size_t index = 0; index < missing.size(); ++index) {
            const UnreadClaim claim = texts.claim(text, missing[index]);
            if (claim == UnreadClaim::certain)
                (wasUnread[index] ? claimsUnread : claimsNew) = true;
        }
        if (claimsNew && !claimsUnread)
            result.push_back(text);
    }
    return result;
}

// Sorts what is missing into what is unread and what comes back.
UnreadRecords decided(const UnreadTexts& texts, const Knowledge& knowledge, Missing missing,
                      Whose whose, const UnreadRules& rules)
{
    UnreadRecords result;
    result.givenUp.assign(texts.count(), false);
    std::vector<bool> wasUnread(missing.records.size());
    for (std::size_t index = 0; index < missing.ids.size(); ++index)
        wasUnread[index] = knowledge.unreadRow(whose, missing.ids[index]) != nullptr;

    UnreadTexts::Excluded broken;
    if (rules.isHealing && !rules.isOverwriting) {
        for (const std::size_t text : calendarsOfBrokenRewrite(texts, missing.records, wasUnread)) {
            broken.insert(text);
            result.givenUp[text] = true;
        }
    }
    const UnreadTexts::Claims claims = texts.claimsOn(missing.records, broken);
    for (std::size_t index = 0; index < missing.ids.size(); ++index) {
        const RecordId& id = missing.ids[index];
        const bool isClaimed = claims.onRecords[index] != UnreadClaim::none;
        if ((isClaimed || wasUnread[index]) && missing.rows[index] != nullptr)
            result.rows.insert(missing.rows[index]);
        if (id.key.empty())
            continue;
        if (isClaimed && !rules.isOverwriting)
            result.unread.insert(id);
        else if (isClaimed || wasUnread[index])
            result.returning.insert(id);
    }
    if (rules.isOverwriting) {
        result.givenUp = claims.byTexts;
        return result;
    }
    for (std::size_t text = 0; text < texts.count(); ++text) {
        if (broken.count(text) == 0)
            result.closed.insert(texts.calendarsOf(text).begin(), texts.calendarsOf(text).end());
    }
    return result;
}

bool isUnreadNow(const UnreadTexts& texts, const Knowledge& knowledge, const UnreadRow& row,
                 LocalState& state)
{
    if (row.whose == Whose::kept) {
        const auto kept = std::find_if(knowledge.kept().begin(), knowledge.kept().end(),
                                       [&](const KeptRow& each) { return each.id == row.id; });
        return kept != knowledge.kept().end() &&
               texts.claimOn(knownRecord(*kept, knowledge, texts)) != UnreadClaim::none;
    }
    if (const SeenRow* seen = knowledge.seenOfAgreed(row.id))
        return texts.claimOn(knownRecord(*seen, knowledge, texts)) != UnreadClaim::none;
    const AgreedRow* agreed = knowledge.agreedRow(row.id);
    return agreed != nullptr &&
           texts.claimOn(knownRecord(*agreed, knowledge, texts, state)) != UnreadClaim::none;
}

}  // namespace

KnownRecord knownRecord(const SeenRow& row, const Knowledge& knowledge, const UnreadTexts& texts)
{
    const bool isCalendar = row.local.conduit == kConduitCalendar;
    KnownRecord record;
    record.isCalendar = isCalendar;
    record.calendar = isCalendar ? row.local.key : row.localParentKey.value_or("");
    record.place = row.place;
    // What comes from a rewrite and is nobody's is remembered nowhere else.
    record.since = row.agreedKey ? sinceOf(knowledge, texts, Whose::agreed,
                                           {row.local.conduit, *row.agreedKey})
                                 : 0;
    return record;
}

KnownRecord knownRecord(const KeptRow& row, const Knowledge& knowledge, const UnreadTexts& texts)
{
    const bool isCalendar = row.id.conduit == kConduitCalendar;
    return {isCalendar, isCalendar ? row.id.key : row.parentKey.value_or(""), row.place,
            sinceOf(knowledge, texts, Whose::kept, row.id), ""};
}

KnownRecord knownRecord(const AgreedRow& row, const Knowledge& knowledge, const UnreadTexts& texts,
                        LocalState& state)
{
    const bool isCalendar = row.id.conduit == kConduitCalendar;
    KnownRecord record;
    record.isCalendar = isCalendar;
    record.calendar =
        knowledge.localCalendarKey(isCalendar ? row.id.key : row.parentKey.value_or(""));
    record.since = sinceOf(knowledge, texts, Whose::agreed, row.id);
    nameFolder(record, [&] { return state.agreedRecord(row.id); });
    return record;
}

namespace {

// A text that was never known may be what somebody has entered since.
void addCalendarsOfTexts(const UnreadTexts& texts, const LocalRecords& local,
                         std::unordered_set<std::string>& agreedKeys)
{
    std::unordered_set<std::string> localKeys;
    for (std::size_t text = 0; text < texts.count(); ++text)
        localKeys.insert(texts.loss(text).calendarKey);
    for (const LocalRecord& each : local.all()) {
        if (each.record->conduit() == kConduitCalendar && !each.isLeftOver &&
            localKeys.count(each.record->recordKey()) != 0)
            agreedKeys.insert(each.agreedId.key);
    }
}

}  // namespace

UnreadRecords unreadRecords(const UnreadTexts& texts, const Knowledge& knowledge,
                            const LocalRecords& local, const UnreadRules& rules, LocalState& state)
{
    if (texts.empty() && knowledge.unread().empty())
        return {};
    UnreadRecords result =
        decided(texts, knowledge, missingRecords(texts, knowledge, local, rules, state),
                Whose::agreed, rules);
    for (const AgreedRow& row : knowledge.agreed()) {
        if (row.parentKey && result.unread.count(row.id) != 0)
            result.parents.insert(*row.parentKey);
    }
    if (!rules.isOverwriting)
        addCalendarsOfTexts(texts, local, result.parents);
    return result;
}

UnreadRecords unreadKeptRecords(const UnreadTexts& texts, const Knowledge& knowledge,
                                const RecordIdSet& present, const UnreadRules& rules,
                                LocalState& state)
{
    if (texts.empty() && knowledge.unread().empty())
        return {};
    Missing missing;
    for (const KeptRow& row : knowledge.kept()) {
        if (present.count(row.id) != 0)
            continue;
        KnownRecord record = knownRecord(row, knowledge, texts);
        nameFolder(record, [&] { return state.keptRecord(row.id); });
        missing.add(std::move(record), row.id, nullptr);
    }
    return decided(texts, knowledge, std::move(missing), Whose::kept, rules);
}

bool isUnreadNoMore(const UnreadTexts& texts, const Knowledge& knowledge, LocalState& state)
{
    return std::any_of(knowledge.unread().begin(), knowledge.unread().end(),
                       [&](const UnreadRow& row) {
                           return row.whose != Whose::moved &&
                                  !isUnreadNow(texts, knowledge, row, state);
                       });
}

bool mayAnyBeUnread(const UnreadTexts& texts, const Knowledge& knowledge, LocalState& state)
{
    if (texts.empty())
        return false;
    const auto isClaimed = [&](const auto& row) {
        return texts.claimOn(knownRecord(row, knowledge, texts)) != UnreadClaim::none;
    };
    return std::any_of(knowledge.seen().begin(), knowledge.seen().end(), isClaimed) ||
           std::any_of(knowledge.kept().begin(), knowledge.kept().end(), isClaimed) ||
           std::any_of(knowledge.unread().begin(), knowledge.unread().end(),
                       [&](const UnreadRow& row) {
                           return isUnreadNow(texts, knowledge, row, state);
                       });
}

}  // namespace kt
