#include <algorithm>
#include <cstdlib>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/Sync/Host/Engine/SyncEngineFixture.h"

namespace kt::test {
namespace {

// Devices that do what comes to their users' minds, in whatever order, some of them offline for
// long and some broken off at the worst moment. Every item carries an id that no edit touches, so
// that it can be told whether it is still there.
class RandomDevices : public SyncEngineFixture, public testing::WithParamInterface<unsigned> {
protected:
    static constexpr int kDevices = 5;
    static constexpr int kSteps = 60;

    int pick(int count) { return static_cast<int>(_random() % static_cast<unsigned>(count)); }
    bool chance(int percent) { return pick(100) < percent; }

    static std::string idOf(const SimulatedItem& item)
    {
        const Value& special = item.fields["AppleSpecialFields"];
        return special.isDictionary() ? special.dictionary()["X-ID"].description() : "";
    }

    // Calendar programs stamp what they write.
    EnhancedDate now()
    {
        const int minutes = _minutes++;
        CalendarDate clock{2008, 1, 1, minutes / 60, minutes % 60, 0};
        return date(clock.descriptionWithCalendarFormat("%Y%m%dT%H%M%S"), "Etc/UTC");
    }

    SimulatedCalendar* anyCalendar(SimulatedHome& home)
    {
        if (home.store.calendars.empty())
            return nullptr;
        SimulatedCalendar& picked = home.store.calendars[static_cast<std::size_t>(
            pick(static_cast<int>(home.store.calendars.size())))];
        return picked.isBroken ? nullptr : &picked;  // no program could do anything with it
    }

    void add(SimulatedHome& home)
    {
        if (home.store.calendars.size() < 3 && chance(30)) {
            const std::string title = "Kalender " + std::to_string(pick(4));
            if (home.store.calendar(title) == nullptr)
                home.store.calendars.push_back(calendar(title));
        }
        SimulatedCalendar* target = anyCalendar(home);
        if (target == nullptr)
            return;
        const std::string id = std::to_string(++_lastId);
        const Dictionary more{{"AppleSpecialFields", Dictionary{{"X-ID", id}}},
                              {"DateStamp", now()}};
        if (chance(60))
            target->items.push_back(event("Termin " + id, "20080101T100000", more));
        else
            addTask(*target, id, more);
        _created.insert(id);
    }

    void addTask(SimulatedCalendar& target, const std::string& id, const Dictionary& more)
    {
        const bool hasCommonTitle = chance(50);
        target.items.push_back(task(hasCommonTitle ? "Einkaufen" : "Aufgabe " + id, more));
        if (hasCommonTitle)
            _tasksOfOneTitle.insert(id);
    }

    void edit(SimulatedHome& home)
    {
        SimulatedCalendar* target = anyCalendar(home);
        if (target == nullptr || target->items.empty())
            return;
        auto& item =
            target->items[static_cast<std::size_t>(pick(static_cast<int>(target->items.size())))];
        const std::string value = "Wert " + std::to_string(++_lastId);
        const char* fields[] = {"Notes", "Location", "URL"};
        item.fields.set(fields[pick(3)], value);
        item.fields.set("DateStamp", now());
        if (chance(20))
            item.fields.set("Title", std::string(item.fields["Title"].string()) + "'");
        if (chance(60))
            item.fields.set("Sequence", std::to_string(item.fields["Sequence"].intValue() + 1));
    }

    void remove(SimulatedHome& home)
    {
        SimulatedCalendar* target = anyCalendar(home);
        if (target == nullptr || target->items.empty())
            return;
        const int index = pick(static_cast<int>(target->items.size()));
        _deleted.insert(idOf(target->items[static_cast<std::size_t>(index)]));
        target->items.erase(target->items.begin() + index);
    }

