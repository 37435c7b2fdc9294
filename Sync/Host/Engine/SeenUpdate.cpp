#include "Sync/Host/Engine/SeenUpdate.h"

namespace kt {

namespace {

bool saysTheSame(const SeenRow& left, const SeenRow& right)
{
    return left.local == right.local && left.agreedKey == right.agreedKey &&
           left.localParentKey == right.localParentKey && left.hash == right.hash &&
           left.timezone == right.timezone && left.place == right.place;
}

SeenRow rowFor(const SeenTarget& target, std::string_view ownTimezone)
{
    SeenRow row;
    row.local = {target.record.conduit(), target.record.recordKey()};
    row.agreedKey = target.agreedKey;
    row.localParentKey = target.record.recordParentKey();
    row.hash = target.hash;
    row.timezone = ownTimezone;
    row.place = target.place;
    return row;
}

}  // namespace

bool isAsSeen(const SeenTarget& target, std::string_view ownTimezone)
{
    const SeenRow& row = *target.row;
    return row.hash == target.hash && row.local.key == target.record.recordKey() &&
           row.local.conduit == target.record.conduit() && row.agreedKey == target.agreedKey &&
           row.localParentKey == target.record.recordParentKey() && row.timezone == ownTimezone &&
           row.place == target.place;
}

SeenUpdate::SeenUpdate(LocalState& state, const Knowledge& knowledge, std::string ownTimezone)
    : _state(state),
      _knowledge(knowledge),
      _timezone(std::move(ownTimezone)),
      _isTaken(knowledge.seen().size())
{}

void SeenUpdate::take(const SeenTarget& target)
{
    SeenRow row = rowFor(target, _timezone);
    if (target.row == nullptr) {
        _state.addSeen(row, target.record.record());
        return;
    }
    _isTaken[_knowledge.numberOf(*target.row)] = true;
    row.row = target.row->row;
    if (!saysTheSame(row, *target.row))
        _state.setSeen(row, target.record.record());
    if (row.local.conduit == kConduitCalendar && row.local.key != target.row->local.key)
        _renamed.emplace_back(target.row->local.key, row.local.key);
}

void SeenUpdate::finish(const SeenRemainder& remainder)
{
    for (const SeenRow& row : _knowledge.seen()) {
        const bool stays = _isTaken[_knowledge.numberOf(row)] || remainder.isMissingUnread ||
                           remainder.untouched.count(&row) != 0 ||
                           remainder.switchedOff.holds(row, _knowledge);
        if (!stays)
            _state.removeSeen(row);
    }
}

}  // namespace kt
