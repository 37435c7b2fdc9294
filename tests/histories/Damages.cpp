#include "tests/histories/Damages.h"

#include <algorithm>

#include "tests/histories/ItemMaker.h"

namespace kt::test {

std::string Damages::breakItem(const StoreHand::Place& place)
{
    if (isBroken(place.item) || !place.item.isEvent())
        return "";
    ItemText broken = place.item;
    // No property that there can be two of.
    broken.append({"RRULE:FREQ=DAILY", "RRULE:FREQ=WEEKLY"});
    _hand->replace(place, broken);
    _all.push_back({place.file, place.item.text(), broken.text(), true});
    return "two rules in " + toldTokens(place.item);
}

std::string Damages::breakFile(const std::string& path)
{
    const auto before = _disk->contentsAtPath(path);
    const std::string after = "kaputt " + std::to_string(_all.size());
    if (!before || before->starts_with("kaputt") || isBelow(path))
        return "";
    _disk->writeAtomically(after, path);
    _all.push_back({path, *before, after, false});
    return "no file any more: " + path;
}

void Damages::mendAll()
{
    for (auto damage = _all.rbegin(); damage != _all.rend(); ++damage)
        mend(*damage);
}

bool Damages::isThere(const Damage& damage) const
{
    if (!damage.isItem)
        return _disk->contentsAtPath(damage.path) == damage.after;
    const auto items = _hand->items();
    return std::any_of(items.begin(), items.end(), [&](const StoreHand::Place& place) {
        return place.item.text() == damage.after;
    });
}

void Damages::mend(const Damage& damage) const
{
    if (!damage.isItem) {
        if (_disk->contentsAtPath(damage.path) == damage.after)
            _disk->writeAtomically(damage.before, damage.path);
        return;
    }
    for (const StoreHand::Place& place : _hand->items())
        if (place.item.text() == damage.after)
            return _hand->replace(place, ItemText(damage.before));
}

bool Damages::isBroken(const ItemText& item) const
{
    return std::any_of(_all.begin(), _all.end(),
                       [&](const Damage& damage) { return damage.after == item.text(); });
}

bool Damages::isBelow(const std::string& path) const
{
    return std::any_of(_all.begin(), _all.end(), [&](const Damage& damage) {
        const bool isBelow = damage.path == path || damage.path.starts_with(path + "/");
        return isBelow && isThere(damage);
    });
}

std::set<int> Damages::tokens() const
{
    std::set<int> tokens;
    for (const Damage& damage : _all) {
        if (!isThere(damage))
            continue;
        if (damage.isItem)
            tokens.merge(tokensOf(ItemText(damage.before)));
        for (const ItemText& item : ItemsFile::inText(damage.isItem ? "" : damage.before).items)
            tokens.merge(tokensOf(item));
        // A description stands for all that is in its calendar.
        if (damage.path.ends_with(StorePaths::infoFileName))
            for (const StoreHand::Place& place :
                 _hand->itemsBelow(stringByDeletingLastPathComponent(damage.path)))
                tokens.merge(tokensOf(place.item));
    }
    return tokens;
}

}  // namespace kt::test
