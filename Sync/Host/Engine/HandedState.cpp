#include "Sync/Host/Engine/HandedState.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>

#include "Sync/Host/Engine/EqualKeys.h"
#include "Sync/Host/Engine/HostSyncRecord.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

namespace {

bool isCalendar(const HandedRecord& handed) { return handed.id.conduit == kConduitCalendar; }

// Whether an agreed record belongs to a calendar that is kept as the store gave it.
bool isOfKeptCalendar(const AgreedRow& row, const Knowledge& knowledge)
{
    const std::string* calendar = nullptr;
    if (row.id.conduit == kConduitCalendar)
        calendar = &row.id.key;
    else if (row.parentKey)
        calendar = &*row.parentKey;
    return calendar != nullptr && knowledge.switchedOff().hasAgreed(*calendar);
}

// The record itself, or the calendar that it would be written into.
bool isUnread(UnreadRow::Whose whose, const RecordId& id,
              const std::optional<std::string>& parentKey, const Knowledge& knowledge)
{
    if (knowledge.unreadRow(whose, id) != nullptr)
        return true;
    return id.conduit != kConduitCalendar && parentKey &&
           knowledge.unreadRow(whose, {std::string(kConduitCalendar), *parentKey}) != nullptr;
}

bool isUnread(const AgreedRow& row, const Knowledge& knowledge)
{
    return isUnread(UnreadRow::Whose::agreed, row.id, row.parentKey, knowledge);
}

bool isUnread(const KeptRow& row, const Knowledge& knowledge)
{
    return isUnread(UnreadRow::Whose::kept, row.id, row.parentKey, knowledge);
}

std::vector<HandedRecord> agreedAndKept(LocalState& state, const Knowledge& knowledge,
                                        const GivenRecords& given)
{
    std::vector<HandedRecord> handed;
    handed.reserve(knowledge.agreed().size() + knowledge.kept().size());
    for (const AgreedRow& row : knowledge.agreed()) {
        if (isOfKeptCalendar(row, knowledge) || isUnread(row, knowledge))
            continue;
        if (SyncRecord same = given.find(row.id, row.hash)) {
            handed.push_back({row.id, row.parentKey, {}, std::nullopt, std::move(same)});
            continue;
        }
        Dictionary record = state.agreedRecord(row.id);
        // Only acceptable records are ever agreed; one that is not would stop the rewrite halfway.
        if (isAcceptableRecord(record, row.id.key, row.id.conduit))
            handed.push_back({row.id, row.parentKey, std::move(record)});
    }
    for (const KeptRow& row : knowledge.kept()) {
        if (!isUnread(row, knowledge))
            handed.push_back({row.id, row.parentKey, state.keptRecord(row.id), row.id});
    }
    return handed;
}

// Gives what is kept keys that nothing agreed is handed out under. A writer finds the items of a
// calendar by its key.
class KeysOfKept {
public:
    explicit KeysOfKept(std::vector<HandedRecord>& handed) : _handed(handed)
    {
        for (const HandedRecord& record : handed)
            ++_sharers[record.id];
    }

    void tellApart()
    {
        for (HandedRecord& record : _handed) {
            if (record.isKept() && _sharers[record.id] > 1)
                rename(record);
        }
        if (_renamed.empty())
            return;
        for (HandedRecord& record : _handed) {
            if (record.isKept())
                follow(record);
        }
    }

private:
    void rename(HandedRecord& record)
    {
        const RecordId former = record.id;
        --_sharers[former];
        for (int number = 2; _sharers.count(record.id) != 0; ++number)
            record.id.key = numberedKey(former.key, number);
        ++_sharers[record.id];
        _renamed.emplace(former, record.id.key);
    }

    void follow(HandedRecord& record) const
    {
        if (const std::string* calendar = now(kConduitCalendar, record.parentKey)) {
            record.parentKey = *calendar;
            record.record.set("ParentRecordKey", *calendar);
        }
        const Value& series = record.record["RecurrenceParentRecordKey"];
        if (!series.isString())
            return;
        if (const std::string* key = now(record.id.conduit, std::string(series.string())))
            record.record.set("RecurrenceParentRecordKey", *key);
    }

    const std::string* now(std::string_view conduit, const std::optional<std::string>& key) const
    {
        const auto found = key ? _renamed.find({std::string(conduit), *key}) : _renamed.end();
        return found == _renamed.end() ? nullptr : &found->second;
    }

