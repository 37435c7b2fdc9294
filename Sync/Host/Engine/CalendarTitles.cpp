#include "Sync/Host/Engine/CalendarTitles.h"

#include <algorithm>
#include <unordered_set>

#include "Sync/Host/Engine/UniquePairs.h"

namespace kt {

std::string titleAndType(const Dictionary& calendar)
{
    const Value& title = calendar["Title"];
    const Value& type = calendar["Type"];
    return title.isString() && type.isString()
               ? std::string(type.string()).append("\n").append(title.string())
               : std::string();
}

namespace {

using Ids = std::unordered_set<RecordId, RecordIdHash>;

bool isNew(const LocalRecord& local)
{
    return local.seen == nullptr && local.agreedId.key.empty() && !local.isLeftOver &&
           local.record->conduit() == kConduitCalendar;
}

// Calendars that no record of this store is, as the server has them.
class Unseen {
public:
    Unseen(const std::vector<LocalRecord>& records, const Knowledge& knowledge)
        : _knowledge(knowledge)
    {
        for (const LocalRecord& local : records)
            _named.insert(local.agreedId);
    }

    bool mayBe(const RecordId& id) const
    {
        return id.conduit == kConduitCalendar && _named.count(id) == 0 &&
               _knowledge.seenOfAgreed(id) == nullptr &&
               !_knowledge.switchedOff().hasAgreed(id.key) &&
               _knowledge.unreadRow(UnreadRow::Whose::agreed, id) == nullptr;
    }

private:
    const Knowledge& _knowledge;
    Ids _named;
};

}  // namespace

void nameCalendarsByTitle(std::vector<LocalRecord>& records, const Knowledge& knowledge,
                          const RemoteChanges& remote, LocalState& state)
{
    if (std::none_of(records.begin(), records.end(), isNew))
        return;
    UniquePairs pairs;
    for (std::size_t index = 0; index < records.size(); ++index) {
        if (isNew(records[index]))
            pairs.addLeft(titleAndType(records[index].record->record()), index);
    }
    const Unseen unseen(records, knowledge);
    std::vector<RecordId> ids;
    const auto add = [&](const RecordId& id, const Dictionary& record) {
        pairs.addRight(titleAndType(record), ids.size());
        ids.push_back(id);
    };
    for (const auto& [id, change] : remote.changes()) {
        if (unseen.mayBe(id) && !change.server.isTombstone && !change.isRefused)
            add(id, change.record);
    }
    for (const AgreedRow& row : knowledge.agreed()) {
        if (unseen.mayBe(row.id) && remote.change(row.id) == nullptr)
            add(row.id, state.agreedRecord(row.id));
    }
    pairs.forEach([&](std::size_t record, std::size_t id) { records[record].agreedId = ids[id]; });
}

}  // namespace kt
