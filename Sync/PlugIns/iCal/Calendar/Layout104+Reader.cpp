// Reads the tree of nodes, with what each calendar's own files add to it.

#include <unordered_map>
#include <utility>

#include "Sync/Foundation/PropertyList.h"
#include "Sync/HostInterface/Guard.h"
#include "Sync/HostInterface/KTCarefulWriting.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/HostAndSystemLog.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarStore.h"
#include "Sync/PlugIns/iCal/Calendar/Layout104.h"

namespace kt {

namespace {

constexpr std::int32_t kNodeFileVersion = 2;
constexpr std::string_view kSupportAddress = "support@velorasuite.invalid";
constexpr std::string_view kGroupKind = "CALNamedGroupNode";

/// What is missing counts as switched on.
bool boolValueOrYes(const Dictionary& dictionary, std::string_view key)
{
    const Value* value = dictionary.find(key);
    return value == nullptr || value->boolValue();
}

/// Nil as well for a value of another kind, where no text is due.
std::optional<std::string> textOrNil(const Value& value)
{
    return value.isString() ? value.stringOrNil() : std::nullopt;
}

/// The title for reports, which must not fail over a title of the wrong kind.
std::string titleForReports(const Value& node)
{
    return node.isDictionary() ? textOrNil(node.dictionary()["Title"]).value_or("") : "";
}

/// The address of a subscription among the objects of its archive; nil when there is none.
Value addressInArchive(const Dictionary& archive)
{
    if (!archive.contains("$objects"))
        return {};
    for (const Value& object : archive["$objects"].array()) {
        if (object.isString() && object.string().starts_with("http://"))
            return object;
    }
    return {};
}

}  // namespace

/// The node tree while it is being read.
class Layout104::Reader {
public:
    Reader(const StorePaths& paths, KTSyncPluginHelper* pluginHelper, ParsedCalendars& calendars)
        : _paths(paths),
          _pluginHelper(pluginHelper),
          _calendars(calendars)
    {}

    void readList(const Value& nodes, const std::optional<std::string>& parentRecordKey);

private:
    /// A node with what the calendar's own files add to it.
    struct Node {
        const Dictionary& dictionary;
        std::optional<std::string> sourceKey;
        std::optional<std::string> title;
        std::optional<std::string> color;
        std::optional<std::string> notes;
        Value kind;  // the node's type; for a calendar the type that its Info.plist names
        std::int32_t calendarType = kCalendarTypeNode;
        bool selected = true;
        bool expanded = true;
        Value subscriber;
        Value subscriberData;
        std::string file;  // where title and type stand
    };

    bool readNode(const Dictionary& dictionary, const std::optional<std::string>& parentRecordKey,
                  std::int32_t order);
    bool describeGroup(Node& node) const;
    bool describeCalendar(Node& node) const;
    bool describeWithoutFolder(Node& node) const;
    void takeSourceType(Node& node) const;
    void takeSubscription(Node& node) const;
    std::shared_ptr<KTSyncCalendar> makeCalendar(const Node& node, std::int32_t order) const;
    void takePublisher(KTSyncCalendar& calendar, const Dictionary& node) const;
    void keep(const Node& node, const std::string& recordKey,
              std::shared_ptr<KTSyncCalendar> calendar);
    KTFileLogger* fileLogger() const
    {
        return _pluginHelper == nullptr ? nullptr : _pluginHelper->fileLogger();
    }