    std::vector<HandedRecord>& _handed;
    std::unordered_map<RecordId, int, RecordIdHash> _sharers;
    std::unordered_map<RecordId, std::string, RecordIdHash> _renamed;  // keys by former ids
};

void dropParentsThatAreMissing(std::vector<HandedRecord>& handed)
{
    std::unordered_set<std::string> calendars;
    for (const HandedRecord& record : handed) {
        if (isCalendar(record))
            calendars.insert(record.id.key);
    }
    for (HandedRecord& record : handed) {
        if (!isCalendar(record))
            continue;
        const Value& parent = record.record["ParentRecordKey"];
        if (!parent.isString() || calendars.count(std::string(parent.string())) != 0)
            continue;
        record.record.remove("ParentRecordKey");
        record.parentKey = std::nullopt;
    }
}

// The SourceKey that this store gave for each calendar, by the key it is handed out under.
std::unordered_map<std::string, std::string> sourceKeysOfStore(LocalState& state,
                                                               const Knowledge& knowledge)
{
    std::unordered_map<std::string, std::string> sourceKeys;
    for (const SeenRow& row : knowledge.seen()) {
        if (row.local.conduit != kConduitCalendar || !row.agreedKey)
            continue;
        const Value sourceKey = state.seenRecord(row)["SourceKey"];
        if (sourceKey.isString())
            sourceKeys.emplace(*row.agreedKey, sourceKey.string());
    }
    return sourceKeys;
}

// The folders in which calendars stand that cannot be read, and so stay.
std::unordered_set<std::string> sourceKeysOfUnread(LocalState& state, const Knowledge& knowledge)
{
    std::unordered_set<std::string> sourceKeys;
    for (const UnreadRow& row : knowledge.unread()) {
        if (row.id.conduit != kConduitCalendar)
            continue;
        const SeenRow* seen = knowledge.seenOfAgreed(row.id);
        Value sourceKey;
        if (row.whose == UnreadRow::Whose::kept)
            sourceKey = state.keptRecord(row.id)["SourceKey"];
        else if (seen != nullptr)
            sourceKey = state.seenRecord(*seen)["SourceKey"];
        else if (knowledge.agreedRow(row.id) != nullptr)
            sourceKey = state.agreedRecord(row.id)["SourceKey"];
        if (sourceKey.isString())
            sourceKeys.emplace(sourceKey.string());
    }
    return sourceKeys;
}

// A calendar stays in the folder that this store has it in. Elsewhere it may have another one.
void giveOwnSourceKeys(std::vector<HandedRecord>& handed, LocalState& state,
                       const Knowledge& knowledge)
{
    const auto ofStore = sourceKeysOfStore(state, knowledge);
    for (HandedRecord& record : handed) {
        const auto own =
            isCalendar(record) && !record.isKept() ? ofStore.find(record.id.key) : ofStore.end();
        if (own != ofStore.end())
            record.record.set("SourceKey", own->second);
    }
}

void tellSourceKeysApart(std::vector<HandedRecord>& handed, LocalState& state,
                         const Knowledge& knowledge)
{
    std::unordered_map<std::string, std::vector<HandedRecord*>> sharers;
    for (HandedRecord& record : handed) {
        if (!isCalendar(record))
            continue;
        const Value& sourceKey = record.record["SourceKey"];
        if (sourceKey.isString())
            sharers[std::string(sourceKey.string())].push_back(&record);
    }
    std::unordered_map<std::string, std::string> ofStore;
    std::vector<HandedRecord*> others;
    const std::unordered_set<std::string> unread = sourceKeysOfUnread(state, knowledge);
    for (const std::string& sourceKey : unread)
        sharers.try_emplace(sourceKey);
    for (auto& [sourceKey, records] : sharers) {
        if (unread.count(sourceKey) != 0) {
            others.insert(others.end(), records.begin(), records.end());
            continue;
        }
        if (records.size() < 2)
            continue;
        if (ofStore.empty())
            ofStore = sourceKeysOfStore(state, knowledge);
        const auto hadIt = [&, &key = sourceKey](const HandedRecord* record) {
            const auto found = ofStore.find(record->id.key);
            return record->isKept() || (found != ofStore.end() && found->second == key);
        };
        const auto owner = std::find_if(records.begin(), records.end(), hadIt);
        const HandedRecord* stays = owner == records.end() ? records.front() : *owner;
        std::copy_if(records.begin(), records.end(), std::back_inserter(others),
                     [&](const HandedRecord* record) { return record != stays; });
    }
    std::sort(others.begin(), others.end(),
              [](const auto* left, const auto* right) { return left->id < right->id; });
    for (HandedRecord* record : others) {
        int number = 1;
        while (sharers.count(numberedKey(record->id.key, number)) != 0)
            ++number;
        const std::string sourceKey = numberedKey(record->id.key, number);
        sharers[sourceKey].push_back(record);
        record->record.set("SourceKey", sourceKey);
    }
}

}  // namespace

std::vector<HandedRecord> handedState(LocalState& state, const Knowledge& knowledge,
                                      const GivenRecords& given)
{
    std::vector<HandedRecord> handed = agreedAndKept(state, knowledge, given);
    if (!knowledge.kept().empty()) {
        KeysOfKept(handed).tellApart();
        std::sort(handed.begin(), handed.end(),
                  [](const auto& left, const auto& right) { return left.id < right.id; });
    }
    dropParentsThatAreMissing(handed);
    giveOwnSourceKeys(handed, state, knowledge);
    tellSourceKeysApart(handed, state, knowledge);
    return handed;
}

}  // namespace kt
