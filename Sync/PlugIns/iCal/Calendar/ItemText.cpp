#include "Sync/PlugIns/iCal/Calendar/ItemText.h"

#include "Sync/HostInterface/Guard.h"
#include "Sync/PlugIns/iCal/Calendar/ComponentText.h"
#include "Sync/PlugIns/iCal/Calendar/FileLines.h"
#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncEvent.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncTask.h"

namespace kt {

namespace {

constexpr std::string_view kBeginTask = "BEGIN:VTODO\r\n";

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

bool isCompletedAtNoKnownTime(const Dictionary& task)
{
    return !task.contains("CompletedDate") &&
           guardedOr([&] { return task["Completed"].boolValue(); },
                     [](const Exception&) { return false; });
}

std::string fullTextOfRecord(KTSyncPluginHelper* pluginHelper, std::string_view conduit,
                             const std::string& key, const Dictionary& record, std::string_view uid)
{
    std::string text = textOfRecord(pluginHelper, conduit, key, record, uid);
    if (text.starts_with(kBeginTask) && isCompletedAtNoKnownTime(record))
        text.insert(kBeginTask.size(), "STATUS:COMPLETED\r\n");
    return text;
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

std::string fullItemText(KTSyncPluginHelper* pluginHelper, const KTSyncRecord& record,
                         const std::string& uid)
{
    return fullTextOfRecord(pluginHelper, record.conduit(), record.recordKey(), record.record(),
                            uid);
}

std::optional<std::string> itemTextAsRead(KTSyncPluginHelper* pluginHelper,
                                          std::string_view component)
{
    const auto read = [&]() -> std::optional<std::string> {
        const ComponentText text(component);
        LineList lines = linesOf(text);
        if (text.begin() == kBeginTask)
            return fullTextOfRecord(
                pluginHelper, kConduitTask, "",
                KTSyncTask::syncTaskWithPluginHelper(pluginHelper, Value(""), lines)->syncRecord(),
                kAnyUID);
        return fullTextOfRecord(
            pluginHelper, kConduitEvent, "",
            KTSyncEvent::syncEventWithPluginHelper(pluginHelper, Value(""), lines)->syncRecord(),
            kAnyUID);
    };
    return guardedOr(read, [](const Exception&) -> std::optional<std::string> { return {}; });
}

}  // namespace kt
