// Replaces the store, with backups and a way back.

#include <unordered_set>
#include <utility>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/HostAndSystemLog.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarStore.h"
#include "Sync/PlugIns/iCal/Calendar/Layout104.h"
#include "Sync/PlugIns/iCal/Calendar/NodeTree104.h"

namespace kt {

/// One rewrite of the store. The old one is copied to the plug-in's folder and moved aside within
/// iCal's; the node file is exchanged last, since without it iCal knows none of the calendars.
class Layout104::Writer {
public:
    Writer(const StorePaths& paths, KTSyncCalendarStore& store)
        : _paths(paths),
          _store(store),
          _pluginHelper(store.pluginHelper()),
          _files(FileManager::defaultManager()),
          _nodes(store.pluginHelper())
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

    const StorePaths& _paths;
    KTSyncCalendarStore& _store;  // is asked when copying or moving a folder fails
    KTSyncPluginHelper* _pluginHelper;
    FileManager& _files;
    NodeTree104 _nodes;
    std::unordered_set<std::string> _folders;  // written so far
};

bool Layout104::write(KTSyncCalendarStore& store, const Calendars& calendars) const
{
    createPath(paths().iCalFolder());
    createPath(paths().pluginFolder());

    Writer writer(paths(), store);
    if (!writer.renewSources())
        return false;
    for (const auto& calendar : calendars)
        writer.prepare(*calendar);
    if (!writer.writeNodeFile() || !writer.replaceNodeFile())
        return false;
    if (!FileManager::defaultManager().synchronizeFileSystem(paths().iCalFolder()))
        logToHostAndSystem(store.pluginHelper(),
                           "Das Dateisystem konnte nicht synchronisiert werden: %@",
                           paths().iCalFolder());
    return true;
}

void Layout104::Writer::saveSources() const
{
    _files.removeFileAtPath(_paths.sourcesBackup(), &_store);
    if (!_files.copyPath(_paths.sources(), _paths.sourcesBackup(), &_store))
        log("Fehler (1): 'Sources' konnte nicht gesichert werden");

    _files.removeFileAtPath(_paths.sourcesAside());
    if (!_files.movePath(_paths.sources(), _paths.sourcesAside(), &_store))
        log("Fehler (2): 'Sources' konnte nicht gesichert/verschoben werden");
}

bool Layout104::Writer::renewSources() const
{
    saveSources();
    if (_files.createDirectoryAtPath(_paths.sources()))
        return true;
    log("Fehler (3): 'Sources' konnte nicht neu angelegt werden");
    if (!_files.movePath(_paths.sourcesAside(), _paths.sources(), &_store))
        log("Fehler (3): 'Sources' konnte nicht zurueckkopiert werden");
    return false;
}

void Layout104::Writer::prepare(KTSyncCalendar& calendar)
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
bool Layout104::Writer::isRefused(const KTSyncCalendar& calendar) const
{
    const std::optional<std::string> sourceKey = calendar.sourceKey();
    if (calendar.corestoragePath() || !sourceKey || StorePaths::isFolderKey(*sourceKey))
        return false;
    const LossScope scope(calendar.title().value_or(""), "");
    reportLoss(KTLoss::Kind::curtailed,
               "Der Kalender wird nicht geschrieben: sein Schlüssel ist kein Ordnername");
    return true;
}

void Layout104::Writer::storeItems(KTSyncCalendar& calendar)
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

bool Layout104::Writer::writeNodeFile() const
{
    if (writeDictionaryToFile(_nodes.nodeFile(), _paths.newNodeFile()))
        return true;
    log("Fehler: Die nodes.plist fuer iCal konnte nicht zurueckgeschrieben werden");
    return false;
}

bool Layout104::Writer::replaceNodeFile() const
{
    _files.removeFileAtPath(_paths.nodeFileBackup());
    if (!_files.copyPath(_paths.nodeFile(), _paths.nodeFileBackup(), &_store)) {
        log("Fehler: Die nodes.plist von iCal konnte nicht gesichert werden");
        return false;
    }
    _files.removeFileAtPath(_paths.nodeFileAside());
    if (!_files.movePath(_paths.nodeFile(), _paths.nodeFileAside(), &_store)) {
        log("Fehler: Die nodes.plist von iCal konnte nicht verschoben werden");
        restore(_paths.nodeFileBackup());  // there is no other copy beside it yet
        return false;
    }
    if (!_files.copyPath(_paths.newNodeFile(), _paths.nodeFile(), &_store)) {
        log("Fehler: Die nodes.plist fuer iCal konnte nicht ersetzt werden");
        restore(_paths.nodeFileAside());
        return false;
    }
    return true;
}

void Layout104::Writer::restore(const std::string& oldNodeFile) const
{
    _files.removeFileAtPath(_paths.sources());
    _files.movePath(_paths.sourcesAside(), _paths.sources(), &_store);
    _files.removeFileAtPath(_paths.nodeFile());
    _files.movePath(oldNodeFile, _paths.nodeFile(), &_store);
}

}  // namespace kt
