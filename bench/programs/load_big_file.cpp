// Loads the big file of a home that `make_store --big` left, in one of several ways, and prints how
// many events there were, how many bytes the file has, and the seconds of processor time and of the
// clock that it took from opening the file on. One way a process, so that each has a peak of its
// own.

#include <chrono>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <string>

#include <libical/ical.h>
#include <sys/resource.h>

#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Platform.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "bench/support/BigFileHome.h"
#include "bench/support/QuietHost.h"

namespace kt::bench {

namespace {

double processorSeconds()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// What is loaded stays until the program ends: no way is charged for letting go.
int readOnly(const std::string& home)
{
    static auto text = FileManager::defaultManager().contentsAtPath(BigFileHome::itemsFile(home));
    return text ? 0 : -1;
}

int parseWithLibical(const std::string& home)
{
    const auto text = FileManager::defaultManager().contentsAtPath(BigFileHome::itemsFile(home));
    static icalcomponent* calendar = ::icalparser_parse_string(text->c_str());
    return ::icalcomponent_count_components(calendar, ICAL_VEVENT_COMPONENT);
}

int loadCalendar(const std::string&)
{
    static QuietHost host(4);
    static const auto calendar =
        KTSyncCalendar::syncCalendarWithPluginHelper(&host, 0, BigFileHome::sourceKey(),
                                                     std::nullopt);
    const auto* events = calendar->events();
    return events == nullptr ? -1 : static_cast<int>(events->size());
}

int run(const std::string& way, const std::string& home)
{
    static const std::map<std::string, std::function<int(const std::string&)>> kWays{
        {"read", readOnly}, {"libical", parseWithLibical}, {"calendar", loadCalendar}};
    const auto load = kWays.find(way);
    if (load == kWays.end())
        return 2;
    Platform::shared().setHomeDirectory(home);
    Platform::shared().setConsoleLog([](std::string_view) {});
    const auto start = std::chrono::steady_clock::now();
    const double startOfProcessor = processorSeconds();
    const int events = load->second(home);
    const double processor = processorSeconds() - startOfProcessor;
    const std::chrono::duration<double> clock = std::chrono::steady_clock::now() - start;
    const auto status = FileManager::defaultManager().statusAtPath(BigFileHome::itemsFile(home));
    std::cout << events << " " << (status ? status->size : 0) << " " << processor << " "
              << clock.count() << std::endl;
    ::_exit(events < 0 ? 1 : 0);  // nobody waits for the memory
}

}  // namespace

}  // namespace kt::bench

int main(int argumentCount, char** arguments)
{
    if (argumentCount == 3 && kt::bench::run(arguments[1], arguments[2]) != 2)
        return 0;
    std::cerr << "load_big_file read|libical|calendar HOME\n";
    return 2;
}
