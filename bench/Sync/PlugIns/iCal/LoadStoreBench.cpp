// How much more than opening and reading its files the loading of a store costs.

#include <string>

#include <benchmark/benchmark.h>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/PlugIns/iCal/ICalHelper.h"
#include "bench/support/GeneratedStore.h"
#include "bench/support/QuietHost.h"

namespace kt::bench {

namespace {

void ReadFilesOnly(benchmark::State& state)
{
    const GeneratedStore store(static_cast<int>(state.range(0)));
    const std::string folder = store.eventsFolder();
    const auto& files = FileManager::defaultManager();
    for (auto _ : state) {
        std::size_t bytes = 0;
        for (const std::string& name : files.directoryContentsAtPath(folder))
            bytes += files.contentsAtPath(stringByAppendingPathComponent(folder, name))->size();
        benchmark::DoNotOptimize(bytes);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ReadFilesOnly)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

void LoadStoreIntoRecords(benchmark::State& state)
{
    const GeneratedStore store(static_cast<int>(state.range(0)));
    Platform::shared().setHomeDirectory(store.home());
    Platform::shared().setConsoleLog([](std::string_view) {});
    QuietHost host(5);
    for (auto _ : state) {
        std::int32_t calendars = 0, events = 0, tasks = 0, skippedCalendars = 0;
        Dictionary activated;
        RecordKeySet keysToSync, notSelected, notExpanded;
        SyncRecordList skipped;
        const auto records =
            ICalHelper::loadCalendarsWithPluginHelper(&host, calendars, events, tasks, activated,
                                                      keysToSync, skippedCalendars, skipped,
                                                      notSelected, notExpanded);
        if (!records || events != state.range(0))
            state.SkipWithError("not every event was loaded");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    Platform::shared().reset();
}
BENCHMARK(LoadStoreIntoRecords)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace

}  // namespace kt::bench
