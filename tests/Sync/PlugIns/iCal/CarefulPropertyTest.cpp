// Random stores, of public calendar files where those are at hand, and random edits from outside:
// every byte that belongs to no edited item stays. The comparison is made here, with no code of the
// rewrite.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include <rapidcheck/gtest.h>

#include "Sync/PlugIns/iCal/Calendar/ItemFileEdit.h"
#include "tests/Sync/PlugIns/iCal/CarefulFixture.h"

namespace kt::test {
namespace {

const std::filesystem::path kCorpus = KT_CORPUS_DIR;

std::string contentOf(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::string withCRLF(const std::string& text)
{
    std::string converted;
    for (const char character : text) {
        if (character == '\n' && !converted.ends_with('\r'))
            converted += '\r';
        converted += character;
    }
    return converted;
}

/// Small public files, and two of our own for when there are none.
const std::vector<std::string>& files()
{
    static const std::vector<std::string> all = [] {
        constexpr std::uintmax_t kLargest = 20'000;
        std::vector<std::string> found{
            "BEGIN:VCALENDAR\r\nX-A:b\r\nBEGIN:VEVENT\r\nUID:1\r\nSUMMARY;X=y:Eins\r\nGEO:1;2\r\n"
            "END:VEVENT\r\nBEGIN:VTODO\r\nUID:2\r\nSUMMARY:Zwei\r\nEND:VTODO\r\nEND:VCALENDAR\r\n",
            "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nUID:3\r\nSUMMARY:Drei\r\nATTENDEE;CN=Eine Person "
            "mit einem langen\r\n  Namen;PARTSTAT=ACCEPTED:mailto:a@b.invalid\r\nEND:VEVENT\r\n"
            "END:VCALENDAR\r\n"};
        std::vector<std::filesystem::path> paths;
        if (std::filesystem::is_directory(kCorpus)) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(kCorpus)) {
                if (entry.path().extension() == ".ics" && entry.file_size() < kLargest)
                    paths.push_back(entry.path());
            }
        }
        std::sort(paths.begin(), paths.end());
        for (const auto& path : paths)
            found.push_back(withCRLF(contentOf(path)));
        return found;
    }();
    return all;
}

std::string withoutColon(const std::string& uid)
{
    return uid.substr(uid.starts_with(':') ? 1 : 0);
}

/// The UID that a component names, wherever its line is folded.
std::string uidIn(std::string component)
{
    for (std::size_t fold = component.find("\r\n "); fold != std::string::npos;
         fold = component.find("\r\n "))
        component.erase(fold, 3);
    const std::size_t name = component.find("\r\nUID");
    if (name == std::string::npos)
        return "";
    const std::size_t value = component.find(':', name) + 1;
    return component.substr(value, component.find("\r\n", value) - value);
}

/// The file without the events and tasks whose UIDs are picked, by a walk over its lines.
std::string withoutItems(const std::string& text,
                         const std::function<bool(const std::string& uid)>& isPicked)
{
    std::string rest;
    std::string component;
    std::string name;
    for (std::size_t begin = 0; begin < text.size();) {
        std::size_t end = text.find("\r\n", begin);
        end = end == std::string::npos ? text.size() : end + 2;
        const std::string line = text.substr(begin, end - begin);
        begin = end;
        if (line == "BEGIN:VEVENT\r\n" || line == "BEGIN:VTODO\r\n") {
            rest += component;  // of one that was not closed
            name = line.substr(6);
            component.clear();
        }
        if (name.empty()) {
            rest += line;
            continue;
        }
        component += line;
        if (line == "END:" + name) {
            if (!isPicked(uidIn(component)))
                rest += component;
            name.clear();
            component.clear();
        }
    }
    return rest + component;
}

class CarefulProperty : public CarefulFixture {
protected:
    /// A home of its own for each try.
    void layOutFiles(const std::vector<std::string>& texts)
    {
        home.remove("Library");
        std::vector<StoredCalendar> calendars;
        for (std::size_t number = 0; number < texts.size(); ++number)
            calendars.push_back({"K" + std::to_string(number), "T" + std::to_string(number), {}});
        layOut(calendars);
        for (std::size_t number = 0; number < texts.size(); ++number)
            home.write(itemFile(calendars[number].key, 0), texts[number]);
    }

