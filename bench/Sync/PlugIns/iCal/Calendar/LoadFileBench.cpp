// How fast, and in how much memory, one big file of the 10.4 layout is loaded: beside reading it
// from disk alone, and beside libical, which does less with it.

#include <cstddef>
#include <cstdint>

#include <benchmark/benchmark.h>
#include <libical/ical.h>

#include "Sync/Foundation/FileManager.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "bench/support/BigFileHome.h"
#include "bench/support/PeakMemory.h"
#include "bench/support/QuietHost.h"

namespace kt::bench {

namespace {

void setBytes(benchmark::State& state, const BigFileHome& home)
{
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(home.bytes()));
}

void ReadFileOnly(benchmark::State& state)
{
    const BigFileHome home(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(FileManager::defaultManager().contentsAtPath(home.file()));
    setBytes(state, home);
}

/// A tree of components and properties whose values have types.
void ParseFileWithLibical(benchmark::State& state)
{
    const BigFileHome home(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        const auto text = FileManager::defaultManager().contentsAtPath(home.file());
        icalcomponent* calendar = ::icalparser_parse_string(text->c_str());
        const int events = ::icalcomponent_count_components(calendar, ICAL_VEVENT_COMPONENT);
        if (static_cast<std::size_t>(events) != home.events())
            state.SkipWithError("not every event was parsed");
        ::icalcomponent_free(calendar);
    }
    setBytes(state, home);
}

/// Events with their dates, rules and alarms, keys of the sync engine included.
void LoadFile(benchmark::State& state)
{
    const BigFileHome home(static_cast<std::size_t>(state.range(0)));
    QuietHost host(4);
    std::size_t peak = 0;
    for (auto _ : state) {
        const PeakMemory memory;
        const auto calendar =
            KTSyncCalendar::syncCalendarWithPluginHelper(&host, 0, BigFileHome::sourceKey(),
                                                         std::nullopt);
        const auto* events = calendar->events();
        if (events == nullptr || events->size() != home.events())
            state.SkipWithError("not every event was loaded");
        peak = memory.bytes();
    }
    setBytes(state, home);
    // How often the file's size; the aim is below four.
    state.counters["peak/file"] = static_cast<double>(peak) / static_cast<double>(home.bytes());
}

BENCHMARK(ReadFileOnly)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(ParseFileWithLibical)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(LoadFile)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);

}  // namespace

}  // namespace kt::bench
