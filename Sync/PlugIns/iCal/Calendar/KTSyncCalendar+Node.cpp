// What a store keeps of a calendar itself: its node, with publishing and subscription settings.

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"

namespace kt {

namespace {

constexpr int kFormat104 = 4;
constexpr int kFormat105 = 5;

// What 10.5 takes over of a subscription that 10.4 archived.
constexpr std::array<std::string_view, 5> kArchivedSettings{"RemoteURL", "AutoRefresh",
                                                            "RefreshInterval", "LastRefreshDate",
                                                            "Filter"};

/// 0 for settings of neither key set.
int publisherFormat(const Dictionary& publisher)
{
    if (publisher.contains("UploadURL"))
        return kFormat104;
    return publisher.contains("PublicationURL") ? kFormat105 : 0;
}

/// What is published, as 10.4 counts it, from the three switches of 10.5.
int publisherFilter(const Dictionary& publisher)
{
    const bool alarms = publisher["AlarmFilter"].boolValue();
    const bool tasks = publisher["TaskFilter"].boolValue();
    const bool text = publisher["TextFilter"].boolValue();
    if (alarms && text)
        return tasks ? 0 : 1;
    if (alarms && !tasks)
        return 3;
    if (!alarms && tasks && text)
        return 4;
    return 5;
}

void setRenamed(Dictionary& target, std::string_view key, const Dictionary& source,
                std::string_view sourceKey)
{
    target.setIfPresent(key, source[sourceKey]);
}

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

}  // namespace

Dictionary KTSyncCalendar::iCalNode() const
{
    switch (systemVersion()) {
    case 4:
        return iCalNode104();
    case 5:
        return iCalNode105();
    default:
        return {};
    }
}

Dictionary KTSyncCalendar::iCalNode104() const
{
    Dictionary node;
    guarded(
        fileLogger(), "[KTSyncCalendar iCalNode(104)]:\n%@\n%@", [&] { return node.description(); },
        [&] {
            const bool isGroup = _calendarType == kCalendarTypeGroup;
            node.setIfPresent("Key", recordKey());
            node.setIfPresent("ThemeColor", _color);
            node.set("Selection", _selected);
            if (isGroup) {
                node.setIfPresent("Title", _title);
                node.setIfPresent("Notes", _notes);
            }
            node.set("Type", isGroup ? "CALNamedGroupNode" : "CALSourceNode");
            if (isGroup)
                node.set("Expanded", _expanded);
            else
                node.setIfPresent("SourceKey", _sourceKey);
            if (auto publisher = publisherForNode(kFormat104))
                node.set("Publishers", Array{std::move(*publisher)});
        });
    return node;
}

Dictionary KTSyncCalendar::iCalNode105() const
{
    Dictionary node;
    guarded(
        fileLogger(), "[KTSyncCalendar iCalNode(105)]:\n%@\n%@", [&] { return node.description(); },
        [&] {
            node.set("Key", sourceKey());
            node.set("Color", _color);
            node.set("Order", _order);
            node.set("Title", _title);
            node.set("Checked", _selected);
            if (_calendarType == kCalendarTypeGroup)
                node.set("Expanded", _expanded);
            else
                node.set("AlarmsDisabled", _alarmsDisabled);
            node.set("Notes", _notes);
            node.set("Type", nodeType105(_calendarType));
            if (auto publication = publisherForNode(kFormat105))
                node.set("Publication", std::move(*publication));
            addSubscription105(node);
        });
    return node;
}

/// Nullopt when there are none, and when they have no form in that layout.
std::optional<Dictionary> KTSyncCalendar::publisherForNode(int format) const
{
    if (_publisher.isNil())
        return std::nullopt;
    const Dictionary& publisher = _publisher.dictionary();
    auto converted = convertPublisher(publisher, format);
    if (!converted || (converted->empty() && !publisher.empty())) {
        const LossScope scope(_title.value_or(""), "");
        reportLoss(KTLoss::Kind::curtailed,
                   "Die Veröffentlichung hat in dieser Ablage keine Form und wird nicht "
                   "geschrieben");
    }
    return converted;
}

void KTSyncCalendar::addSubscription105(Dictionary& node) const
{
    const LossScope scope(_title.value_or(""), "");
    if (_subscriber.isDictionary() && _subscriber.dictionary().contains("SubscriptionURL")) {
        tellReplacedSettings(node);
        node.merge(_subscriber.dictionary());
        return;
    }
    const bool hasOtherSettings = !_subscriber.isNil() && _subscriber != Value(Dictionary());
    const bool isWhole = _subscriberData.isNil() || addArchivedSubscription105(node);
    if (hasOtherSettings || !isWhole)
        reportLoss(KTLoss::Kind::curtailed,
                   "Das Abo hat in dieser Ablage nicht in allem eine Form und wird nicht "
                   "vollständig geschrieben");
}

/// All entries of a subscription go into the node last and win over the calendar's own. No store
/// gives entries of such names, so they come from elsewhere and are worth a line.
void KTSyncCalendar::tellReplacedSettings(const Dictionary& node) const
{
    for (const auto& [key, value] : _subscriber.dictionary()) {
        if (!node.contains(key) || node[key] == value)
            continue;
        logMsg(_pluginHelper, "Kalender '%@': das Abo ersetzt den Eintrag '%@'", _title, key);
        reportLoss(KTLoss::Kind::curtailed,
                   stringWithFormat("Das Abo ersetzt den Eintrag '%@' des Kalenders", key));
    }
}

/// The subscription is one of 10.4's, which keeps it as an archive. False when something of it
/// stays behind.
bool KTSyncCalendar::addArchivedSubscription105(Dictionary& node) const
{
    const auto archived = unarchiveObjectWithData(_subscriberData.data().bytes);
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

std::optional<Dictionary> KTSyncCalendar::convertPublisher(const Dictionary& publisher,
                                                           int toFormat) const
{
    const int format = publisherFormat(publisher);
    if (format == 0 || (toFormat != kFormat104 && toFormat != kFormat105))
        return Dictionary();
    if (format == toFormat)
        return publisher;
    if (format == kFormat104)
        return std::nullopt;

    Dictionary converted;
    const auto convert = [&] {
        // Without a source key of its own the calendar's node has none either; whoever reads it
        // takes its "Key", the record key, as this does.
        Array sources;
        appendTo(sources, sourceKey());
        converted.set("Sources", std::move(sources));
        converted.set("Type", "CALURLPublisher");
        setRenamed(converted, "AutoUpdate", publisher, "AutoPublish");
        setRenamed(converted, "LastUpdateDate", publisher, "PublishDate");
        setRenamed(converted, "PublishName", publisher, "Name");
        setRenamed(converted, "UploadURL", publisher, "PublicationURL");
        converted.set("Filter", publisherFilter(publisher));
        return converted;
    };
    return guardedOr(convert, [&](const Exception& exception) {
        logTo(fileLogger(), "[KTSyncCalendar convertPublisherToFormat(105->104)]:\n%@\n%@",
              publisher, exception.description());
        return converted;
    });
}

}  // namespace kt
