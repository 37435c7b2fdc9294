#include "tests/histories/StoreHand104.h"

#include <algorithm>

#include "Sync/Foundation/KeyedArchive.h"

namespace kt::test {

namespace {

constexpr const char* kColor = "#0E61B9FF";
constexpr const char* kGroupNode = "CALNamedGroupNode";
constexpr const char* kOwn = "com.apple.ical.sources.naivereadwrite";
constexpr const char* kSubscribed = "com.apple.ical.sources.urlsubscribesource";

bool isOf(const Dictionary& node, const StoreHand::Calendar& calendar)
{
    return node["SourceKey"] == Value(calendar.key);
}

bool isOf(const Dictionary& node, const StoreHand::Group& group)
{
    return node["Type"] == Value(kGroupNode) && node["Key"] == Value(group.key);
}

Array subnodes(const Dictionary& node)
{
    return node["Subnodes"].isArray() ? node["Subnodes"].array() : Array{};
}

/// Gives every node, those in groups included, to `change`.
void forEachNode(Array& list, const std::function<void(Dictionary&)>& change)
{
    for (Value& each : list) {
        Dictionary node = each.dictionary();
        Array below = subnodes(node);
        if (!below.empty()) {
            forEachNode(below, change);
            node.set("Subnodes", below);
        }
        change(node);
        each = node;
    }
}

/// Takes the first node out that is such.
std::optional<Dictionary> takeNode(Array& list, const std::function<bool(const Dictionary&)>& isIt)
{
    for (auto each = list.begin(); each != list.end(); ++each) {
        Dictionary node = each->dictionary();
        if (isIt(node)) {
            list.erase(each);
            return node;
        }
        Array below = subnodes(node);
        const auto taken = takeNode(below, isIt);
        if (!taken)
            continue;
        node.set("Subnodes", below);
        *each = node;
        return taken;
    }
    return std::nullopt;
}

void collectNodes(const Array& list, std::vector<Dictionary>& found)
{
    for (const Value& each : list) {
        collectNodes(subnodes(each.dictionary()), found);
        found.push_back(each.dictionary());
    }
}

}  // namespace

void StoreHand104::begin()
{
    makeFolder(paths.sources());
    writeNodes({});
}

std::vector<StoreHand::Calendar> StoreHand104::calendars() const
{
    std::vector<Dictionary> all;
    collectNodes(nodes(), all);
    std::vector<Calendar> found;
    for (const Dictionary& node : all) {
        if (!node["SourceKey"].isString())
            continue;
        const std::string key(node["SourceKey"].string());
        const std::string folder = paths.calendarFolder104(key);
        const Dictionary info = plist(StorePaths::infoFile(folder));
        if (!info.empty())
            found.push_back({key, std::string(info["Title"].string()), folder,
                             info["Type"] == Value(kSubscribed) ? Kind::subscribed : Kind::own});
    }
    return found;
}

void StoreHand104::addCalendar(const std::string& key, const std::string& title, Kind kind)
{
    const std::string folder = paths.calendarFolder104(key);
    makeFolder(folder);
    write(Dictionary{{"Title", title},
                     {"Key", key},
                     {"Type", kind == Kind::subscribed ? kSubscribed : kOwn}},
          StorePaths::infoFile(folder));
    if (kind == Kind::subscribed)
        disk.writeAtomically(archivedDataWithRootObject(
                                 Dictionary{{"RemoteURL", subscriptionAddress(key)}}),
                             StorePaths::subscriptionFile104(folder));
    disk.writeAtomically(ItemsFile::empty().text(), StorePaths::itemsFile104(folder));
    Array all = nodes();
    all.push_back(Dictionary{{"Key", key},
                             {"SourceKey", key},
                             {"ThemeColor", kColor},
                             {"Selection", true},
                             {"Type", "CALSourceNode"}});
    writeNodes(all);
}

void StoreHand104::removeCalendar(const Calendar& calendar)
{
    Array all = nodes();
    takeNode(all, [&](const Dictionary& node) { return isOf(node, calendar); });
    writeNodes(all);
    disk.removeFileAtPath(calendar.folder);
}

void StoreHand104::putFirst(std::size_t index)
{
    Array all = nodes();
    if (index >= all.size())
        return;
    std::rotate(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(index),
                all.begin() + static_cast<std::ptrdiff_t>(index) + 1);
    writeNodes(all);
}

void StoreHand104::setColor(const Calendar& calendar, const std::string& color)
{
    Array all = nodes();
    forEachNode(all, [&](Dictionary& node) {
        if (isOf(node, calendar))
            node.set("ThemeColor", color);
    });
    writeNodes(all);
}

std::vector<StoreHand::Group> StoreHand104::groups() const
{
    std::vector<Dictionary> all;
    collectNodes(nodes(), all);
    std::vector<Group> groups;
    for (const Dictionary& node : all)
        if (node["Type"] == Value(kGroupNode))
            groups.push_back(
                {std::string(node["Key"].string()), std::string(node["Title"].string())});
    return groups;
}

void StoreHand104::addGroup(const std::string& key, const std::string& title)
{
    Array all = nodes();
    all.push_back(Dictionary{{"Key", key},
                             {"Title", title},
                             {"ThemeColor", kColor},
                             {"Selection", true},
                             {"Expanded", true},
                             {"Type", kGroupNode},
                             {"Subnodes", Array{}}});
    writeNodes(all);
}

void StoreHand104::removeGroup(const Group& group)
{
    Array all = nodes();
    const auto node = takeNode(all, [&](const Dictionary& each) { return isOf(each, group); });
    for (const Value& member : subnodes(node.value_or(Dictionary{})))
        all.push_back(member);
    writeNodes(all);
}

void StoreHand104::rename(const Group& group, const std::string& title)
{
    Array all = nodes();
    forEachNode(all, [&](Dictionary& node) {
        if (isOf(node, group))
            node.set("Title", title);
    });
    writeNodes(all);
}

void StoreHand104::putInto(const Group* group, const Calendar& calendar)
{
    Array all = nodes();
    const auto taken = takeNode(all, [&](const Dictionary& node) { return isOf(node, calendar); });
    if (!taken)
        return;
    if (group == nullptr)
        all.push_back(*taken);
    else
        forEachNode(all, [&](Dictionary& node) {
            if (!isOf(node, *group))
                return;
            Array members = subnodes(node);
            members.push_back(*taken);
            node.set("Subnodes", members);
        });
    writeNodes(all);
}

std::vector<std::string> StoreHand104::itemFiles(const Calendar& calendar) const
{
    return itemFilesIn(calendar.folder);
}

std::string StoreHand104::fileForNewItem(const Calendar& calendar, const std::string&) const
{
    return StorePaths::itemsFile104(calendar.folder);
}

Array StoreHand104::nodes() const
{
    const Dictionary file = plist(paths.nodeFile());
    return file["List"].isArray() ? file["List"].array() : Array{};
}

void StoreHand104::writeNodes(const Array& list) const
{
    Dictionary file = plist(paths.nodeFile());
    file.set("Version", 2);
    file.set("List", list);
    write(file, paths.nodeFile());
}

}  // namespace kt::test
