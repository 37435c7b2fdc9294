#include "Sync/Host/Site/Occurrences.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <tuple>

namespace kt {

namespace {

constexpr std::size_t kMostSteps = 10'000'000;  // a fraction of a second
constexpr std::size_t kMostOccurrences = 10'000;
// Zones are up to 26 hours apart, so what begins within the range by one clock may do so two days
// away by another.
constexpr int kZoneDays = 2;
constexpr int kLongestDays = 3660;  // what began before that is over, whatever it says

/// The starts of a series that something else stands in for, or nothing.
class Exceptions {
public:
    explicit Exceptions(const std::vector<PublishedEvent>& events)
    {
        for (const PublishedEvent& event : events) {
            if (event.recurrenceId)
                _detached[event.uid].push_back(*event.recurrenceId);
        }
    }

    /// Of one series.
    class OfSeries {
    public:
        OfSeries(const PublishedEvent& event, const std::vector<PublishedDate>& detached)
            : _zone(event.start.zone)
        {
            for (const auto* dates : {&event.exceptions, &detached})
                for (const PublishedDate& date : *dates)
                    add(date, event.start.isAllDay);
        }

        bool contain(const CalendarDate& clock) const
        {
            return (!_days.empty() && _days.contains(Day::of(clock))) ||
                   (!_clocks.empty() && _clocks.contains(clock));
        }

    private:
        void add(const PublishedDate& date, bool isAllDay)
        {
            if (isAllDay || date.isAllDay)
                _days.insert(Day::of(date.clock));
            else
                _clocks.insert(date.zone == _zone ? date.clock
                                                  : calendarDateOfInstant(date.instant(), _zone));
        }

        const std::string& _zone;
        std::set<Day> _days;
        std::set<CalendarDate> _clocks;
    };

    OfSeries ofSeries(const PublishedEvent& event) const
    {
        static const std::vector<PublishedDate> kNone;
        const auto found = _detached.find(event.uid);
        return {event, found == _detached.end() ? kNone : found->second};
    }

private:
    std::map<std::string, std::vector<PublishedDate>> _detached;
};

/// Turns starts by an event's own clock into what the viewer sees.
class Viewer {
public:
    Viewer(Day first, Day last, const std::string& zone) : _first(first), _last(last), _zone(zone)
    {}

    std::optional<Occurrence> sees(const PublishedEvent& event, const CalendarDate& start) const
    {
        Occurrence occurrence{&event, start, start, {}, {}};
        if (event.start.isAllDay)
            occurrence.end = (Day::of(start) + daysOf(event)).date();
        else
            setTimes(occurrence, event, start);
        occurrence.firstDay = Day::of(occurrence.start);
        occurrence.lastDay = std::max(occurrence.firstDay, Day::of(clockAfter(occurrence.end, -1)));
        if (occurrence.lastDay < _first || occurrence.firstDay > _last)
            return std::nullopt;
        return occurrence;
    }

    /// The starts by the event's own clock that may be seen.
    ClockRange rangeFor(const PublishedEvent& event) const
    {
        const int days = event.start.isAllDay
                             ? daysOf(event)
                             : static_cast<int>(secondsOf(event) / (24 * 60 * 60)) + 1;
        return {(_first - kZoneDays - std::min(days, kLongestDays)).date(),
                (_last + kZoneDays + 1).date()};
    }

private:
    static int daysOf(const PublishedEvent& event)
    {
        return event.end ? Day::of(event.end->clock) - Day::of(event.start.clock) : 1;
    }

    static std::int64_t secondsOf(const PublishedEvent& event)
    {
        using std::chrono::duration_cast;
        if (!event.end)
            return 0;
        return duration_cast<std::chrono::seconds>(event.end->instant().instant -
                                                   event.start.instant().instant)
            .count();
    }

    void setTimes(Occurrence& occurrence, const PublishedEvent& event,
                  const CalendarDate& start) const
    {
        Date instant = instantOfCalendarDate(start, event.start.zone);
        occurrence.start = calendarDateOfInstant(instant, _zone);
        instant.instant += std::chrono::seconds(secondsOf(event));
        occurrence.end = calendarDateOfInstant(instant, _zone);
        // A night in which the clock is put back can end before it began.
        occurrence.end = std::max(occurrence.end, occurrence.start);
    }