    const StorePaths& _paths;
    KTSyncPluginHelper* _pluginHelper;
    ParsedCalendars& _calendars;
    std::unordered_map<std::string, std::string> _files;  // record key to the file it came from
};

/// Why there are no nodes, unless iCal has never run here. Without them nobody knows of the folders
/// of calendars, and the making of an empty store moves those aside.
void Layout104::reportMissingNodes() const
{
    const FileManager& files = FileManager::defaultManager();
    if (files.linkStatusAtPath(paths().nodeFile())) {
        const LossScope scope("", paths().nodeFile());
        reportLoss(KTLoss::Kind::unsafe, "Die nodes.plist kann nicht gelesen werden");
    } else if (!files.directoryContentsAtPath(paths().sources()).empty()) {
        const LossScope scope("", paths().sources());
        reportLoss(KTLoss::Kind::unsafe,
                   "Die nodes.plist fehlt: die Kalender in 'Sources' werden nicht gelesen");
    }
}

/// Whether a node file that cannot be read stays: on a disk that fails it may be whole.
bool Layout104::isNodeFileKept() const
{
    return hostClass<KTCarefulWriting>() != nullptr &&
           FileManager::defaultManager().linkStatusAtPath(paths().nodeFile()).has_value();
}

std::optional<ParsedCalendars> Layout104::read(KTSyncCalendarStore& store) const
{
    KTSyncPluginHelper* pluginHelper = store.pluginHelper();
    auto nodeFile = dictionaryWithContentsOfFile(paths().nodeFile());
    if (!nodeFile) {
        reportMissingNodes();
        logToHostAndSystem(pluginHelper,
                           "Es gibt keine nodes.plist, evtl. wurde iCal noch nie gestartet");
        if (isNodeFileKept()) {
            logToHostAndSystem(pluginHelper, "Die nodes.plist bleibt, wie sie ist");
            return std::nullopt;
        }
        store.storeCalendars({});
        nodeFile = dictionaryWithContentsOfFile(paths().nodeFile());
    }
    if (!nodeFile) {
        logToHostAndSystem(pluginHelper, "Es konnte keine leere nodes.plist angelegt werden!");
        return std::nullopt;
    }
    // A missing version is none, so 0 is as good as any other.
    if ((*nodeFile)["Version"].intValue() != kNodeFileVersion) {
        logToHostAndSystem(pluginHelper,
                           "Unbekannte Kalender-Version. Bitte wenden Sie sich an den Support: %@",
                           kSupportAddress);
        return std::nullopt;
    }
    if (!nodeFile->contains("List")) {
        logToHostAndSystem(pluginHelper, "nodes.plist ohne Kalender");
        return std::nullopt;
    }
    ParsedCalendars parsed;
    readNodes(pluginHelper, (*nodeFile)["List"], parsed, std::nullopt);
    return parsed;
}

void Layout104::readNodes(KTSyncPluginHelper* pluginHelper, const Value& list,
                          ParsedCalendars& calendars,
                          const std::optional<std::string>& parentRecordKey) const
{
    Reader(paths(), pluginHelper, calendars).readList(list, parentRecordKey);
}

void Layout104::Reader::readList(const Value& nodes,
                                 const std::optional<std::string>& parentRecordKey)
{
    if (nodes.isNil())
        return;
    std::int32_t order = 0;  // counts from 0 in every list
    for (const Value& node : nodes.array()) {
        const LossScope scope(titleForReports(node), _paths.nodeFile());
        guardedOr(
            [&] {
                if (readNode(node.dictionary(), parentRecordKey, order))
                    ++order;
            },
            [&](const Exception& exception) {
                reportUnread({KTLoss::Extent::calendar},
                             stringWithFormat("Der Kalender kann nicht gelesen werden: %@",
                                              exception));
                throw;
            });
    }
}

/// True when a calendar was made, kept or not: those are counted.
bool Layout104::Reader::readNode(const Dictionary& dictionary,
                                 const std::optional<std::string>& parentRecordKey,
                                 std::int32_t order)
{
    Node node{dictionary, {}, {}, {}, {}, {}, kCalendarTypeNode, true, true, {}, {}, {}};
    node.sourceKey =
        dictionary[dictionary.contains("SourceKey") ? "SourceKey" : "Key"].stringOrNil();
    node.color = dictionary["ThemeColor"].stringOrNil();
    node.selected = boolValueOrYes(dictionary, "Selection");
    node.kind = dictionary["Type"];
    node.file = _paths.nodeFile();
    if (!(node.kind == Value(kGroupKind) ? describeGroup(node) : describeCalendar(node)))
        return false;

    const LossScope scope(node.title.value_or(""), node.file);
    if (!node.color || !node.title) {
        logMsg(_pluginHelper, "Fehlerhafter Kalender ohne Farbe oder Name: %@", dictionary);
        reportUnread({KTLoss::Extent::calendar}, "Der Kalender hat keine Farbe oder keinen Namen");
        return false;
    }
    const std::shared_ptr<KTSyncCalendar> calendar = makeCalendar(node, order);
    if (!calendar) {
        logMsg(_pluginHelper, "Der Kalender '%@' konnte nicht ausgelesen werden", dictionary);
        reportUnread({KTLoss::Extent::calendar}, "Der Kalender konnte nicht ausgelesen werden");
        return false;
    }
    const std::optional<std::string> recordKey = calendar->recordKey();
    // At the top level everything is its own parent, which is how the writer knows it.
    calendar->setParentRecordKey(parentRecordKey ? parentRecordKey : recordKey);
    calendar->setSelected(node.selected);
    calendar->setExpanded(node.expanded);
    if (!recordKey) {
        logMsg(_pluginHelper,
               "Fuer den Kalender '%@' konnte kein eindeutiger Schluessel generiert werden",
               dictionary);
        reportUnread({KTLoss::Extent::calendar}, "Der Kalender hat keinen Schlüssel");
        return true;
    }
    keep(node, *recordKey, calendar);
    if (node.kind == Value(kGroupKind)) {
        readList(dictionary["Subnodes"], recordKey);
        logMsg(_pluginHelper, "Gruppe: '%@'", node.title);
    } else {
        logMsg(_pluginHelper, "Kalender: '%@'", node.title);
    }
    return true;
}

bool Layout104::Reader::describeGroup(Node& node) const
{
    node.notes = node.dictionary["Notes"].stringOrNil();
    node.title = node.dictionary["Title"].stringOrNil();
    node.expanded = boolValueOrYes(node.dictionary, "Expanded");
    node.calendarType = kCalendarTypeGroup;
    return true;
}

bool Layout104::Reader::describeCalendar(Node& node) const
{
    if (!node.sourceKey) {
        logMsg(_pluginHelper, "Fehlerhafter Kalender ohne SourceKey: %@", node.dictionary);
        reportUnread({KTLoss::Extent::calendar}, "Der Kalender hat keinen SourceKey");
        return false;
    }
    if (!StorePaths::isFolderKey(*node.sourceKey))
        return describeWithoutFolder(node);
    node.file = StorePaths::infoFile(_paths.calendarFolder104(*node.sourceKey));
    const auto info = dictionaryWithContentsOfFile(node.file);
    if (!info) {
        logMsg(_pluginHelper, "Fuer den Kalender '%@' gibt es keine Kalenderbeschreibung",
               node.dictionary);
        const LossScope scope("", node.file);
        reportUnread({KTLoss::Extent::calendar},
                     "Die Kalenderbeschreibung fehlt oder kann nicht gelesen werden");
        return false;
    }
    node.notes = (*info)["Notes"].stringOrNil();
    node.title = (*info)["Title"].stringOrNil();
    node.kind = (*info)["Type"];
    takeSourceType(node);
    return true;
}

/// A source key with a slash would lead out of the store, so the calendar has no folder, as in the
/// other layout, and only its node describes it.
bool Layout104::Reader::describeWithoutFolder(Node& node) const
{
    node.title = textOrNil(node.dictionary["Title"]);
    node.notes = textOrNil(node.dictionary["Notes"]);
    if (node.title && node.color)
        return true;
    logMsg(_pluginHelper, "Der Kalender wird nicht gelesen: '%@' ist als Ordnername nicht erlaubt",
           *node.sourceKey);
    reportUnread({KTLoss::Extent::calendar},
                 "Der SourceKey des Kalenders ist als Ordnername nicht erlaubt");
    return false;
}

void Layout104::Reader::takeSourceType(Node& node) const
{
    if (node.kind == Value("com.apple.ical.sources.urlsubscribesource")) {
        node.calendarType = kCalendarTypeSubscriber;
        takeSubscription(node);
    } else if (node.kind == Value("com.apple.ical.sources.birthdays")) {
        node.calendarType = kCalendarTypeBirthday;
        if (!node.title)
            node.title = "Geburtstage";
    }
}

void Layout104::Reader::takeSubscription(Node& node) const
{
    const FileManager& files = FileManager::defaultManager();
    const std::string file =
        StorePaths::subscriptionFile104(_paths.calendarFolder104(*node.sourceKey));
    if (auto bytes = files.contentsAtPath(file)) {
        node.subscriberData = Data{*std::move(bytes)};
        return;
    }
    logMsg(_pluginHelper, "Abo-Beschreibung fuer Kalender '%@' existiert nicht", node.title);
    if (files.linkStatusAtPath(file)) {
        const LossScope scope(node.title.value_or(""), file);
        reportLoss(KTLoss::Kind::thinned, "Die Abo-Beschreibung kann nicht gelesen werden");
    }
    const auto takeAddress = [&] {
        const auto archive = dictionaryWithContentsOfFile(file);
        const Value address = archive ? addressInArchive(*archive) : Value();
        if (address.isNil())
            return;
        node.subscriber = Dictionary{{"SubscriptionURL", address}};
        logTo(fileLogger(), "SubscriptionURL: %@", address);
    };
    guardedOr(takeAddress, [&](const Exception& exception) {
        logTo(fileLogger(), "[KTSyncCalendarStore parseMacOS104Calendars]: SubscriptionURL\n%@",
              exception);
        node.subscriber = Value();
    });
}

std::shared_ptr<KTSyncCalendar> Layout104::Reader::makeCalendar(const Node& node,
                                                                std::int32_t order) const
{
    auto calendar = KTSyncCalendar::syncCalendarWithPluginHelper(_pluginHelper, node.calendarType,
                                                                 node.sourceKey, std::nullopt);
    if (!calendar)
        return nullptr;
    if (node.calendarType != kCalendarTypeGroup && node.sourceKey &&
        StorePaths::isFolderKey(*node.sourceKey))
        calendar->setStoredFolder(_paths.calendarFolder104(*node.sourceKey));
    calendar->setTitle(node.title);
    calendar->setColor(node.color);
    calendar->setNotes(node.notes);
    calendar->setOrder(order);
    calendar->setSubscriber(node.subscriber);
    calendar->setSubscriberData(node.subscriberData);
    takePublisher(*calendar, node.dictionary);
    return calendar;
}

void Layout104::Reader::takePublisher(KTSyncCalendar& calendar, const Dictionary& node) const
{
    const LossScope scope("", _paths.nodeFile());
    const auto take = [&] {
        const Value& entry = node["Publishers"];
        if (entry.isNil() || entry.array().empty())
            return;
        const Array& publishers = entry.array();
        if (publishers.size() > 1)
            reportLoss(KTLoss::Kind::thinned,
                       stringWithFormat("Nur die erste von %d Veröffentlichungen wird übernommen",
                                        publishers.size()));
        // Of another kind it would pass here and stop the writing of every store later on.
        calendar.setPublisher(publishers.front().dictionary());
    };
    guardedOr(take, [&](const Exception& exception) {
        logTo(fileLogger(), "[KTSyncCalendarStore parseMacOS104CalendarsList(Publishers)]:\n%@",
              exception);
        reportLoss(KTLoss::Kind::thinned,
                   stringWithFormat("Die Veröffentlichung kann nicht gelesen werden: %@",
                                    exception));
    });
}

void Layout104::Reader::keep(const Node& node, const std::string& recordKey,
                             std::shared_ptr<KTSyncCalendar> calendar)
{
    const auto [earlier, isNew] = _files.try_emplace(recordKey, node.file);
    if (!isNew) {
        const LossScope scope("", earlier->second);
        reportUnread({KTLoss::Extent::calendar},
                     stringWithFormat(
                         "Der Kalender wird durch einen gleichnamigen derselben Art ersetzt: %@",
                         node.file));
        earlier->second = node.file;
    }
    _calendars.set(recordKey, std::move(calendar));
}

}  // namespace kt
