#include "Sync/Host/Engine/SeenUpdate.h"

namespace kt {

namespace {

bool isOfKeptCalendar(const SeenRow& row, const std::unordered_set<std::string>& keptCalendars)
{
    if (row.local.conduit == kConduitCalendar)
        return keptCalendars.count(row.local.key) != 0;
    return row.localParentKey && keptCalendars.count(*row.localParentKey) != 0;
}

bool saysTheSame(const SeenRow& left, const SeenRow& right)
{
    return left.local == right.local && left.agreedKey == right.agreedKey &&
           left.localParentKey == right.localParentKey && left.hash == right.hash &&
           left.timezone == right.timezone && left.place == right.place;
}

SeenRow rowFor(const SeenTarget& target, std::string_view timezone)
{
    SeenRow row;
    row.local = {target.record->conduit(), target.record->recordKey()};
    row.agreedKey = target.agreedKey;
    row.localParentKey = target.record->recordParentKey();
    row.hash = target.hash;
    row.timezone = timezone;
    row.place = target.place;
    return row;
}

}  // namespace

void moveSeen(LocalState& state, const Knowledge& knowledge, const std::vector<SeenTarget>& targets,
              const SeenRemainder& remainder, std::string_view timezone)
{
    std::unordered_set<const SeenRow*> replaced = remainder.untouched;
    for (const SeenTarget& target : targets) {
        SeenRow row = rowFor(target, timezone);
        if (target.row == nullptr) {
            state.addSeen(row, target.record->record());
            continue;
        }
        replaced.insert(target.row);
        row.row = target.row->row;
        if (!saysTheSame(row, *target.row))
            state.setSeen(row, target.record->record());
    }
    for (const SeenRow& row : knowledge.seen()) {
        const bool stays = replaced.count(&row) != 0 || remainder.isMissingUnread ||
                           isOfKeptCalendar(row, remainder.keptCalendars);
        if (!stays)
            state.removeSeen(row);
    }
}

}  // namespace kt
