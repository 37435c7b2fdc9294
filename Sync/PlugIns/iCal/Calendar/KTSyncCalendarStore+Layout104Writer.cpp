#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/HostAndSystemLog.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarStore.h"
#include "Sync/PlugIns/iCal/Calendar/NodeTree104.h"
#include "Sync/PlugIns/iCal/Calendar/StorePaths.h"

namespace kt {

/// One rewrite of the store. The old one is copied to the plug-in's folder and moved aside within
/// iCal's; the node file is exchanged last, since without it iCal knows none of the calendars.
class KTSyncCalendarStore::Layout104Writer {
public:
    explicit Layout104Writer(KTSyncCalendarStore& store)
        : _store(store),
          _pluginHelper(store._pluginHelper),
          _files(FileManager::defaultManager()),
          _nodes(store._pluginHelper)
    {}

    /// Saves the old folder of calendars and puts an empty one in its place. False when that could
    /// not be made; then the old one is back.
    bool renewSources() const;
    /// Writes the calendar's items and notes its node.
    void prepare(KTSyncCalendar& calendar);
    /// Writes the new node file to the plug-in's folder.
    bool writeNodeFile() const;
    /// Saves the old node file and puts the new one in its place. After a failure to move or
    /// replace it the old store is back.
    bool replaceNodeFile() const;

private:
    void saveSources() const;
    bool isRefused(const KTSyncCalendar& calendar) const;
    void storeItems(KTSyncCalendar& calendar);
    void restore(const std::string& oldNodeFile) const;
    void log(std::string_view line) const { logToHostAndSystem(_pluginHelper, line); }

