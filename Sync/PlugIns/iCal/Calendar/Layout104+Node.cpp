// A calendar's node in the node file.

#include "Sync/HostInterface/Guard.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/Layout104.h"

namespace kt {

Dictionary Layout104::node(const KTSyncCalendar& calendar) const
{
    Dictionary node;
    guarded(
        calendar.fileLogger(), "[KTSyncCalendar iCalNode(104)]:\n%@\n%@",
        [&] { return node.description(); },
        [&] {
            const bool isGroup = calendar.calendarType() == kCalendarTypeGroup;
            node.setIfPresent("Key", calendar.recordKey());
            node.setIfPresent("ThemeColor", calendar.color());
            node.set("Selection", calendar.selected());
            if (isGroup) {
                node.setIfPresent("Title", calendar.title());
                node.setIfPresent("Notes", calendar.ownNotes());
            }
            node.set("Type", isGroup ? "CALNamedGroupNode" : "CALSourceNode");
            if (isGroup)
                node.set("Expanded", calendar.expanded());
            else
                node.setIfPresent("SourceKey", calendar.ownSourceKey());
            if (auto publisher = calendar.publisherInFormat(kPublisherFormat104))
                node.set("Publishers", Array{std::move(*publisher)});
        });
    return node;
}

}  // namespace kt
