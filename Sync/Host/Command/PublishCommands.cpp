#include <memory>
#include <utility>

#include <nlohmann/json.hpp>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Host/Command/ChosenCalendar.h"
#include "Sync/Host/Command/Commands.h"
#include "Sync/Host/Command/Look.h"
#include "Sync/Host/Command/Output.h"
#include "Sync/Host/Engine/LastingKeys.h"
#include "Sync/Host/Publishing/HostSyncConnection.h"
#include "Sync/Host/Services/HostClasses.h"
#include "Sync/Host/Services/PluginPreferences.h"
#include "Sync/HostInterface/PublishingOptions.h"

namespace kt {

namespace {

const std::string kMainConduit(kConduitCalendar);
const std::vector<std::string> kSubConduits{std::string(kConduitEvent), std::string(kConduitTask)};

/// Throws for what cannot be made public.
std::string publishableTitle(const Dictionary& calendar)
{
    const std::string title = calendar["Title"].description();
    if (isGroup(calendar))
        throw Exception(NSGenericException,
                        stringWithFormat("'%@' ist eine Gruppe; nur einzelne Kalender lassen sich "
                                         "veröffentlichen.",
                                         title));
    if (calendar["Type"] == Value("BirthdayCalendar"))
        throw Exception(NSGenericException,
                        stringWithFormat("'%@' ist ein Geburtstagskalender; der bleibt privat.",
                                         title));
    return title;
}

void failWith(const KTSyncError& error)
{
    throw Exception(NSGenericException, error.localizedDescription);
}

std::shared_ptr<KTSyncConnection> connectionFor(Workplace& workplace)
{
    return HostSyncConnectionClass(workplace.place().serverURL,
                                   keysByState(workplace.suite().localStatePath()))
        .initForPlugin(nullptr, "icalsync", &workplace.fileLogger());
}

/// As the plug-in keeps it, so that its view shows the same.
void remember(Preferences& preferences, const std::string& key, bool isPublic,
              const PublishingOptions& options)
{
    Dictionary all = dictionaryPreference(preferences, kPublishedCalendarsPreference);
    all.set(key, Dictionary{{std::string(kPublicOption), isPublic ? 1 : 0},
                            {std::string(kPublishEventsOption), options.events ? 1 : 0},
                            {std::string(kPublishTasksOption), options.tasks ? 1 : 0},
                            {std::string(kAnonymizeOption), options.anonymous ? 1 : 0}});
    setPreference(preferences, kPublishedCalendarsPreference, std::move(all));
}

/// What is kept of the calendar; of one that nothing is kept of, what a new one gets.
Dictionary remembered(Preferences& preferences, const std::string& key)
{
    const Dictionary all = dictionaryPreference(preferences, kPublishedCalendarsPreference);
    const Value& entry = all[key];
    return entry.isDictionary() ? entry.dictionary()
                                : Dictionary{{std::string(kPublishEventsOption), 1}};
}

bool isSet(const Dictionary& remembered, std::string_view name)
{
    const Value& value = remembered[name];
    return value.isNumber() && value.boolValue();
}

/// What was chosen when the calendar was made public.
PublishingOptions rememberedOptions(Preferences& preferences, const std::string& key)
{
    const Dictionary entry = remembered(preferences, key);
    return {isSet(entry, kPublishEventsOption), isSet(entry, kPublishTasksOption),
            isSet(entry, kAnonymizeOption)};
}

bool isRememberedAsPublic(Preferences& preferences, const std::string& key)
{
    return isSet(remembered(preferences, key), kPublicOption);
}

}  // namespace

ExitCode publishCommand(const CommandLine& line, const Place& place)
{
    const PublishingOptions options{!line.leaveEventsOut, line.publishTasks, line.anonymize};
    if (!options.events && !options.tasks)
        throw Exception(NSGenericException,
                        "Ohne Ereignisse und Aufgaben gibt es nichts zu veröffentlichen.");
    Workplace workplace(place, line, Workplace::Access::change);
    const Look look(workplace);
    const std::string title =
        publishableTitle(chosenCalendar(look.contents(), line.calendarKey)->record());
    KTSyncError error;
    if (!connectionFor(workplace)->activatePublicSharingForMainConduit(kMainConduit, kSubConduits,
                                                                       "RO", line.calendarKey,
                                                                       options.text(), error))
        failWith(error);
    remember(workplace.preferences(), line.calendarKey, true, options);

    const std::string address =
        place.site.url() +
        pathOfCalendar(lastingCalendarKey(workplace.suite().localStatePath(), line.calendarKey));
    printResult(line.json ? jsonText({{"key", line.calendarKey},
                                      {"title", title},
                                      {"published", true},
                                      {"events", options.events},
                                      {"tasks", options.tasks},
                                      {"anonymized", options.anonymous},
                                      {"address", address}}) +
                                "\n"
                          : stringWithFormat("'%@' ist öffentlich: %@\n", title, address));
    return ExitCode::done;
}

ExitCode unpublishCommand(const CommandLine& line, const Place& place)
{
    // The calendar may be gone from the store: what is public has to be taken back all the same.
    Workplace workplace(place, line, Workplace::Access::change);
    Preferences& preferences = workplace.preferences();
    const auto connection = connectionFor(workplace);
    KTSyncError error;
    std::vector<Dictionary> sharings;
    if (!connection->listPublicSharings(sharings, kMainConduit, std::nullopt, line.calendarKey,
                                        error))
        failWith(error);
    if (sharings.empty() && !isRememberedAsPublic(preferences, line.calendarKey))
        throw Exception(NSGenericException,
                        stringWithFormat("Es gibt keinen öffentlichen Kalender mit dem Schlüssel "
                                         "\"%@\".",
                                         line.calendarKey));
    if (!connection->deactivatePublicSharingForMainConduit(kMainConduit, kSubConduits,
                                                           line.calendarKey, error))
        failWith(error);
    remember(preferences, line.calendarKey, false,
             rememberedOptions(preferences, line.calendarKey));
    printResult(line.json ? jsonText({{"key", line.calendarKey}, {"published", false}}) + "\n"
                          : std::string("Der Kalender ist nicht mehr öffentlich.\n"));
    return ExitCode::done;
}

}  // namespace kt
