// What people do with calendars and their groups.

#include <algorithm>

#include "tests/histories/ItemMaker.h"
#include "tests/histories/Pick.h"
#include "tests/histories/World.h"

namespace kt::test {

void World::addCalendar(Device& device, int what)
{
    const Calendars calendars = device.hand().calendars();
    std::string title = "Kalender " + std::to_string(what % 6);
    // One that cannot be read is not shown, but comes back.
    const bool isTaken = accountOf(device).brokenTitles.count(title) != 0 ||
                         std::any_of(calendars.begin(), calendars.end(),
                                     [&](const auto& each) { return each.title == title; });
    const std::string number = std::to_string(++_lastTitle);
    if (isTaken)
        title = "Neuer " + number;
    device.hand().addCalendar("KEY-" + number, title, StoreHand::Kind::own);
    tell("  calendar " + title);
}

void World::subscribe(Device& device)
{
    const std::string number = std::to_string(++_lastTitle);
    device.hand().addCalendar("KEY-" + number, "Abo " + number, StoreHand::Kind::subscribed);
    tell("  calendar Abo " + number);
}

void World::removeCalendar(Device& device, const Operation& operation)
{
    Calendars calendars = device.hand().calendars();
    const auto* calendar = pick(calendars, operation.first);
    if (calendar == nullptr || accountOf(device).damages.isBelow(calendar->folder))
        return;
    if (operation.what == Do::removeCalendar && !device.isOn(*calendar))
        return;
    tell("  calendar " + calendar->title);
    for (const auto& place : device.hand().items()) {
        if (place.calendar != calendar->key)
            continue;
        mayBeGone(tokensOf(place.item));
        tell("  " + toldTokens(place.item));
    }
    device.hand().removeCalendar(*calendar);
}

void World::changeCalendar(Device& device, const Operation& operation)
{
    Calendars calendars = device.hand().calendars();
    const auto* calendar = pick(calendars, operation.first);
    if (calendar == nullptr)
        return;
    // Of two calendars of one title a store gives only one.
    const std::string title = "Umbenannt " + std::to_string(++_lastTitle);
    tell("  calendar " + calendar->title + (operation.what == Do::rename ? " to " + title : ""));
    if (operation.what == Do::rename)
        device.hand().rename(*calendar, title);
    else if (operation.what == Do::recolor)
        device.hand().setColor(*calendar, "#0000" + std::to_string(10 + operation.second) + "FF");
    else
        device.hand().putFirst(static_cast<std::size_t>(calendar - calendars.data()));
}

void World::toggle(Device& device, int which)
{
    Calendars calendars = device.hand().calendars();
    const auto* calendar = pick(calendars, which);
    if (calendar == nullptr)
        return;
    const bool isOn = device.isOn(*calendar);
    device.setOn(*calendar, !isOn);
    tell("  calendar " + calendar->title + (isOn ? " off" : " on"));
}

void World::addGroup(Device& device, int what)
{
    const auto groups = device.hand().groups();
    std::string title = "Gruppe " + std::to_string(what % 3);
    const bool isTaken = std::any_of(groups.begin(), groups.end(),
                                     [&](const auto& each) { return each.title == title; });
    const std::string number = std::to_string(++_lastTitle);
    if (isTaken)
        title = "Gruppe " + number;
    device.hand().addGroup("KEY-" + number, title);
    tell("  group " + title);
}

void World::putIntoGroup(Device& device, const Operation& operation)
{
    Calendars calendars = device.hand().calendars();
    std::vector<StoreHand::Group> groups = device.hand().groups();
    const auto* calendar = pick(calendars, operation.first);
    if (calendar == nullptr || groups.empty())
        return;
    const auto number = static_cast<std::size_t>(operation.second) % (groups.size() + 1);
    const auto* group = number == groups.size() ? nullptr : &groups[number];
    tell("  calendar " + calendar->title + " to " +
         (group == nullptr ? "no group" : "group " + group->title));
    device.hand().putInto(group, *calendar);
}

void World::changeGroup(Device& device, const Operation& operation)
{
    std::vector<StoreHand::Group> groups = device.hand().groups();
    const auto* group = pick(groups, operation.first);
    if (group == nullptr)
        return;
    tell("  group " + group->title);
    if (operation.what == Do::removeGroup)
        device.hand().removeGroup(*group);
    else
        device.hand().rename(*group, "Gruppe " + std::to_string(++_lastTitle));
}

}  // namespace kt::test
