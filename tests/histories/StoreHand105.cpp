#include "tests/histories/StoreHand105.h"

#include <algorithm>

namespace kt::test {

namespace {

constexpr const char* kColor = "#0E61B9FF";

}  // namespace

void StoreHand105::begin() { makeFolder(paths.calendarsFolder()); }

// In the order in which the program shows them.
std::vector<std::string> StoreHand105::foldersOf(std::string_view extension) const
{
    std::vector<std::pair<int, std::string>> found;
    for (const std::string& name : disk.directoryContentsAtPath(paths.calendarsFolder())) {
        const std::string folder = paths.calendarsFolder() + "/" + name;
        const Dictionary info = plist(StorePaths::infoFile(folder));
        if (name.ends_with(extension) && !info.empty())
            found.emplace_back(info["Order"].intValue(), folder);
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> folders;
    for (auto& [order, folder] : found)
        folders.push_back(std::move(folder));
    return folders;
}

std::vector<StoreHand::Calendar> StoreHand105::calendars() const
{
    std::vector<Calendar> calendars;
    for (const std::string& folder : foldersOf(StorePaths::calendarExtension)) {
        const Dictionary info = plist(StorePaths::infoFile(folder));
        calendars.push_back({std::string(info["Key"].string()), std::string(info["Title"].string()),
                             folder,
                             info["Type"] == Value("Subscription") ? Kind::subscribed : Kind::own});
    }
    return calendars;
}

void StoreHand105::addCalendar(const std::string& key, const std::string& title, Kind kind)
{
    const std::string folder = paths.calendarFolder105(key);
    const auto order = static_cast<int>(calendars().size());
    makeFolder(StorePaths::eventsFolder(folder));
    Dictionary info{{"Title", title},  {"Key", key},   {"Type", "Local"}, {"Notes", ""},
                    {"Color", kColor}, {"Checked", 1}, {"Order", order}};
    if (kind == Kind::subscribed) {
        info.set("Type", "Subscription");
        info.set("SubscriptionURL", subscriptionAddress(key));
    }
    write(info, StorePaths::infoFile(folder));
}

void StoreHand105::removeCalendar(const Calendar& calendar)
{
    putInto(nullptr, calendar);
    disk.removeFileAtPath(calendar.folder);
}

void StoreHand105::putFirst(std::size_t index)
{
    std::vector<std::string> all = foldersOf(StorePaths::calendarExtension);
    std::rotate(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(index),
                all.begin() + static_cast<std::ptrdiff_t>(index) + 1);
    for (std::size_t order = 0; order < all.size(); ++order)
        set(all[order], "Order", static_cast<int>(order));
}

void StoreHand105::setColor(const Calendar& calendar, const std::string& color)
{
    set(calendar.folder, "Color", color);
}

std::vector<StoreHand::Group> StoreHand105::groups() const
{
    std::vector<Group> groups;
    for (const std::string& folder : foldersOf(StorePaths::groupExtension)) {
        const Dictionary info = plist(StorePaths::infoFile(folder));
        groups.push_back({std::string(info["Key"].string()), std::string(info["Title"].string())});
    }
    return groups;
}

void StoreHand105::addGroup(const std::string& key, const std::string& title)
{
    const std::string folder = paths.calendarsFolder() + "/" + StorePaths::groupFolderName105(key);
    const auto order = static_cast<int>(calendars().size() + groups().size());
    makeFolder(folder);
    write(Dictionary{{"Title", title},
                     {"Key", key},
                     {"Type", "Group"},
                     {"Color", kColor},
                     {"Expanded", 1},
                     {"Order", order},
                     {"Calendars", Array{}}},
          StorePaths::infoFile(folder));
}

// A folder of any name has its key inside.
std::string StoreHand105::folderOf(const Group& group) const
{
    for (const std::string& folder : foldersOf(StorePaths::groupExtension))
        if (plist(StorePaths::infoFile(folder))["Key"] == Value(group.key))
            return folder;
    return "";
}

void StoreHand105::removeGroup(const Group& group) { disk.removeFileAtPath(folderOf(group)); }

void StoreHand105::rename(const Group& group, const std::string& title)
{
    set(folderOf(group), "Title", title);
}

void StoreHand105::putInto(const Group* group, const Calendar& calendar)
{
    for (const Group& each : groups()) {
        const std::string folder = folderOf(each);
        const Value before = plist(StorePaths::infoFile(folder))["Calendars"];
        Array members = before.isArray() ? before.array() : Array{};
        std::erase(members, Value(calendar.key));
        if (group != nullptr && group->key == each.key)
            members.push_back(calendar.key);
        set(folder, "Calendars", members);
    }
}

std::vector<std::string> StoreHand105::roots() const { return {paths.calendarsFolder()}; }

std::vector<std::string> StoreHand105::itemFiles(const Calendar& calendar) const
{
    return itemFilesIn(StorePaths::eventsFolder(calendar.folder));
}

std::string StoreHand105::fileForNewItem(const Calendar& calendar, const std::string& name) const
{
    return StorePaths::eventsFolder(calendar.folder) + "/" + name + ".ics";
}

void StoreHand105::set(const std::string& folder, std::string_view key, const Value& value) const
{
    Dictionary info = plist(StorePaths::infoFile(folder));
    if (info[key] == value)
        return;
    info.set(key, value);
    write(info, StorePaths::infoFile(folder));
}

}  // namespace kt::test
