#include "bench/support/BigFileHome.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Sync/Foundation/Platform.h"
#include "bench/support/GeneratedStore.h"

namespace kt::bench {

const char* BigFileHome::sourceKey() { return "6B0D7C9A-0000-4000-8000-000000000001"; }

std::string BigFileHome::itemsFile(const std::string& home)
{
    return home + "/Library/Application Support/iCal/Sources/" + sourceKey() +
           ".calendar/corestorage.ics";
}

BigFileHome::BigFileHome(std::size_t megabytes)
{
    std::string pattern =
        (std::filesystem::temp_directory_path() / "icalsync-bench-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
        std::abort();
    _home = pattern;
    Platform::shared().setHomeDirectory(_home);
    Platform::shared().setConsoleLog([](std::string_view) {});
    std::filesystem::create_directories(std::filesystem::path(file()).parent_path());

    constexpr std::size_t kMegabyte = 1000 * 1000;
    std::string events;
    for (; events.size() < megabytes * kMegabyte; ++_events)
        events += GeneratedStore::event(static_cast<int>(_events));
    std::ofstream(file(), std::ios::binary) << GeneratedStore::calendarFile(events);
    _bytes = std::filesystem::file_size(file());
}

BigFileHome::~BigFileHome()
{
    Platform::shared().reset();
    if (_keep)
        return;
    std::error_code ignored;
    std::filesystem::remove_all(_home, ignored);
}

}  // namespace kt::bench
