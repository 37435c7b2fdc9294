#include "Sync/Host/Engine/TakenTitles.h"

#include <algorithm>

#include "Sync/Host/Engine/CalendarTitles.h"
#include "Sync/Host/Engine/UnreadRecords.h"

namespace kt {

TakenTitles::TakenTitles(const SyncRecordList& off, const StoreReading& reading,
                         const Knowledge& knowledge, LocalState& state)
{
    for (const SyncRecord& record : off) {
        if (record->conduit() == kConduitCalendar)
            _agreedKeys.emplace(titleAndType(record->record()),
                                reading.switchedOff.agreedKey(record->recordKey()));
    }
    if (!reading.texts.empty())
        addUnread(reading, knowledge, state);
}

// What an unread calendar is called is known from the time when it could be read.
void TakenTitles::addUnread(const StoreReading& reading, const Knowledge& knowledge,
                            LocalState& state)
{
    const auto isUnread = [&](const auto& row) {
        return reading.texts.claimOn(knownRecord(row, knowledge, reading.texts)) !=
               UnreadClaim::none;
    };
    for (const KeptRow& row : knowledge.kept()) {
        if (row.id.conduit == kConduitCalendar && isUnread(row))
            _agreedKeys.emplace(titleAndType(state.keptRecord(row.id)), std::nullopt);
    }
    for (const SeenRow& row : knowledge.seen()) {
        if (row.local.conduit == kConduitCalendar && isUnread(row))
            _agreedKeys.emplace(titleAndType(state.seenRecord(row)), row.agreedKey);
    }
    const UnreadTexts& texts = reading.texts;
    for (std::size_t text = 0; text < texts.count(); ++text) {
        if (texts.loss(text).extent == KTLoss::Extent::calendar && texts.calendarsOf(text).empty())
            _neverRead.insert(texts.loss(text).calendar);
    }
    _neverRead.erase("");
}

bool TakenTitles::isAnothers(const RecordId& agreedId, const Dictionary& calendar) const
{
    const auto [first, last] = _agreedKeys.equal_range(titleAndType(calendar));
    const Value& title = calendar["Title"];
    return std::any_of(first, last,
                       [&](const auto& entry) { return entry.second != agreedId.key; }) ||
           (title.isString() && _neverRead.count(std::string(title.string())) != 0);
}

}  // namespace kt
