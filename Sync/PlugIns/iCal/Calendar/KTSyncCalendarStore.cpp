#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarStore.h"

#include "Sync/HostInterface/Guard.h"
#include "Sync/PlugIns/iCal/Calendar/HostAndSystemLog.h"
#include "Sync/PlugIns/iCal/Calendar/Layout104.h"
#include "Sync/PlugIns/iCal/Calendar/Layout105.h"

namespace kt {

namespace {

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
            const auto layout = StoreLayout::ofHost(_pluginHelper);
            return layout ? layout->read(*this) : ParsedCalendars();
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
    return store([&](const StoreLayout& layout) { return layout.write(*this, calendars); });
}

bool KTSyncCalendarStore::storeCalendarsCarefully(const CarefulStore& content)
{
    return store(
        [&](const StoreLayout& layout) { return layout.writeCarefully(_pluginHelper, content); });
}

template <class Write>
bool KTSyncCalendarStore::store(const Write& write)
{
    return guardedOr(
        [&] {
            const auto layout = StoreLayout::ofHost(_pluginHelper);
            return !layout || write(*layout);
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

void KTSyncCalendarStore::parseMacOS104CalendarsList(
    const Value& list, ParsedCalendars& intoParsedCalendars,
    const std::optional<std::string>& withParentRecordKey)
{
    Layout104().readNodes(_pluginHelper, list, intoParsedCalendars, withParentRecordKey);
}

bool KTSyncCalendarStore::write104Calendars(const Calendars& calendars)
{
    return Layout104().write(*this, calendars);
}

void KTSyncCalendarStore::parseMacOS105CalendarsAtPath(
    const std::string& path, ParsedCalendars& intoParsedCalendars, bool parentIsIMAPGroup,
    const std::optional<std::string>& parentIMAPGroupRecordKey)
{
    Layout105().readLevel(_pluginHelper, path, intoParsedCalendars, parentIsIMAPGroup,
                          parentIMAPGroupRecordKey);
}

bool KTSyncCalendarStore::write105Calendars(const Calendars& calendars)
{
    return Layout105().write(*this, calendars);
}

}  // namespace kt