    void removeWholeCalendar(SimulatedHome& home)
    {
        SimulatedCalendar* target = anyCalendar(home);
        if (target == nullptr)
            return;
        for (const SimulatedItem& item : target->items)
            _deleted.insert(idOf(item));
        home.store.calendars.erase(home.store.calendars.begin() +
                                   (target - home.store.calendars.data()));
    }

    void rename(SimulatedHome& home)
    {
        SimulatedCalendar* target = anyCalendar(home);
        const std::string title = "Kalender " + std::to_string(pick(8));
        // Of two calendars of one title a store gives only one.
        const bool isNew = std::all_of(homes.begin(), homes.end(), [&](const auto& each) {
            return each->store.calendar(title) == nullptr;
        });
        if (target != nullptr && isNew)
            target->title = title;
    }

    void doSomething(SimulatedHome& home)
    {
        const int what = pick(100);
        home.store.touch();
        if (what < 25)
            add(home);
        else if (what < 45)
            edit(home);
        else if (what < 52)
            remove(home);
        else if (what < 53)
            removeWholeCalendar(home);
        else if (what < 55)
            rename(home);
        else if (what < 61)
            toggle(home);
        else if (what < 62)
            reset(home);
        else if (what < 66)
            damageSomething(home);
        else if (what < 68)
            mendAll(home);
        else if (what < 69)
            throwBrokenTextsAway(home);
        else
            sync(home);
    }

    void toggle(SimulatedHome& home)
    {
        const SimulatedCalendar* target = anyCalendar(home);
        if (target == nullptr)
            return;
        if (home.isOn(target->title))
            home.switchOff(target->title);
        else
            home.switchOn(target->title);
    }

    void reset(SimulatedHome& home)
    {
        home.resetSync();
        _withBase.erase(&home);
    }

    // Where there is no common past, one key is one record: tasks of one title become one. So they
    // may where no identity is told and the end of a rewrite was not seen.
    void noteTasksThatMayBecomeOne(const SimulatedHome& home)
    {
        const bool isBlind = home.telling == SimulatedHome::Telling::noPlaces &&
                             home.openState().facts().mark.has_value();
        if (_withBase.count(&home) != 0 && !isBlind)
            return;
        _deleted.insert(_tasksOfOneTitle.begin(), _tasksOfOneTitle.end());
    }

    // A text that stays unread until somebody mends it or throws it away. Without a common past it
    // cannot be known that a record of the server is the same.
    void damageSomething(SimulatedHome& home)
    {
        SimulatedCalendar* target = anyCalendar(home);
        if (target == nullptr || _withBase.count(&home) == 0)
            return;
        home.telling = static_cast<SimulatedHome::Telling>(pick(3));
        // While a rewrite is not settled, a calendar that cannot be read is taken for half made.
        if ((target->items.empty() || chance(20)) && !home.openState().facts().mark)
            target->isBroken = true;
        else if (!target->items.empty())
            anyItem(*target).isBroken = true;
    }

    SimulatedItem& anyItem(SimulatedCalendar& calendar)
    {
        return calendar
            .items[static_cast<std::size_t>(pick(static_cast<int>(calendar.items.size())))];
    }

    static void mendAll(SimulatedHome& home)
    {
        for (SimulatedCalendar& each : home.store.calendars) {
            each.isBroken = false;
            for (SimulatedItem& item : each.items)
                item.isBroken = false;
        }
    }

    // What is known to be unread comes back. What never gave a record is gone with its text, and
    // what no run has found unread was simply deleted.
    void throwBrokenTextsAway(SimulatedHome& home)
    {
        for (SimulatedCalendar& each : home.store.calendars) {
            std::erase_if(each.items, [&](const SimulatedItem& item) {
                return item.isBroken && _foundBroken.count(idOf(item)) != 0;
            });
        }
    }

