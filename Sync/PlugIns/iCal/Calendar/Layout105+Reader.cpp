// Reads folders into calendars and groups.

#include <array>
#include <unordered_map>

#include "Sync/Additions/KTDictionaryAdditions.h"
#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/EmptyFolder.h"
#include "Sync/PlugIns/iCal/Calendar/HostAndSystemLog.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarStore.h"
#include "Sync/PlugIns/iCal/Calendar/Layout105.h"

namespace kt {

namespace {

constexpr std::array<std::string_view, 12> kSubscriberKeys{"AlarmFilter",       "AttachmentFilter",
                                                           "AutoRefresh",       "NeedsForcedUpdate",
                                                           "NeedsRefresh",      "RefreshDate",
                                                           "RefreshInterval",   "SubscriptionID",
                                                           "SubscriptionNotes", "SubscriptionTitle",
                                                           "SubscriptionURL",   "TaskFilter"};

bool isGroupName(std::string_view name) { return name.ends_with(StorePaths::groupExtension); }

/// IMAP account folders are not admitted.
bool isAdmittedName(std::string_view name)
{
    return isGroupName(name) || name.ends_with(StorePaths::calendarExtension);
}

std::int32_t calendarType(std::string_view name, const Dictionary& info)
{
    if (isGroupName(name))
        return kCalendarTypeGroup;
    if (info["Type"] == Value("Birthday"))
        return kCalendarTypeBirthday;
    return info["Type"] == Value("Subscription") ? kCalendarTypeSubscriber : kCalendarTypeNode;
}

/// The title for reports, which must not fail over a title of the wrong kind.
std::string titleForReports(const Dictionary& info)
{
    return info["Title"].isString() ? std::string(info["Title"].string()) : std::string();
}

void takeSubscription(KTSyncCalendar& calendar, const std::string& folder, const Dictionary& info)
{
    if (info.contains("SubscriptionURL")) {
        Dictionary subscriber;
        for (std::string_view key : kSubscriberKeys)
            setObjectFromDictionary(subscriber, info, key);
        calendar.setSubscriber(subscriber);
    }
    const std::string oldSubscription = StorePaths::oldSubscriptionFile(folder);
    const FileManager& files = FileManager::defaultManager();
    if (!files.fileExistsAtPath(oldSubscription))
        return;
    if (auto bytes = files.contentsAtPath(oldSubscription)) {
        calendar.setSubscriberData(Data{*std::move(bytes)});
    } else {
        const LossScope scope("", oldSubscription);
        reportLoss(KTLoss::Kind::thinned, "Die Abo-Beschreibung kann nicht gelesen werden");
    }
}

}  // namespace

/// One folder level while it is being read. Who belongs to which group is known only when both have
/// been read, in whichever order they come.
class Layout105::Level {
public:
    Level(KTSyncPluginHelper* pluginHelper, std::string path, ParsedCalendars& calendars,
          bool parentIsIMAPGroup, std::optional<std::string> parentIMAPGroupRecordKey)
        : _pluginHelper(pluginHelper),
          _path(std::move(path)),
          _calendars(calendars),
          _parentIsIMAPGroup(parentIsIMAPGroup),
          _parentIMAPGroupRecordKey(std::move(parentIMAPGroupRecordKey))
    {}

    void read()
    {
        for (const std::string& name : entries()) {
            if (isAdmittedName(name))
                readEntry(name);
        }
    }

private:
    std::vector<std::string> entries() const;
    void readEntry(const std::string& name);
    void readCalendar(const std::string& name, const Dictionary& info);
    std::shared_ptr<KTSyncCalendar> makeCalendar(const std::string& name,
                                                 const Dictionary& info) const;
    void takeSharing(KTSyncCalendar& calendar, const std::string& folder,
                     const Dictionary& info) const;
    void adoptMembers(const Value& memberSourceKeys, const std::string& groupRecordKey);
    void keep(const std::string& name, const std::string& recordKey,
              std::shared_ptr<KTSyncCalendar> calendar);

    KTSyncPluginHelper* _pluginHelper;
    std::string _path;
    ParsedCalendars& _calendars;
    bool _parentIsIMAPGroup;
    std::optional<std::string> _parentIMAPGroupRecordKey;