    Day _first;
    Day _last;
    std::string _zone;
};

void sortByTime(std::vector<Occurrence>& occurrences)
{
    const auto order = [](const Occurrence& occurrence) {
        return std::tuple(occurrence.firstDay, !occurrence.isAllDay(), occurrence.start,
                          std::string_view(occurrence.event->title),
                          std::string_view(occurrence.event->uid));
    };
    std::sort(occurrences.begin(), occurrences.end(),
              [&](const auto& left, const auto& right) { return order(left) < order(right); });
}

/// The occurrences of all series. Each gets a fair share of the work, so that the cost of one takes
/// no days from another; what ordinary ones leave over is for those that need more.
class SeriesExpansion {
public:
    using Add = std::function<void(const PublishedEvent&, const CalendarDate&)>;

    SeriesExpansion(const Viewer& viewer, const std::vector<PublishedEvent>& events, Add add)
        : _viewer(viewer),
          _exceptions(events),
          _add(std::move(add))
    {}

    /// False when something was left out.
    bool run(const std::vector<const PublishedEvent*>& series)
    {
        std::size_t steps = kMostSteps / 2;
        const auto hungry = share(steps, series);
        steps += kMostSteps / 2;
        _isLastTime = true;
        share(steps, hungry);
        return _isComplete;
    }

private:
    /// Those for which their share was not enough.
    std::vector<const PublishedEvent*> share(std::size_t& steps,
                                             const std::vector<const PublishedEvent*>& series)
    {
        std::vector<const PublishedEvent*> hungry;
        std::size_t waiting = series.size();
        for (const PublishedEvent* event : series) {
            const std::size_t portion = steps / waiting--;
            ExpansionBudget budget(portion);
            if (!expand(*event, budget))
                hungry.push_back(event);
            steps -= portion - budget.left();
        }
        return hungry;
    }

    bool expand(const PublishedEvent& event, ExpansionBudget& budget)
    {
        const auto starts =
            occurrencesOfRule(*event.rule, event.start, _viewer.rangeFor(event), budget);
        if (budget.isUsedUp() && !_isLastTime)
            return false;
        _isComplete = _isComplete && !budget.isExceeded();
        const auto exceptions = _exceptions.ofSeries(event);
        for (const CalendarDate& start : starts) {
            if (!exceptions.contain(start))
                _add(event, start);
        }
        return true;
    }

    const Viewer& _viewer;
    Exceptions _exceptions;
    Add _add;
    bool _isLastTime = false;
    bool _isComplete = true;
};

/// Whether a series of which only the beginning is shown may go on within the days.
bool goesOnUnseen(const PublishedEvent& event, Day first, Day last)
{
    const RecurrenceRule& rule = *event.rule;
    return rule.isSubDaily() && Day::of(event.start.clock) <= last &&
           (!rule.until || Day::of(rule.until->clock) >= first);
}

}  // namespace

OccurrenceList occurrencesOfEvents(const std::vector<PublishedEvent>& events, Day first, Day last,
                                   const std::string& zone)
{
    const Viewer viewer(first, last, zone);
    OccurrenceList list;
    const auto add = [&](const PublishedEvent& event, const CalendarDate& start) {
        const auto occurrence = viewer.sees(event, start);
        if (occurrence && list.occurrences.size() < kMostOccurrences)
            list.occurrences.push_back(*occurrence);
        else if (occurrence)
            list.isComplete = false;
    };
    std::vector<const PublishedEvent*> series;
    for (const PublishedEvent& event : events) {
        if (!event.rule) {
            add(event, event.start.clock);
            continue;
        }
        series.push_back(&event);
        list.hasOnlyBeginnings = list.hasOnlyBeginnings || goesOnUnseen(event, first, last);
    }
    list.isComplete = SeriesExpansion(viewer, events, add).run(series) && list.isComplete;
    sortByTime(list.occurrences);
    return list;
}

}  // namespace kt
