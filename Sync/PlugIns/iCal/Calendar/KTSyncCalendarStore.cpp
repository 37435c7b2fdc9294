#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarStore.h"

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/PlugIns/iCal/Calendar/HostAndSystemLog.h"
#include "Sync/PlugIns/iCal/Calendar/StorePaths.h"

namespace kt {

namespace {

constexpr int kMacOS104 = 4;
constexpr int kMacOS105 = 5;

/// Most exceptions carry no user information, which is nil.
Value userInfo(const Exception& exception)
{
    return exception.userInfo().empty() ? Value() : Value(exception.userInfo());
}

}  // namespace

std::shared_ptr<KTSyncCalendarStore> KTSyncCalendarStore::calendarStoreWithPluginHelper(
    KTSyncPluginHelper* pluginHelper)
{
    return std::make_shared<KTSyncCalendarStore>(pluginHelper);
}

KTSyncCalendarStore::KTSyncCalendarStore(KTSyncPluginHelper* pluginHelper)
    : _pluginHelper(pluginHelper)
{}

std::optional<ParsedCalendars> KTSyncCalendarStore::calendars()
{
    return guardedOr(
        [&]() -> std::optional<ParsedCalendars> {
            switch (systemVersion()) {
            case kMacOS104:
                return calendars104();
            case kMacOS105:
                return calendars105();
            default:
                return ParsedCalendars();
            }
        },
        [&](const Exception& exception) -> std::optional<ParsedCalendars> {
            logToHostAndSystem(_pluginHelper, "KTSyncCalendarStore.calendars: %@, %@, %@",
                               exception.name(), userInfo(exception), exception.reason());
            return std::nullopt;
        });
}

std::optional<KTSyncCalendarStore::Calendars> KTSyncCalendarStore::calendarsList()
{
    const auto parsed = calendars();
    if (!parsed)
        return std::nullopt;
    Calendars list;
    list.reserve(parsed->size());
    for (const auto& entry : *parsed)
        list.push_back(entry.second);
    return list;
}

bool KTSyncCalendarStore::storeCalendars(const Calendars& calendars)
{
    return guardedOr(
        [&] {
            switch (systemVersion()) {
            case kMacOS104:
                return write104Calendars(calendars);
            case kMacOS105:
                // Whatever the writer says: only an exception makes this layout fail.
                write105Calendars(calendars);
                return true;
            default:
                return true;
            }
        },
        [&](const Exception& exception) {
            logToHostAndSystem(_pluginHelper, "KTSyncCalendarStore.storeCalendars: %@, %@, %@",
                               exception.name(), userInfo(exception), exception.reason());
            return false;
        });
}

bool KTSyncCalendarStore::fileManager(FileManager&, const Dictionary& error)
{
    logToHostAndSystem(_pluginHelper, "filemanager error: %@", error);
    return error["Error"] == Value("Error removing");
}

int KTSyncCalendarStore::systemVersion() const
{
    return _pluginHelper == nullptr ? 0 : _pluginHelper->macOSVersion();
}

std::optional<ParsedCalendars> KTSyncCalendarStore::calendars105()
{
    ParsedCalendars parsed;
    const std::string root = StorePaths::calendarsFolder();
    if (!isDirectoryAtPath(root)) {
        logToHostAndSystem(_pluginHelper,
                           "Es gibt keine Kalender, evtl. wurde iCal noch nie gestartet");
        createPath(root);
    }
    parseMacOS105CalendarsAtPath(root, parsed, false, std::nullopt);
    return parsed;
}

}  // namespace kt
