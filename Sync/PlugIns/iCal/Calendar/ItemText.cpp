#include "Sync/PlugIns/iCal/Calendar/ItemText.h"

#include "Sync/HostInterface/Guard.h"
#include "Sync/PlugIns/iCal/Calendar/ComponentText.h"
#include "Sync/PlugIns/iCal/Calendar/FileLines.h"
#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncEvent.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncTask.h"

namespace kt {

namespace {

template <class Item>
std::string textOf(Item item, std::string_view uid)
{
    if (!item)
        return {};
    item->setUID(Value(uid));
    std::string text = item->iCalLines();
    joinCutLineEnds(text);
    return text;
}

std::string textOfRecord(KTSyncPluginHelper* pluginHelper, std::string_view conduit,
                         const std::string& key, const Dictionary& record, std::string_view uid)
{
    if (conduit == kConduitTask)
        return textOf(KTSyncTask::syncTaskWithPluginHelper(pluginHelper, key, record), uid);
    return textOf(KTSyncEvent::syncEventWithPluginHelper(pluginHelper, key, record), uid);
}

/// The lines inside a component.
LineList linesOf(const ComponentText& component)
{
    const char* const start = component.begin().data() + component.begin().size();
    const std::string_view inside(start, static_cast<std::size_t>(component.end().data() - start));
    return FileLines(inside).lines();
}

}  // namespace

std::string itemText(KTSyncPluginHelper* pluginHelper, const KTSyncRecord& record,
                     const std::string& uid)
{
    return textOfRecord(pluginHelper, record.conduit(), record.recordKey(), record.record(), uid);
}

std::optional<std::string> itemTextAsRead(KTSyncPluginHelper* pluginHelper,
                                          std::string_view component)
{
    const auto read = [&]() -> std::optional<std::string> {
        const ComponentText text(component);
        LineList lines = linesOf(text);
        if (text.begin() == "BEGIN:VTODO\r\n")
            return textOfRecord(
                pluginHelper, kConduitTask, "",
                KTSyncTask::syncTaskWithPluginHelper(pluginHelper, Value(""), lines)->syncRecord(),
                kAnyUID);
        return textOfRecord(
            pluginHelper, kConduitEvent, "",
            KTSyncEvent::syncEventWithPluginHelper(pluginHelper, Value(""), lines)->syncRecord(),
            kAnyUID);
    };
    return guardedOr(read, [](const Exception&) -> std::optional<std::string> { return {}; });
}

}  // namespace kt
