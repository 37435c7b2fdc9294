#include "tests/histories/StoreHand.h"

#include "Sync/Foundation/PropertyList.h"
#include "tests/histories/StoreHand104.h"
#include "tests/histories/StoreHand105.h"

namespace kt::test {

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

void StoreHand::addBeside(const Place& place, const ItemText& item) const
{
    ItemsFile file = itemsIn(place.file);
    file.items.push_back(item);
    disk.writeAtomically(file.text(), place.file);
}

std::vector<StoreHand::Place> StoreHand::ofOneUid(const Place& place) const
{
    std::vector<Place> places;
    std::size_t index = 0;
    for (ItemText& item : itemsIn(place.file).items) {
        if (item.value("UID") == place.item.value("UID"))
            places.push_back({place.file, index, place.calendar, std::move(item)});
        ++index;
    }
    return places;
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
