// What the Info.plist of a calendar or group holds.

#include <algorithm>
#include <array>
#include <string_view>

#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/Layout105.h"

namespace kt {

namespace {

// What 10.5 takes over of a subscription that 10.4 archived.
constexpr std::array<std::string_view, 5> kArchivedSettings{"RemoteURL", "AutoRefresh",
                                                            "RefreshInterval", "LastRefreshDate",
                                                            "Filter"};

bool isKnownSubscriptionFilter(const Value& setting)
{
    return (setting.isNumber() || setting.isString()) && setting.intValue() >= 0 &&
           setting.intValue() <= 3;
}

/// What a subscription leaves out, as 10.4 counts it, as the three switches of 10.5.
void setSubscriptionFilter(Dictionary& node, const Value& setting)
{
    if (!isKnownSubscriptionFilter(setting))
        return;
    const std::int32_t filter = setting.intValue();
    node.set("AlarmFilter", filter / 2);
    node.set("TaskFilter", filter % 2);
    node.set("AttachmentFilter", 0);
}

/// An archived setting as Info.plist can hold it, an address as its text. Nil for lists and
/// dictionaries: no setting of a subscription is one, and they may unfold to any size.
Value singleSetting(const Value& setting)
{
    if (const auto url = setting.objectOfClass<URL>())
        return url->description();
    const bool isSingle =
        setting.kind() != Value::Kind::object && !setting.isArray() && !setting.isDictionary();
    return isSingle ? setting : Value();
}

/// Whether nothing of an archived subscription is left behind in 10.5.
bool isTakenOverWhole(const Dictionary& settings)
{
    const auto isTaken = [](const Dictionary::Entry& entry) {
        return !singleSetting(entry.second).isNil() &&
               std::find(kArchivedSettings.begin(), kArchivedSettings.end(), entry.first) !=
                   kArchivedSettings.end();
    };
    return singleSetting(settings["RemoteURL"]).isString() &&
           (!settings.contains("Filter") || isKnownSubscriptionFilter(settings["Filter"])) &&
           std::all_of(settings.begin(), settings.end(), isTaken);
}

std::string_view nodeType105(std::int32_t calendarType)
{
    switch (calendarType) {
    case kCalendarTypeBirthday:
        return "Birthday";
    case kCalendarTypeSubscriber:
        return "Subscription";
    default:
        return "Local";
    }
}

/// All entries of a subscription go into the node last and win over the calendar's own. No store
/// gives entries of such names, so they come from elsewhere and are worth a line.
void tellReplacedSettings(const Dictionary& node, const KTSyncCalendar& calendar)
{
    for (const auto& [key, value] : calendar.subscriber().dictionary()) {
        if (!node.contains(key) || node[key] == value)
            continue;
        logMsg(calendar.pluginHelper(), "Kalender '%@': das Abo ersetzt den Eintrag '%@'",
               calendar.title(), key);
        reportLoss(KTLoss::Kind::curtailed,
                   stringWithFormat("Das Abo ersetzt den Eintrag '%@' des Kalenders", key));
    }
}

/// The subscription is one of 10.4's, which keeps it as an archive. False when something of it
/// stays behind.
bool addArchivedSubscription(Dictionary& node, const KTSyncCalendar& calendar)
{
    const auto archived = unarchiveObjectWithData(calendar.subscriberData().data().bytes);
    if (!archived || !archived->isDictionary())
        return false;
    const Dictionary& settings = archived->dictionary();
    if (const Value address = singleSetting(settings["RemoteURL"]); address.isString())
        node.set("SubscriptionURL", address);
    node.setIfPresent("AutoRefresh", singleSetting(settings["AutoRefresh"]));
    node.setIfPresent("RefreshInterval", singleSetting(settings["RefreshInterval"]));
    node.setIfPresent("RefreshDate", singleSetting(settings["LastRefreshDate"]));
    setSubscriptionFilter(node, settings["Filter"]);
    return isTakenOverWhole(settings);
}

void addSubscription(Dictionary& node, const KTSyncCalendar& calendar)
{
    const LossScope scope(calendar.title().value_or(""), "");
    if (calendar.subscriber().isDictionary() &&
        calendar.subscriber().dictionary().contains("SubscriptionURL")) {
        tellReplacedSettings(node, calendar);
        node.merge(calendar.subscriber().dictionary());
        return;
    }
    const bool hasOtherSettings =
        !calendar.subscriber().isNil() && calendar.subscriber() != Value(Dictionary());
    const bool isWhole =
        calendar.subscriberData().isNil() || addArchivedSubscription(node, calendar);
    if (hasOtherSettings || !isWhole)
        reportLoss(KTLoss::Kind::curtailed,
                   "Das Abo hat in dieser Ablage nicht in allem eine Form und wird nicht "
                   "vollständig geschrieben");
}

}  // namespace

Dictionary Layout105::node(const KTSyncCalendar& calendar) const
{
    Dictionary node;
    guarded(
        calendar.fileLogger(), "[KTSyncCalendar iCalNode(105)]:\n%@\n%@",
        [&] { return node.description(); },
        [&] {
            node.set("Key", calendar.sourceKey());
            node.set("Color", calendar.color());
            node.set("Order", calendar.order());
            node.set("Title", calendar.title());
            node.set("Checked", calendar.selected());
            if (calendar.calendarType() == kCalendarTypeGroup)
                node.set("Expanded", calendar.expanded());
            else
                node.set("AlarmsDisabled", calendar.alarmsDisabled());
            node.set("Notes", calendar.ownNotes());
            node.set("Type", nodeType105(calendar.calendarType()));
            if (auto publication = calendar.publisherInFormat(kPublisherFormat105))
                node.set("Publication", std::move(*publication));
            addSubscription(node, calendar);
        });
    return node;
}

}  // namespace kt
