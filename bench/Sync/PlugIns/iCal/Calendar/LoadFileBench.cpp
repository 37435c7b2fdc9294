// How fast, and in how much memory, one big file of the 10.4 layout is loaded: beside reading it
// from disk alone, and beside libical, which does less with it.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <benchmark/benchmark.h>
#include <libical/ical.h>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/StorePaths.h"
#include "bench/support/GeneratedStore.h"
#include "bench/support/PeakMemory.h"
#include "bench/support/QuietHost.h"

namespace kt::bench {

namespace {

constexpr const char* kSourceKey = "6B0D7C9A-0000-4000-8000-000000000001";

/// A home folder with one calendar of about that many megabytes in one file.
class HomeWithBigFile {
public:
    explicit HomeWithBigFile(std::int64_t megabytes)
    {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "icalsync-bench-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr)
            std::abort();
        _home = pattern;
        Platform::shared().setHomeDirectory(_home);
        Platform::shared().setConsoleLog([](std::string_view) {});
        const std::string folder = StorePaths::calendarFolder104(kSourceKey);
        std::filesystem::create_directories(folder);
        _file = StorePaths::itemsFile104(folder);
        write(static_cast<std::size_t>(megabytes) * 1000 * 1000);
    }
    ~HomeWithBigFile()
    {
        std::error_code ignored;
        std::filesystem::remove_all(_home, ignored);
        Platform::shared().reset();
    }
    HomeWithBigFile(const HomeWithBigFile&) = delete;
    HomeWithBigFile& operator=(const HomeWithBigFile&) = delete;

    const std::string& file() const { return _file; }
    std::size_t events() const { return _events; }
    std::size_t bytes() const { return _bytes; }

private:
    void write(std::size_t bytes)
    {
        std::string events;
        for (; events.size() < bytes; ++_events)
            events += GeneratedStore::event(static_cast<int>(_events));
        std::ofstream(_file, std::ios::binary) << GeneratedStore::calendarFile(events);
        _bytes = std::filesystem::file_size(_file);
    }

    std::string _home;
    std::string _file;
    std::size_t _events = 0;
    std::size_t _bytes = 0;
};

void setBytes(benchmark::State& state, const HomeWithBigFile& home)
{
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(home.bytes()));
}

void ReadFileOnly(benchmark::State& state)
{
    const HomeWithBigFile home(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(FileManager::defaultManager().contentsAtPath(home.file()));
    setBytes(state, home);
}

/// A tree of components and properties whose values have types.
void ParseFileWithLibical(benchmark::State& state)
{
    const HomeWithBigFile home(state.range(0));
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
    const HomeWithBigFile home(state.range(0));
    QuietHost host(4);
    std::size_t peak = 0;
    for (auto _ : state) {
        const PeakMemory memory;
        const auto calendar =
            KTSyncCalendar::syncCalendarWithPluginHelper(&host, 0, kSourceKey, std::nullopt);
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
