#include "tests/Sync/Host/Engine/HomeItemTexts.h"

#include <gtest/gtest.h>

#include "Sync/Additions/KTFileManagerAdditions.h"
#include "Sync/Foundation/Digest.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/PlugIns/iCal/Calendar/ItemFile.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncEvent.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncTask.h"

namespace kt::test {

namespace {

constexpr const char* kNoName = "ohne";

FileManager& disk() { return FileManager::defaultManager(); }

bool holdsItems(const std::string& text)
{
    return text.find("BEGIN:VEVENT\r\n") != std::string::npos ||
           text.find("BEGIN:VTODO\r\n") != std::string::npos;
}

/// Whether nothing else stands in the item's file.
bool isAlone(const StoredText& stored)
{
    const std::string text = disk().contentsAtPath(stored.path).value_or("");
    const std::size_t at = text.find(stored.text);
    return at != std::string::npos && !holdsItems(text.substr(0, at)) &&
           !holdsItems(text.substr(at + stored.text.size()));
}

/// One that is not folded.
std::string withoutLine(std::string text, const std::string& name)
{
    const std::size_t at = text.find("\r\n" + name + ":");
    if (at != std::string::npos)
        text.erase(at, text.find("\r\n", at + 2) - at);
    return text;
}

std::string freePath(const std::string& folder, const std::string& name)
{
    std::string path = folder + "/" + name + ".ics";
    for (int number = 2; disk().fileExistsAtPath(path); ++number)
        path = folder + "/" + name + "-" + std::to_string(number) + ".ics";
    return path;
}

}  // namespace

std::string valueInText(const std::string& component, const std::string& name)
{
    const std::string begin = "\r\n" + name + ":";
    const std::size_t at = component.find(begin);
    if (at == std::string::npos)
        return "";
    return component.substr(at + begin.size(),
                            component.find("\r\n", at + begin.size()) - at - begin.size());
}

HomeItemTexts::HomeItemTexts(Layout layout, Damage damage) : _layout(layout), _damage(damage)
{
    _helper.script.macOSVersion = layout == Layout::tiger ? 4 : 5;
}

std::string HomeItemTexts::emptyFile()
{
    return std::string(kItemFileHeader) + std::string(kItemFileFooter);
}

std::string HomeItemTexts::fileName(const HomeItem& item)
{
    return item.uid.empty() ? kNoName : item.uid;
}

std::shared_ptr<const StoredText> HomeItemTexts::add(const HomeItem& item, const std::string& path)
{
    const bool hasText = item.stored && !item.stored->whole && item.fields == item.stored->fields;
    const bool isFree = _layout == Layout::tiger || !disk().fileExistsAtPath(path);
    const std::string file =
        isFree ? path : freePath(stringByDeletingLastPathComponent(path), fileName(item));
    auto added = std::make_shared<StoredText>(
        StoredText{file, hasText ? item.stored->text : textOf(item), item.fields});
    put(*added);
    return added;
}

void HomeItemTexts::update(HomeItem& item)
{
    if (item.stored->whole && !item.isBroken)
        item.stored = mended(*item.stored);
    if (item.stored->whole)
        return;
    const bool isOtherUid = valueInText(item.stored->text, "UID") != item.uid;
    if (item.fields != item.stored->fields || isOtherUid) {
        auto changed =
            std::make_shared<StoredText>(StoredText{item.stored->path, textOf(item), item.fields});
        replace(*item.stored, *changed);
        item.stored = std::move(changed);
    }
    if (item.isBroken)
        item.stored = damaged(item.stored);
}

void HomeItemTexts::remove(const StoredText& stored) const
{
    std::string file = disk().contentsAtPath(stored.path).value_or("");
    const std::size_t at = file.find(stored.text);
    ASSERT_NE(at, std::string::npos) << "not in " << stored.path << ":\n" << stored.text;
    file.erase(at, stored.text.size());
    if (_layout == Layout::leopard && !holdsItems(file))
        disk().removeFileAtPath(stored.path);
    else
        disk().writeAtomically(file, stored.path);
}

std::string HomeItemTexts::textOf(const HomeItem& item)
{
    const auto written = [&](KTSyncCalendarItem& writer) {
        writer.setUID(fileName(item));
        const std::string text = writer.iCalLines();
        return item.uid.empty() ? withoutLine(text, "UID") : text;
    };
    if (item.conduit == kConduitEvent) {
        KTSyncEvent event(&_helper, item.uid, item.fields);
        return written(event);
    }
    KTSyncTask task(&_helper, item.uid, item.fields);
    return written(task);
}

/// A file of one item is none any more; in a file of many it is a component that no record can be
/// made of, since it holds a property twice that there can be only one of.
std::shared_ptr<const StoredText> HomeItemTexts::damaged(
    const std::shared_ptr<const StoredText>& whole) const
{
    auto broken = std::make_shared<StoredText>(*whole);
    broken->whole = whole;
    if (_layout == Layout::leopard && isAlone(*whole)) {
        broken->text = "kaputt " + sha1DigestHex(whole->text);
        if (_damage == Damage::elsewhere)
            broken->path = freePath(stringByDeletingLastPathComponent(whole->path), "neu");
        disk().removeFileAtPath(whole->path);
        disk().writeAtomically(broken->text, broken->path);
        return broken;
    }
    const bool isTask = whole->text.starts_with("BEGIN:VTODO");
    const std::string end = isTask ? "END:VTODO\r\n" : "END:VEVENT\r\n";
    broken->text.insert(broken->text.size() - end.size(),
                        isTask ? "PRIORITY:1\r\nPRIORITY:2\r\n"
                               : "RRULE:FREQ=DAILY\r\nRRULE:FREQ=WEEKLY\r\n");
    if (_damage == Damage::elsewhere)
        broken->text = withoutLine(broken->text, "UID");
    replace(*whole, *broken);
    return broken;
}

std::shared_ptr<const StoredText> HomeItemTexts::mended(const StoredText& broken) const
{
    if (broken.text.starts_with("BEGIN:")) {
        replace(broken, *broken.whole);
    } else {
        remove(broken);
        put(*broken.whole);
    }
    return broken.whole;
}

/// In the same file, which is there all the time.
void HomeItemTexts::replace(const StoredText& stored, const StoredText& by) const
{
    std::string file = disk().contentsAtPath(stored.path).value_or("");
    const std::size_t at = file.find(stored.text);
    ASSERT_NE(at, std::string::npos) << "not in " << stored.path << ":\n" << stored.text;
    disk().writeAtomically(file.replace(at, stored.text.size(), by.text), stored.path);
}

void HomeItemTexts::put(const StoredText& stored) const
{
    createPath(stringByDeletingLastPathComponent(stored.path));
    std::string file = disk().contentsAtPath(stored.path).value_or(emptyFile());
    const std::size_t end = file.rfind(kItemFileFooter);
    ASSERT_NE(end, std::string::npos) << stored.path;
    disk().writeAtomically(file.insert(end, stored.text), stored.path);
}

}  // namespace kt::test
