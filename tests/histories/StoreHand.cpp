#include "tests/histories/StoreHand.h"

#include "Sync/Foundation/PropertyList.h"

namespace kt::test {

namespace {

constexpr const char* kColor = "#0E61B9FF";

class StoreHand105 : public StoreHand {
public:
    using StoreHand::StoreHand;

    void begin() override { makeFolder(paths.calendarsFolder()); }
    std::vector<Calendar> calendars() const override
    {
        std::vector<std::pair<int, Calendar>> found;
        for (const std::string& name : disk.directoryContentsAtPath(paths.calendarsFolder())) {
            const std::string folder = paths.calendarsFolder() + "/" + name;
            const Dictionary info = plist(StorePaths::infoFile(folder));
            if (name.ends_with(StorePaths::calendarExtension) && !info.empty())
                found.push_back({info["Order"].intValue(),
                                 {std::string(info["Key"].string()),
                                  std::string(info["Title"].string()), folder}});
        }
        std::stable_sort(found.begin(), found.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        std::vector<Calendar> calendars;
        for (auto& [order, calendar] : found)
            calendars.push_back(std::move(calendar));
        return calendars;
    }
    void addCalendar(const std::string& key, const std::string& title) override
    {
        const std::string folder = paths.calendarFolder105(key);
        const auto order = static_cast<int>(calendars().size());
        makeFolder(StorePaths::eventsFolder(folder));
        write(Dictionary{{"Title", title},
                         {"Key", key},
                         {"Type", "Local"},
                         {"Notes", ""},
                         {"Color", kColor},
                         {"Checked", 1},
                         {"Order", order}},
              StorePaths::infoFile(folder));
    }
    void removeCalendar(const Calendar& calendar) override
    {
        disk.removeFileAtPath(calendar.folder);
    }
    void putFirst(std::size_t index) override
    {
        std::vector<Calendar> all = calendars();
        std::rotate(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(index),
                    all.begin() + static_cast<std::ptrdiff_t>(index) + 1);
        for (std::size_t order = 0; order < all.size(); ++order)
            set(all[order], "Order", static_cast<int>(order));
    }
    void setColor(const Calendar& calendar, const std::string& color) override
    {
        set(calendar, "Color", color);
    }
    std::vector<std::string> roots() const override { return {paths.calendarsFolder()}; }
    std::vector<std::string> itemFiles(const Calendar& calendar) const override
    {
        return itemFilesIn(StorePaths::eventsFolder(calendar.folder));
    }
    std::string fileForNewItem(const Calendar& calendar, const std::string& name) const override
    {
        return StorePaths::eventsFolder(calendar.folder) + "/" + name + ".ics";
    }

protected:
    bool removesEmptyFiles() const override { return true; }

private:
    void set(const Calendar& calendar, std::string_view key, const Value& value) const
    {
        Dictionary info = plist(StorePaths::infoFile(calendar.folder));
        if (info[key] == value)
            return;
        info.set(key, value);
        write(info, StorePaths::infoFile(calendar.folder));
    }
};

class StoreHand104 : public StoreHand {
public:
    using StoreHand::StoreHand;