    KTSyncCalendarStore& _store;  // is asked when copying or moving a folder fails
    KTSyncPluginHelper* _pluginHelper;
    FileManager& _files;
    NodeTree104 _nodes;
    std::unordered_set<std::string> _folders;  // written so far
};

bool KTSyncCalendarStore::write104Calendars(const Calendars& calendars)
{
    createPath(StorePaths::iCalFolder());
    createPath(StorePaths::pluginFolder());

    Layout104Writer writer(*this);
    if (!writer.renewSources())
        return false;
    for (const auto& calendar : calendars)
        writer.prepare(*calendar);
    if (!writer.writeNodeFile() || !writer.replaceNodeFile())
        return false;
    if (!FileManager::defaultManager().synchronizeFileSystem(StorePaths::iCalFolder()))
        logToHostAndSystem(_pluginHelper, "Das Dateisystem konnte nicht synchronisiert werden: %@",
                           StorePaths::iCalFolder());
    return true;
}

void KTSyncCalendarStore::Layout104Writer::saveSources() const
{
    _files.removeFileAtPath(StorePaths::sourcesBackup(), &_store);
    if (!_files.copyPath(StorePaths::sources(), StorePaths::sourcesBackup(), &_store))
        log("Fehler (1): 'Sources' konnte nicht gesichert werden");

    _files.removeFileAtPath(StorePaths::sourcesAside());
    if (!_files.movePath(StorePaths::sources(), StorePaths::sourcesAside(), &_store))
        log("Fehler (2): 'Sources' konnte nicht gesichert/verschoben werden");
}

bool KTSyncCalendarStore::Layout104Writer::renewSources() const
{
    saveSources();
    if (_files.createDirectoryAtPath(StorePaths::sources()))
        return true;
    log("Fehler (3): 'Sources' konnte nicht neu angelegt werden");
    if (!_files.movePath(StorePaths::sourcesAside(), StorePaths::sources(), &_store))
        log("Fehler (3): 'Sources' konnte nicht zurueckkopiert werden");
    return false;
}

void KTSyncCalendarStore::Layout104Writer::prepare(KTSyncCalendar& calendar)
{
    const bool isGroup = calendar.calendarType() == kCalendarTypeGroup;
    const auto prepareNode = [&] {
        if (!isGroup && isRefused(calendar))
            return;
        if (!isGroup)
            storeItems(calendar);
        Dictionary node = calendar.iCalNode();
        const std::optional<std::string> recordKey = calendar.recordKey();
        const std::optional<std::string>& parent = calendar.parentRecordKey();
        const bool isMember = parent && parent != recordKey;
        _nodes.add(std::move(node),
                   isGroup ? std::string(Value(recordKey).string()) : std::optional<std::string>(),
                   isMember ? parent : std::nullopt, calendar.title().value_or(""));
    };
    guardedOr(prepareNode, [&](const Exception& exception) {
        logTo(_pluginHelper == nullptr ? nullptr : _pluginHelper->fileLogger(),
              "[KTSyncCalendarStore write104Calendars]:\n%@\n%@", calendar.description(),
              exception);
        throw;
    });
}

/// A calendar whose key names no folder of the store has no place in it: its node would lead iCal,
/// and the next reading, out of the store.
bool KTSyncCalendarStore::Layout104Writer::isRefused(const KTSyncCalendar& calendar) const
{
    const std::optional<std::string> sourceKey = calendar.sourceKey();
    if (calendar.corestoragePath() || !sourceKey || StorePaths::isFolderKey(*sourceKey))
        return false;
    const LossScope scope(calendar.title().value_or(""), "");
    reportLoss(KTLoss::Kind::curtailed,
               "Der Kalender wird nicht geschrieben: sein Schlüssel ist kein Ordnername");
    return true;
}

void KTSyncCalendarStore::Layout104Writer::storeItems(KTSyncCalendar& calendar)
{
    const std::optional<std::string> folder = calendar.corestoragePath();
    const LossScope scope(calendar.title().value_or(""), folder.value_or(""));
    if (folder && !_folders.insert(*folder).second)
        reportLoss(KTLoss::Kind::curtailed,
                   "Zwei Kalender haben denselben Ordner, der spätere gilt");
    if (!calendar.storeEventsAndTasks())
        reportLoss(KTLoss::Kind::unwritten,
                   "Die Ereignisse und Aufgaben konnten nicht vollständig geschrieben werden");
}

bool KTSyncCalendarStore::Layout104Writer::writeNodeFile() const
{
    if (writeDictionaryToFile(_nodes.nodeFile(), StorePaths::newNodeFile()))
        return true;
    log("Fehler: Die nodes.plist fuer iCal konnte nicht zurueckgeschrieben werden");
    return false;
}

bool KTSyncCalendarStore::Layout104Writer::replaceNodeFile() const
{
    _files.removeFileAtPath(StorePaths::nodeFileBackup());
    if (!_files.copyPath(StorePaths::nodeFile(), StorePaths::nodeFileBackup(), &_store)) {
        log("Fehler: Die nodes.plist von iCal konnte nicht gesichert werden");
        return false;
    }
    _files.removeFileAtPath(StorePaths::nodeFileAside());
    if (!_files.movePath(StorePaths::nodeFile(), StorePaths::nodeFileAside(), &_store)) {
        log("Fehler: Die nodes.plist von iCal konnte nicht verschoben werden");
        restore(StorePaths::nodeFileBackup());  // there is no other copy beside it yet
        return false;
    }
    if (!_files.copyPath(StorePaths::newNodeFile(), StorePaths::nodeFile(), &_store)) {
        log("Fehler: Die nodes.plist fuer iCal konnte nicht ersetzt werden");
        restore(StorePaths::nodeFileAside());
        return false;
    }
    return true;
}

void KTSyncCalendarStore::Layout104Writer::restore(const std::string& oldNodeFile) const
{
    _files.removeFileAtPath(StorePaths::sources());
    _files.movePath(StorePaths::sourcesAside(), StorePaths::sources(), &_store);
    _files.removeFileAtPath(StorePaths::nodeFile());
    _files.movePath(oldNodeFile, StorePaths::nodeFile(), &_store);
}

}  // namespace kt
