#include "Sync/Host/Engine/ClashingTitles.h"

#include <set>

#include "Sync/Host/Engine/CalendarTitles.h"

namespace kt {

namespace {

bool isCalendar(const RecordId& id) { return id.conduit == kConduitCalendar; }

// Whether the store does not have it under that title yet.
bool bringsTitle(const Outcome& outcome, const LocalRecords& local)
{
    if (!isCalendar(outcome.id) || outcome.isDeletion() || !outcome.comesDown)
        return false;
    const LocalRecord* const here = local.recordAgreedAs(outcome.id);
    return here == nullptr || titleAndType(here->record->record()) != titleAndType(outcome.record);
}

// What has a title when all is done, but for what brings one.
std::set<std::string> titlesOfOthers(const std::map<RecordId, Outcome>& outcomes,
                                     const Knowledge& knowledge, const LocalRecords& local,
                                     LocalState& state)
{
    std::set<std::string> titles;
    for (const auto& [id, outcome] : outcomes) {
        if (isCalendar(id) && !outcome.isDeletion() && !bringsTitle(outcome, local))
            titles.insert(titleAndType(outcome.record));
    }
    for (const AgreedRow& row : knowledge.agreed()) {
        if (!isCalendar(row.id) || outcomes.count(row.id) != 0)
            continue;
        const LocalRecord* const here = local.recordAgreedAs(row.id);
        titles.insert(here == nullptr ? titleAndType(state.agreedRecord(row.id))
                                      : titleAndType(here->record->record()));
    }
    return titles;
}

}  // namespace

std::vector<Retitled> tellTitlesApart(std::map<RecordId, Outcome>& outcomes,
                                      const Knowledge& knowledge, const LocalRecords& local,
                                      LocalState& state)
{
    std::vector<Retitled> retitled;
    std::set<std::string> titles;
    bool isGathered = false;
    for (auto& [id, outcome] : outcomes) {
        if (!bringsTitle(outcome, local))
            continue;
        if (!isGathered)
            titles = titlesOfOthers(outcomes, knowledge, local, state);
        isGathered = true;
        if (titles.insert(titleAndType(outcome.record)).second)
            continue;
        const std::string title(outcome.record["Title"].string());
        int number = 2;
        do
            outcome.record.set("Title", title + ' ' + std::to_string(number++));
        while (!titles.insert(titleAndType(outcome.record)).second);
        outcome.goesUp = true;
        retitled.push_back({title, std::string(outcome.record["Title"].string())});
    }
    return retitled;
}

}  // namespace kt