    std::string uidOf(const SyncRecord& item) const
    {
        for (const auto& [told, identity] : identities.told) {
            if (told == item)
                return identity.uid;
        }
        return "";
    }

    /// Edits some items as another device could; gives the UIDs of those.
    std::set<std::string> edit(SyncRecordList& records) const
    {
        std::set<std::string> uids;
        for (SyncRecord& item : records) {
            if (item->conduit() == kConduitCalendar ||
                !*rc::gen::weightedElement<bool>({{3, false}, {1, true}}))
                continue;
            const std::string uid = uidOf(item);
            if (uid.empty())
                continue;
            uids.insert(withoutColon(uid));
            switch (*rc::gen::inRange(0, 4)) {
            case 0:
                item = nullptr;
                break;
            case 1:
                item = with(item, "Title", "Neuer Titel " + uid, item->recordKey().substr(1) + "0");
                break;
            case 2:
                item = with(item, "Notes", "Neue Notiz");
                break;
            default:
                item = with(item, "Sequence", "99", item->recordKey().substr(1) + "1");
                break;
            }
        }
        std::erase(records, nullptr);
        return uids;
    }

    /// Twins under other UIDs share the fate of the event that stands for them.
    void addCopiesOf(std::set<std::string>& uids, const std::map<std::string, std::string>& files)
    {
        const std::set<std::string> edited = uids;
        for (const LoadedCalendar& calendar : loaded.calendars) {
            for (const ItemSources::Copy& copy : calendar.copies) {
                const Value& uid = calendar.items[copy.of].uid;
                if (!uid.isString() || !edited.contains(withoutColon(std::string(uid.string()))))
                    continue;
                const std::string path =
                    calendar.files[copy.place.file].path.substr(home.path().size() + 1);
                const ItemFileEdit file(files.at(path));
                uids.insert(uidIn(std::string(file.textAt(copy.place))));
            }
        }
    }

    void check()
    {
        const auto texts =
            *rc::gen::resize(4, rc::gen::nonEmpty(rc::gen::container<std::vector<std::string>>(
                                    rc::gen::elementOf(files()))));
        layOutFiles(texts);
        identities.told.clear();
        SyncRecordList records = load();
        const auto before = store();
        std::set<std::string> uids = edit(records);
        addCopiesOf(uids, before);
        RC_ASSERT(save(records));
        const auto after = store();
        for (const auto& [path, text] : before) {
            if (!path.ends_with(".ics"))
                continue;
            const auto found = after.find(path);
            std::set<std::string> known;
            const std::string rest = withoutItems(text, [&](const std::string& uid) {
                known.insert(uid);
                return uids.contains(uid);
            });
            const auto isEditedOrNew = [&](const std::string& uid) {
                return uids.contains(uid) || !known.contains(uid);
            };
            const bool isSame = found == after.end()
                                    ? rest.find("BEGIN:VEVENT") == std::string::npos
                                    : withoutItems(found->second, isEditedOrNew) == rest;
            RC_ASSERT(isSame);
        }

        // What was written is what is read, and writing it again moves nothing.
        const SyncRecordList again = load();
        const auto settled = inodes();
        RC_ASSERT(save(again));
        RC_ASSERT(differing(settled, inodes()).empty());
    }
};

INSTANTIATE_TEST_SUITE_P(Layouts, CarefulProperty, ::testing::Values(4, 5));

TEST_P(CarefulProperty, BytesOutsideEditedItemsStayAsTheyAre)
{
    EXPECT_TRUE(rc::check([this] { check(); }));
}

}  // namespace
}  // namespace kt::test
