#include "Sync/PlugIns/iCal/Calendar/StoreEdits.h"

#include <utility>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/HostInterface/KTLossReport.h"

namespace kt {

void StoreEdits::write(std::string path, std::string bytes, std::string calendarTitle)
{
    _paths.insert(path);
    _writes.push_back({std::move(path), std::move(bytes), std::move(calendarTitle)});
}

void StoreEdits::takeOut(std::string path, std::string bytes, std::string calendarTitle)
{
    _paths.insert(path);
    _takings.push_back({std::move(path), std::move(bytes), std::move(calendarTitle)});
}

void StoreEdits::remove(std::string path, std::string calendarTitle)
{
    _removed.insert(path);
    _removals.push_back({std::move(path), std::move(calendarTitle)});
}

bool StoreEdits::apply(KTSyncPluginHelper* pluginHelper) const
{
    return applyAll(_writes, pluginHelper) && applyAll(_takings, pluginHelper) &&
           applyAll(_removals, pluginHelper);
}

template <class Edit>
bool StoreEdits::applyAll(const std::vector<Edit>& edits, KTSyncPluginHelper* pluginHelper)
{
    bool isDone = true;
    for (const Edit& edit : edits)
        isDone = apply(edit, pluginHelper) && isDone;
    return isDone;
}

bool StoreEdits::apply(const Write& write, KTSyncPluginHelper* pluginHelper)
{
    FileManager& files = FileManager::defaultManager();
    createPath(stringByDeletingLastPathComponent(write.path));
    if (files.writeAtomically(write.bytes, write.path))
        return true;
    logMsg(pluginHelper, "'%@' konnte nicht geschrieben werden", write.path);
    const LossScope scope(write.title, write.path);
    reportLoss(KTLoss::Kind::unwritten, "Datei konnte nicht geschrieben werden");
    return false;
}

bool StoreEdits::apply(const Removal& removal, KTSyncPluginHelper* pluginHelper)
{
    FileManager& files = FileManager::defaultManager();
    if (files.removeFileAtPath(removal.path) || !files.linkStatusAtPath(removal.path))
        return true;
    logMsg(pluginHelper, "'%@' konnte nicht entfernt werden", removal.path);
    const LossScope scope(removal.title, removal.path);
    reportLoss(KTLoss::Kind::unwritten, "Was gelöscht wurde, konnte nicht entfernt werden");
    return false;
}

}  // namespace kt
