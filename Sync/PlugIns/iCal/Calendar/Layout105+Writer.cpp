// Replaces the store, after a copy of it was made.

#include <unordered_map>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/HostAndSystemLog.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarStore.h"
#include "Sync/PlugIns/iCal/Calendar/Layout105.h"

namespace kt {

/// One rewrite of the store. A group's member list is complete only when every calendar has been
/// seen, so the Info.plist files wait until then.
class Layout105::Writer {
public:
    Writer(const StorePaths& paths, KTSyncPluginHelper* pluginHelper)
        : _paths(paths),
          _pluginHelper(pluginHelper)
    {}

    /// Copies the old store aside, then removes its calendars and groups.
    void removeOldCalendars() const;
    /// Writes the calendar's items and notes what its Info.plist is to hold.
    void prepare(KTSyncCalendar& calendar);
    void writeInfoFiles() const;

private:
    struct InfoFile {
        std::string path;
        Dictionary info;
        std::optional<std::string> groupRecordKey;  // of a group, whose members are still to come
    };

    void storeItems(KTSyncCalendar& calendar, const std::optional<std::string>& folder) const;
    void joinGroup(KTSyncCalendar& calendar, const std::string& recordKey, const Value& key);
    std::optional<std::string> folderForKey(KTSyncCalendar& calendar,
                                            const std::string& recordKey) const;
    void await(InfoFile file);
    void writeInfoFile(const Dictionary& info, const std::string& path) const;

