// Publishing settings in the key sets of the two systems.

#include <string_view>

#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"

namespace kt {

namespace {

/// 0 for settings of neither key set.
int publisherFormat(const Dictionary& publisher)
{
    if (publisher.contains("UploadURL"))
        return kPublisherFormat104;
    return publisher.contains("PublicationURL") ? kPublisherFormat105 : 0;
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

}  // namespace

std::optional<Dictionary> KTSyncCalendar::convertPublisher(const Dictionary& publisher,
                                                           int toFormat) const
{
    const int format = publisherFormat(publisher);
    if (format == 0 || (toFormat != kPublisherFormat104 && toFormat != kPublisherFormat105))
        return Dictionary();
    if (format == toFormat)
        return publisher;
    if (format == kPublisherFormat104)
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

std::optional<Dictionary> KTSyncCalendar::publisherInFormat(int format) const
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

}  // namespace kt