    void begin() override
    {
        makeFolder(paths.sources());
        writeNodes({});
    }
    std::vector<Calendar> calendars() const override
    {
        std::vector<Calendar> found;
        collect(nodes(), found);
        return found;
    }
    void addCalendar(const std::string& key, const std::string& title) override
    {
        const std::string folder = paths.calendarFolder104(key);
        makeFolder(folder);
        write(Dictionary{{"Title", title},
                         {"Key", key},
                         {"Type", "com.apple.ical.sources.naivereadwrite"}},
              StorePaths::infoFile(folder));
        disk.writeAtomically(ItemsFile::empty().text(), StorePaths::itemsFile104(folder));
        Array all = nodes();
        all.push_back(Dictionary{{"Key", key},
                                 {"SourceKey", key},
                                 {"ThemeColor", kColor},
                                 {"Selection", true},
                                 {"Type", "CALSourceNode"}});
        writeNodes(all);
    }
    void removeCalendar(const Calendar& calendar) override
    {
        Array all = nodes();
        std::erase_if(all, [&](const Value& node) { return isOf(node, calendar); });
        writeNodes(all);
        disk.removeFileAtPath(calendar.folder);
    }
    void putFirst(std::size_t index) override
    {
        Array all = nodes();
        if (index >= all.size())
            return;
        std::rotate(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(index),
                    all.begin() + static_cast<std::ptrdiff_t>(index) + 1);
        writeNodes(all);
    }
    void setColor(const Calendar& calendar, const std::string& color) override
    {
        Array all = nodes();
        for (Value& node : all) {
            if (!isOf(node, calendar))
                continue;
            Dictionary changed = node.dictionary();
            changed.set("ThemeColor", color);
            node = changed;
        }
        writeNodes(all);
    }
    std::vector<std::string> roots() const override { return {paths.iCalFolder()}; }
    // Beside the common file there is another one where that could not be read.
    std::vector<std::string> itemFiles(const Calendar& calendar) const override
    {
        return itemFilesIn(calendar.folder);
    }
    std::string fileForNewItem(const Calendar& calendar, const std::string&) const override
    {
        return StorePaths::itemsFile104(calendar.folder);
    }

protected:
    bool removesEmptyFiles() const override { return false; }

private:
    static bool isOf(const Value& node, const Calendar& calendar)
    {
        return node.dictionary()["SourceKey"] == Value(calendar.key);
    }
    Array nodes() const
    {
        const Dictionary file = plist(paths.nodeFile());
        return file["List"].isArray() ? file["List"].array() : Array{};
    }
    void writeNodes(const Array& list) const
    {
        Dictionary file = plist(paths.nodeFile());
        file.set("Version", 2);
        file.set("List", list);
        write(file, paths.nodeFile());
    }
    void collect(const Array& list, std::vector<Calendar>& found) const
    {
        for (const Value& each : list) {
            const Dictionary& node = each.dictionary();
            if (node["Subnodes"].isArray())
                collect(node["Subnodes"].array(), found);
            if (!node["SourceKey"].isString())
                continue;
            const std::string key(node["SourceKey"].string());
            const std::string folder = paths.calendarFolder104(key);
            const Dictionary info = plist(StorePaths::infoFile(folder));
            if (!info.empty())
                found.push_back({key, std::string(info["Title"].string()), folder});
        }
    }
};

}  // namespace

std::unique_ptr<StoreHand> StoreHand::forLayout(int systemVersion, MemoryFileManager& disk,
                                                const std::string& home)
{
    if (systemVersion == 4)
        return std::make_unique<StoreHand104>(disk, home);
    return std::make_unique<StoreHand105>(disk, home);
}

Dictionary StoreHand::plist(const std::string& path) const
{
    const auto bytes = disk.contentsAtPath(path);
    const auto value = bytes ? propertyListWithData(*bytes) : std::nullopt;
    return value && value->isDictionary() ? value->dictionary() : Dictionary{};
}

void StoreHand::write(const Dictionary& dictionary, const std::string& path) const
{
    disk.writeAtomically(xmlPropertyList(dictionary), path);
}

std::vector<std::string> StoreHand::itemFilesIn(const std::string& folder) const
{
    std::vector<std::string> files;
    for (const std::string& name : disk.directoryContentsAtPath(folder))
        if (name.ends_with(".ics"))
            files.push_back(folder + "/" + name);
    return files;
}

ItemsFile StoreHand::itemsIn(const std::string& path) const
{
    const auto text = disk.contentsAtPath(path);
    return text ? ItemsFile::inText(*text) : ItemsFile::empty();
}

void StoreHand::makeFolder(const std::string& path) const
{
    if (disk.isDirectory(path))
        return;
    makeFolder(stringByDeletingLastPathComponent(path));
    disk.createDirectoryAtPath(path);
}

void StoreHand::rename(const Calendar& calendar, const std::string& title) const
{
    Dictionary info = plist(StorePaths::infoFile(calendar.folder));
    info.set("Title", title);
    write(info, StorePaths::infoFile(calendar.folder));
}

std::vector<StoreHand::Place> StoreHand::items() const
{
    std::vector<Place> places;
    for (const Calendar& calendar : calendars())
        for (Place& place : itemsBelow(calendar.folder)) {
            place.calendar = calendar.key;
            places.push_back(std::move(place));
        }
    return places;
}

std::vector<StoreHand::Place> StoreHand::itemsBelow(const std::string& folder) const
{
    std::vector<Place> places;
    for (const std::string& file : itemFiles({"", "", folder})) {
        std::size_t index = 0;
        for (ItemText& item : itemsIn(file).items)
            places.push_back({file, index++, "", std::move(item)});
    }
    return places;
}

void StoreHand::add(const Calendar& calendar, const std::string& name, const ItemText& item) const
{
    const std::string path = fileForNewItem(calendar, name);
    makeFolder(stringByDeletingLastPathComponent(path));
    ItemsFile file = itemsIn(path);
    file.items.push_back(item);
    disk.writeAtomically(file.text(), path);
}

void StoreHand::replace(const Place& place, const ItemText& item) const
{
    ItemsFile file = itemsIn(place.file);
    file.items[place.index] = item;
    disk.writeAtomically(file.text(), place.file);
}

void StoreHand::remove(const Place& place) const
{
    ItemsFile file = itemsIn(place.file);
    file.items.erase(file.items.begin() + static_cast<std::ptrdiff_t>(place.index));
    if (file.items.empty() && removesEmptyFiles())
        disk.removeFileAtPath(place.file);
    else
        disk.writeAtomically(file.text(), place.file);
}

}  // namespace kt::test
