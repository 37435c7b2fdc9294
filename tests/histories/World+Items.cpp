// What people do with items.

#include <algorithm>

#include "tests/histories/ItemMaker.h"
#include "tests/histories/Pick.h"
#include "tests/histories/World.h"

namespace kt::test {

// No program adds to a file that it cannot read.
bool World::canTakeItem(Device& device, const StoreHand::Calendar& calendar)
{
    return !accountOf(device).damages.isBelow(device.hand().fileForNewItem(calendar, "new"));
}

void World::addItem(Device& device, int which, int what)
{
    Calendars calendars = device.hand().calendars();
    const auto* calendar = pick(calendars, which);
    if (calendar == nullptr)
        return addCalendar(device, what);
    if (!canTakeItem(device, *calendar))
        return;
    const int token = ++_lastToken;
    _mayBeGone[token] = false;
    const ItemText item = makeItem(token, what, stamp());
    device.hand().add(*calendar, "UID-" + std::to_string(token), item);
    tell("  #" + std::to_string(token) + " '" + item.value("SUMMARY").value_or("") + "' in " +
         calendar->title);
}

std::vector<StoreHand::Place> World::ownItems(Device& device)
{
    std::set<std::string> subscribed;
    for (const StoreHand::Calendar& calendar : device.hand().calendars())
        if (calendar.kind == StoreHand::Kind::subscribed)
            subscribed.insert(calendar.key);
    std::vector<StoreHand::Place> items = device.hand().items();
    std::erase_if(items, [&](const auto& place) { return subscribed.count(place.calendar) != 0; });
    return items;
}

// Not promised: a rewrite that was cut may leave an item in both calendars that it moves it
// between, and edits of both copies are two items.
bool World::isSecondCopy(Device& device, const StoreHand::Place& place)
{
    const auto items = device.hand().items();
    const auto first = std::find_if(items.begin(), items.end(), [&](const auto& each) {
        return each.item.value("UID") == place.item.value("UID") &&
               each.item.value("RECURRENCE-ID") == place.item.value("RECURRENCE-ID");
    });
    return device.isMarked() && (first->file != place.file || first->index != place.index);
}

void World::edit(Device& device, int which, int what)
{
    auto items = ownItems(device);
    const auto* place = pick(items, which);
    if (place == nullptr || accountOf(device).damages.isBroken(place->item) ||
        isSecondCopy(device, *place))
        return;
    ItemText item = place->item;
    const std::string told = editItem(item, what, stamp());
    device.hand().replace(*place, item);
    tell("  " + told + " of " + toldTokens(item));
}

bool World::isAnyBroken(Device& device, const std::vector<StoreHand::Place>& places)
{
    return std::any_of(places.begin(), places.end(), [&](const auto& place) {
        return accountOf(device).damages.isBroken(place.item);
    });
}

// A series goes with its occurrences.
void World::move(Device& device, int which, int where)
{
    auto items = ownItems(device);
    Calendars calendars = device.hand().calendars();
    const auto* place = pick(items, which);
    const auto* target = pick(calendars, where);
    if (place == nullptr || target->key == place->calendar ||
        target->kind == StoreHand::Kind::subscribed || !canTakeItem(device, *target))
        return;
    const std::vector<StoreHand::Place> all = device.hand().ofOneUid(*place);
    if (isAnyBroken(device, all))
        return;
    const std::string name = place->item.value("UID").value_or("UID-" + stamp());
    for (auto each = all.rbegin(); each != all.rend(); ++each)
        device.hand().remove(*each);
    for (const StoreHand::Place& each : all) {
        device.hand().add(*target, name, each.item);
        tell("  " + toldTokens(each.item) + " to " + target->title);
    }
}

void World::remove(Device& device, int which)
{
    auto items = ownItems(device);
    const auto* place = pick(items, which);
    if (place == nullptr)
        return;
    const std::vector<StoreHand::Place> all = isOccurrence(place->item)
                                                  ? std::vector<StoreHand::Place>{*place}
                                                  : device.hand().ofOneUid(*place);
    if (isAnyBroken(device, all))
        return;
    for (auto each = all.rbegin(); each != all.rend(); ++each) {
        mayBeGone(tokensOf(each->item));
        device.hand().remove(*each);
        tell("  " + toldTokens(each->item));
    }
}

void World::detach(Device& device, int which, int what)
{
    std::vector<StoreHand::Place> series = ownItems(device);
    std::erase_if(series, [&](const StoreHand::Place& place) {
        return !place.item.has("RRULE") || isOccurrence(place.item) ||
               isAnyBroken(device, device.hand().ofOneUid(place)) || isSecondCopy(device, place);
    });
    const auto* place = pick(series, which);
    if (place == nullptr)
        return;
    const ItemText occurrence = makeOccurrence(place->item, _lastToken + 1, what, stamp());
    for (const StoreHand::Place& each : device.hand().ofOneUid(*place))
        if (each.item.value("RECURRENCE-ID") == occurrence.value("RECURRENCE-ID"))
            return;
    _mayBeGone[++_lastToken] = false;
    device.hand().addBeside(*place, occurrence);
    tell("  " + toldTokens(occurrence) + " of " + toldTokens(place->item));
}

}  // namespace kt::test