    void sync(SimulatedHome& home)
    {
        noteTasksThatMayBecomeOne(home);
        SimulatedHome::Wishes wishes;
        wishes.allowMassDelete = true;
        wishes.isFull = chance(5);
        if (chance(25))
            wishes.breakAt = static_cast<Break>(pick(8));
        wishes.acceptLosses = chance(5);
        if (wishes.acceptLosses)
            noteWhatIsGivenUp(home);
        const SyncRunSummary summary = home.sync(wishes);
        if (summary.finished)
            _withBase.insert(&home);
        if (summary.finished && wishes.breakAt == Break::nowhere)
            noteWhatIsSynced(home);
    }

    // A text that never gave a record may be taken for one that did.
    void noteWhatIsGivenUp(const SimulatedHome& home)
    {
        for (const SimulatedCalendar& each : home.store.calendars) {
            for (const SimulatedItem& item : each.items) {
                if ((each.isBroken || item.isBroken) && _synced.count(idOf(item)) == 0)
                    _deleted.insert(idOf(item));
            }
        }
    }

    void noteWhatIsSynced(const SimulatedHome& home)
    {
        for (const SimulatedCalendar& each : home.store.calendars) {
            for (const SimulatedItem& item : each.items) {
                if (!each.isBroken && !item.isBroken)
                    _synced.insert(idOf(item));
                else if (_synced.count(idOf(item)) != 0)
                    _foundBroken.insert(idOf(item));
            }
        }
    }

    std::set<std::string> idsIn(const SimulatedHome& home)
    {
        std::set<std::string> ids;
        for (const auto& each : home.store.calendars) {
            for (const auto& item : each.items)
                ids.insert(idOf(item));
        }
        return ids;
    }

    void seed(unsigned number) { _random.seed(number); }

    void expectNothingMissing()
    {
        for (const auto& each : homes) {
            const std::set<std::string> ids = idsIn(*each);
            for (const std::string& id : _created) {
                if (_deleted.count(id) != 0)
                    continue;
                EXPECT_EQ(ids.count(id), 1U) << "item " << id << " is gone";
            }
        }
    }

private:
    std::mt19937 _random;
    int _lastId = 0;
    int _minutes = 0;
    std::set<std::string> _created;
    std::set<std::string> _synced;  // have been in a store at the end of a run
    std::set<std::string> _foundBroken;
    std::set<std::string> _deleted;  // or merged on purpose
    std::set<std::string> _tasksOfOneTitle;
    std::set<const SimulatedHome*> _withBase;
};

INSTANTIATE_TEST_SUITE_P(Seeds, RandomDevices, testing::Range(1U, 41U));

TEST_P(RandomDevices, EndUpEqualWithNothingMissingThatNobodyDeleted)
{
    seed(GetParam());
    for (int device = 0; device < kDevices; ++device)
        home("device " + std::to_string(device), device % 2 == 0 ? Layout::leopard : Layout::tiger);
    home("device 0").store.calendars = {calendar("Kalender 0"), calendar("Kalender 1")};
    for (int step = 0; step < kSteps; ++step)
        doSomething(*homes[static_cast<std::size_t>(pick(kDevices))]);
    for (const auto& each : homes) {
        mendAll(*each);
        for (const auto& shown : each->store.calendars) {
            if (!each->isOn(shown.title))
                each->switchOn(shown.title);
        }
    }
    SimulatedHome::Wishes wishes;
    wishes.allowMassDelete = true;
    for (const auto& each : homes) {
        noteTasksThatMayBecomeOne(*each);
        each->sync(wishes);
    }
    syncUntilRest();
    // A calendar that came back switched off is switched on, too.
    for (const auto& each : homes) {
        for (const auto& shown : each->store.calendars) {
            if (!each->isOn(shown.title))
                each->switchOn(shown.title);
        }
    }
    expectRest();
    expectEqualHomes();
    expectNothingMissing();
    // The server never lost anything.
    for (const auto& each : homes) {
        for (const std::string& line : each->log)
            EXPECT_EQ(line.find("einen älteren Stand"), std::string::npos);
    }
}

}  // namespace
}  // namespace kt::test