    const StorePaths& _paths;
    KTSyncPluginHelper* _pluginHelper;
    std::vector<InfoFile> _infoFiles;
    std::unordered_map<std::string, std::size_t> _positions;  // path to its place in _infoFiles
    std::unordered_map<std::string, Array> _groupMembers;     // group's record key to source keys
};

bool Layout105::write(KTSyncCalendarStore& store, const Calendars& calendars) const
{
    FileManager& files = FileManager::defaultManager();
    const std::string folder = paths().calendarsFolder();
    createPath(folder);
    createPath(paths().pluginFolder());

    Writer writer(paths(), store.pluginHelper());
    writer.removeOldCalendars();
    for (const auto& calendar : calendars)
        writer.prepare(*calendar);
    writer.writeInfoFiles();
    files.removeFileAtPath(paths().calendarCache());
    if (!files.synchronizeFileSystem(folder))
        logToHostAndSystem(store.pluginHelper(),
                           "Das Dateisystem konnte nicht synchronisiert werden: %@", folder);
    return true;
}

void Layout105::Writer::removeOldCalendars() const
{
    FileManager& files = FileManager::defaultManager();
    const std::string store = _paths.calendarsFolder();
    files.removeFileAtPath(_paths.calendarsBackup());
    // A store that is a link to another volume: a copy of the link would be the store itself.
    files.copyPath(realPath(store), _paths.calendarsBackup());
    createPath(store);
    for (const std::string& name : files.directoryContentsAtPath(store)) {
        if (!name.ends_with(StorePaths::calendarExtension) &&
            !name.ends_with(StorePaths::groupExtension))
            continue;
        NSLog("Loesche alten Kalender: %@", name);
        files.removeFileAtPath(stringByAppendingPathComponent(store, name));
    }
}

void Layout105::Writer::prepare(KTSyncCalendar& calendar)
{
    Value info;
    const auto prepareInfo = [&] {
        const std::optional<std::string> ownFolder = calendar.corestoragePath();
        storeItems(calendar, ownFolder);
        Dictionary node = calendar.iCalNode();
        info = node;
        const std::string recordKey(Value(calendar.recordKey()).string());
        const auto folder = ownFolder ? ownFolder : folderForKey(calendar, recordKey);
        if (!folder)
            return;
        // Items are looked for in the folder that the key names, so the two have to agree.
        if (!ownFolder)
            node.set("Key", recordKey);

        const bool isGroup = calendar.calendarType() == kCalendarTypeGroup;
        if (isGroup)
            _groupMembers.try_emplace(recordKey);
        joinGroup(calendar, recordKey, ownFolder ? calendar.sourceKey() : recordKey);
        createPath(*folder);
        await(InfoFile{StorePaths::infoFile(*folder), std::move(node),
                       isGroup ? std::optional(recordKey) : std::nullopt});
    };
    guardedOr(prepareInfo, [&](const Exception& exception) {
        logTo(_pluginHelper == nullptr ? nullptr : _pluginHelper->fileLogger(),
              "[KTSyncCalendarStore write105Calendars(info.plist)]:\n%@\n%@\n%@",
              calendar.description(), info, exception);
        throw;
    });
}

void Layout105::Writer::storeItems(KTSyncCalendar& calendar,
                                   const std::optional<std::string>& folder) const
{
    if (calendar.calendarType() == kCalendarTypeGroup || calendar.storeEventsAndTasks())
        return;
    const LossScope scope(calendar.title().value_or(""), folder.value_or(""));
    reportLoss(KTLoss::Kind::unwritten,
               "Die Ereignisse und Aufgaben konnten nicht vollständig geschrieben werden");
}

void Layout105::Writer::joinGroup(KTSyncCalendar& calendar, const std::string& recordKey,
                                  const Value& key)
{
    const std::optional<std::string>& parent = calendar.parentRecordKey();
    if (parent && *parent != recordKey)
        appendTo(_groupMembers[*parent], key);
}

/// Nullopt, after a line in the log, for a calendar whose keys name no folder of the store.
std::optional<std::string> Layout105::Writer::folderForKey(KTSyncCalendar& calendar,
                                                           const std::string& recordKey) const
{
    const std::string name = calendar.calendarType() == kCalendarTypeGroup
                                 ? StorePaths::groupFolderName105(recordKey)
                                 : StorePaths::calendarFolderName105(recordKey);
    if (StorePaths::isFolderKey(recordKey))
        return stringByAppendingPathComponent(_paths.calendarsFolder(), name);
    logMsg(_pluginHelper, "Kalender '%@' wird nicht geschrieben: '%@' ist kein Ordnername",
           calendar.title(), name);
    const LossScope scope(calendar.title().value_or(""), "");
    reportLoss(KTLoss::Kind::curtailed,
               "Der Kalender wird nicht geschrieben: sein Schlüssel ist kein Ordnername");
    return std::nullopt;
}

/// Of two calendars with one folder the later one's file is written.
void Layout105::Writer::await(InfoFile file)
{
    const auto [position, isNew] = _positions.try_emplace(file.path, _infoFiles.size());
    if (isNew) {
        _infoFiles.push_back(std::move(file));
        return;
    }
    const LossScope scope("", file.path);
    reportLoss(KTLoss::Kind::curtailed, "Zwei Kalender haben denselben Ordner, der spätere gilt");
    _infoFiles[position->second] = std::move(file);
}

void Layout105::Writer::writeInfoFiles() const
{
    for (const InfoFile& file : _infoFiles) {
        Dictionary info = file.info;
        if (file.groupRecordKey)
            info.set("Calendars", _groupMembers.at(*file.groupRecordKey));
        writeInfoFile(info, file.path);
    }
}

void Layout105::Writer::writeInfoFile(const Dictionary& info, const std::string& path) const
{
    if (writeDictionaryToFile(info, path))
        return;
    // The description is itself the format: a percent sign in a title takes effect.
    NSLog(info.description());
    NSLog("Fehler: Die Info.plist fuer den Kalender '%@' konnte nicht zurueckgeschrieben werden",
          path);
    logMsg(_pluginHelper, "Fehler: Die Info.plist fuer '%@' konnte nicht zurueckgeschrieben werden",
           path);
    const LossScope scope(info["Title"].isString() ? info["Title"].string() : "", path);
    reportLoss(KTLoss::Kind::unwritten, "Die Info.plist konnte nicht geschrieben werden");
}

}  // namespace kt