    std::unordered_map<std::string, std::string> _keysSeen;  // source key to record key
    std::unordered_map<std::string, std::string>
        _pendingParents;                                  // member to the group's record key
    std::unordered_map<std::string, std::string> _names;  // record key to the folder it came from
};

std::optional<ParsedCalendars> Layout105::read(KTSyncCalendarStore& store) const
{
    ParsedCalendars parsed;
    const std::string root = paths().calendarsFolder();
    if (!isDirectoryAtPath(root)) {
        logToHostAndSystem(store.pluginHelper(),
                           "Es gibt keine Kalender, evtl. wurde iCal noch nie gestartet");
        createPath(root);
    }
    readLevel(store.pluginHelper(), root, parsed, false, std::nullopt);
    return parsed;
}

void Layout105::readLevel(KTSyncPluginHelper* pluginHelper, const std::string& path,
                          ParsedCalendars& calendars, bool parentIsIMAPGroup,
                          const std::optional<std::string>& parentIMAPGroupRecordKey) const
{
    Level(pluginHelper, path, calendars, parentIsIMAPGroup, parentIMAPGroupRecordKey).read();
}

std::vector<std::string> Layout105::Level::entries() const
{
    const FileManager& files = FileManager::defaultManager();
    auto names = files.listDirectory(_path);
    if (!names && files.linkStatusAtPath(_path)) {
        const LossScope scope("", _path);
        reportLoss(KTLoss::Kind::unsafe, "Der Ordner kann nicht aufgelistet werden");
    }
    if (names && !names->empty())
        return *std::move(names);

    logToHostAndSystem(_pluginHelper,
                       "Es gibt keine Kalender, evtl. wurde iCal noch nie gestartet");
    createPath(_path);
    return {};
}

void Layout105::Level::readEntry(const std::string& name)
{
    const FileManager& files = FileManager::defaultManager();
    const std::string folder = stringByAppendingPathComponent(_path, name);
    const auto status = files.statusAtPath(folder);
    if (!status || status->kind != FileStatus::Kind::directory) {
        const LossScope scope("", folder);
        // A link to a volume that is away is no plain file: a calendar may stand behind it.
        if (!status && files.linkStatusAtPath(folder))
            reportUnread({KTLoss::Extent::calendar}, "Der Verweis führt zu keinem Ordner");
        else if (status && status->kind == FileStatus::Kind::unknown)
            reportUnread({KTLoss::Extent::calendar}, "Der Ordner kann nicht gelesen werden");
        return;
    }

    const auto info = dictionaryWithContentsOfFile(StorePaths::infoFile(folder));
    if (!info) {
        const LossScope scope("", StorePaths::infoFile(folder));
        if (!isEmptyFolder(folder))
            reportUnread({KTLoss::Extent::calendar}, "Die Info.plist kann nicht gelesen werden");
        return;
    }
    const LossScope scope(titleForReports(*info), folder);
    guardedOr([&] { readCalendar(name, *info); },
              [&](const Exception& exception) {
                  reportUnread({KTLoss::Extent::calendar},
                               stringWithFormat("Der Kalender kann nicht gelesen werden: %@",
                                                exception));
                  throw;
              });
}

void Layout105::Level::readCalendar(const std::string& name, const Dictionary& info)
{
    const std::shared_ptr<KTSyncCalendar> calendar = makeCalendar(name, info);
    if (!calendar) {
        logMsg(_pluginHelper, "Der Kalender konnte nicht ausgelesen werden: %@", info);
        reportUnread({KTLoss::Extent::calendar}, "Der Kalender konnte nicht ausgelesen werden");
        return;
    }
    const std::optional<std::string> recordKey = calendar->recordKey();
    if (!recordKey) {
        logMsg(_pluginHelper,
               "Fuer den Kalender konnte kein eindeutiger Schluessel generiert werden: %@", info);
        reportUnread({KTLoss::Extent::calendar}, "Der Kalender hat keinen Titel");
        return;
    }

    const std::optional<std::string> sourceKey = info["Key"].stringOrNil();
    if (sourceKey)
        _keysSeen[*sourceKey] = *recordKey;
    if (!isGroupName(name) &&
        name != sourceKey.value_or("") + std::string(StorePaths::calendarExtension))
        reportLoss(KTLoss::Kind::unsafe,
                   "Der Ordner heißt nicht wie der Schlüssel in seiner Info.plist");
    if (_parentIsIMAPGroup)
        calendar->setImapFolderKey(_parentIMAPGroupRecordKey);

    if (isGroupName(name) && info.contains("Calendars")) {
        adoptMembers(info["Calendars"], *recordKey);
    } else if (name.ends_with(StorePaths::imapExtension)) {
        // Waits for account folders to be admitted.
        Level(_pluginHelper, stringByAppendingPathComponent(_path, name), _calendars, true,
              sourceKey ? sourceKey : recordKey)
            .read();
    }
    if (sourceKey) {
        const auto parent = _pendingParents.find(*sourceKey);
        if (parent != _pendingParents.end())
            calendar->setParentRecordKey(parent->second);
    }
    keep(name, *recordKey, calendar);
    logMsg(_pluginHelper, "%@: '%@'",
           calendar->calendarType() == kCalendarTypeGroup ? "Gruppe" : "Kalender",
           calendar->title());
}

std::shared_ptr<KTSyncCalendar> Layout105::Level::makeCalendar(const std::string& name,
                                                               const Dictionary& info) const
{
    const std::int32_t order = info["Order"].intValue();
    const auto title = info["Title"].stringOrNil();
    const auto color = info["Color"].stringOrNil();
    const auto notes = info["Notes"].stringOrNil();
    const bool selected = info["Checked"].boolValue();
    const bool alarmsDisabled = info["AlarmsDisabled"].boolValue();
    const bool expanded = isGroupName(name) ? info["Expanded"].boolValue() : true;

    auto calendar =
        KTSyncCalendar::syncCalendarWithPluginHelper(_pluginHelper, calendarType(name, info),
                                                     info["Key"].stringOrNil(), std::nullopt);
    if (!calendar)
        return nullptr;
    calendar->setStoredFolder(stringByAppendingPathComponent(_path, name));
    calendar->setTitle(title);
    calendar->setColor(color);
    calendar->setNotes(notes);
    calendar->setOrder(order);
    calendar->setAlarmsDisabled(alarmsDisabled);
    takeSharing(*calendar, stringByAppendingPathComponent(_path, name), info);
    calendar->setSelected(selected);
    calendar->setExpanded(expanded);
    return calendar;
}

/// Publication and subscription each by itself: one that is of the wrong kind costs the other
/// nothing.
void Layout105::Level::takeSharing(KTSyncCalendar& calendar, const std::string& folder,
                                   const Dictionary& info) const
{
    const auto takeOrTell = [&](std::string_view format, const auto& take) {
        guardedOr(take, [&](const Exception& exception) {
            logTo(_pluginHelper == nullptr ? nullptr : _pluginHelper->fileLogger(),
                  "[KTSyncCalendarStore parseMacOS105Calendars(Publication)]:\n%@\n%@", info,
                  exception);
            reportLoss(KTLoss::Kind::thinned, stringWithFormat(format, exception));
        });
    };
    takeOrTell("Die Veröffentlichung kann nicht gelesen werden: %@", [&] {
        // Of another kind it would pass here and stop the writing of every store later on.
        if (info.contains("Publication"))
            calendar.setPublisher(info["Publication"].dictionary());
    });
    takeOrTell("Das Abo kann nicht gelesen werden: %@",
               [&] { takeSubscription(calendar, folder, info); });
}

void Layout105::Level::adoptMembers(const Value& memberSourceKeys,
                                    const std::string& groupRecordKey)
{
    for (const Value& member : memberSourceKeys.array()) {
        const std::string sourceKey(member.string());
        const auto seen = _keysSeen.find(sourceKey);
        if (seen == _keysSeen.end())
            _pendingParents[sourceKey] = groupRecordKey;
        else if (const auto calendar = _calendars.find(seen->second))
            calendar->setParentRecordKey(groupRecordKey);
    }
}

void Layout105::Level::keep(const std::string& name, const std::string& recordKey,
                            std::shared_ptr<KTSyncCalendar> calendar)
{
    const auto [earlier, isNew] = _names.try_emplace(recordKey, name);
    if (!isNew) {
        const LossScope scope("", stringByAppendingPathComponent(_path, earlier->second));
        reportUnread({KTLoss::Extent::calendar},
                     stringWithFormat(
                         "Der Kalender wird durch einen gleichnamigen derselben Art ersetzt: %@",
                         name));
        earlier->second = name;
    }
    _calendars.set(recordKey, std::move(calendar));
}

}  // namespace kt
