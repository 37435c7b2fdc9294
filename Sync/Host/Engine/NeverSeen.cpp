#include "Sync/Host/Engine/NeverSeen.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "Sync/Host/Engine/IdentityPairing.h"
#include "Sync/Host/Engine/RecordCoding.h"

namespace kt {

namespace {

// Hardly ever any: what is agreed was seen at the end of the run that agreed to it.
std::vector<const AgreedRow*> itemsNeverSeen(const Knowledge& knowledge)
{
    std::vector<const AgreedRow*> rows;
    for (const AgreedRow& row : knowledge.agreed()) {
        if (row.id.conduit != kConduitCalendar && knowledge.seenOfAgreed(row.id) == nullptr)
            rows.push_back(&row);
    }
    return rows;
}

std::string contentOf(const Dictionary& record) { return contentHash(record, HashScope::neutral); }

// New items, told apart by what they hold.
class NewItems {
public:
    explicit NewItems(std::vector<LocalRecord>& records) : _calendars(agreedCalendars(records))
    {
        for (LocalRecord& local : records) {
            const bool isNew =
                local.seen == nullptr && local.agreedId.key.empty() && !local.isLeftOver;
            if (!isNew)
                _named.insert(local.agreedId);
            else if (local.record->conduit() != kConduitCalendar)
                _byContent[contentOf(local.record->record())].push_back(&local);
        }
    }

    bool empty() const { return _byContent.empty(); }

    void name(const AgreedRow& row, const Dictionary& record)
    {
        const auto alike = _byContent.find(contentOf(record));
        if (alike == _byContent.end() || _named.count(row.id) != 0)
            return;
        const auto item = std::find_if(alike->second.begin(), alike->second.end(),
                                       [&](const LocalRecord* each) { return isIn(*each, row); });
        if (item == alike->second.end())
            return;
        (*item)->agreedId = row.id;
        alike->second.erase(item);
    }

private:
    bool isIn(const LocalRecord& item, const AgreedRow& row) const
    {
        const std::string local = item.record->recordParentKey().value_or("");
        const auto calendar = _calendars.find(local);
        return item.record->conduit() == row.id.conduit &&
               row.parentKey == (calendar == _calendars.end() ? local : calendar->second);
    }

    std::unordered_map<std::string, std::string> _calendars;  // local to agreed keys
    std::unordered_set<RecordId, RecordIdHash> _named;
    std::unordered_map<std::string, std::vector<LocalRecord*>> _byContent;
};

}  // namespace

void nameWhatWasNeverSeen(std::vector<LocalRecord>& records, const Knowledge& knowledge,
                          LocalState& state)
{
    const std::vector<const AgreedRow*> rows = itemsNeverSeen(knowledge);
    if (rows.empty())
        return;
    NewItems items(records);
    if (items.empty())
        return;
    for (const AgreedRow* row : rows)
        items.name(*row, state.agreedRecord(row->id));
}

}  // namespace kt
