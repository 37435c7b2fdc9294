#include "tests/Sync/Host/Engine/SyncEngineFixture.h"

#include <algorithm>
#include <filesystem>

namespace kt::test {

namespace {

/// Databases wait for their disk with each commit; thousands of runs need not.
std::filesystem::path folderForDatabases()
{
    const std::filesystem::path inMemory = "/dev/shm";
    return std::filesystem::is_directory(inMemory) ? inMemory
                                                   : std::filesystem::temp_directory_path();
}

}  // namespace

SyncEngineFixture::SyncEngineFixture() : folder(folderForDatabases()) {}

MemoryHome& SyncEngineFixture::home(const std::string& name, Layout layout)
{
    MemoryHome*& known = homesByName[name];
    if (known == nullptr) {
        homes.push_back(
            std::make_unique<MemoryHome>(name, folder.path(name + ".state"), serverUrl(), layout));
        known = homes.back().get();
    }
    return *known;
}

void SyncEngineFixture::syncAll()
{
    for (const auto& each : homes)
        each->sync();
}

void SyncEngineFixture::syncUntilRest()
{
    std::vector<std::string> unproved;
    for (int round = 0; round < 6; ++round) {
        bool isQuiet = true;
        unproved.clear();
        for (const auto& each : homes) {
            const SyncRunSummary summary = each->sync();
            EXPECT_TRUE(summary.finished) << testing::PrintToString(summary.reasons);
            unproved.insert(unproved.end(), summary.unproved.begin(), summary.unproved.end());
            isQuiet =
                isQuiet && summary.startResult == 1 && summary.sent + summary.deletedOnServer == 0;
        }
        if (isQuiet)
            return;
    }
    ADD_FAILURE() << "the homes do not come to rest: " << testing::PrintToString(unproved);
}

void SyncEngineFixture::expectRest()
{
    syncUntilRest();
    const auto before = serverDigests();
    for (int round = 0; round < 2; ++round) {
        for (const auto& each : homes) {
            const int rewrites = each->store.rewrites();
            const SyncRunSummary summary = each->sync();
            EXPECT_EQ(summary.startResult, 1);
            EXPECT_EQ(each->store.rewrites(), rewrites);
        }
    }
    const auto after = serverDigests();
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t index = 0; index < after.size(); ++index)
        EXPECT_EQ(after[index].revision, before[index].revision);
}

std::vector<std::string> SyncEngineFixture::contents(MemoryHome& home)
{
    std::vector<std::string> lines;
    for (const HomeCalendar& each : home.calendarsAsRead()) {
        lines.push_back(each.title + " | " + each.type + " | " + each.color + " | " + each.group);
        for (const HomeItem& item : each.items) {
            Dictionary fields = item.fields;
            fields.remove("DateStamp");
            lines.push_back(each.title + " | " + item.conduit + " | " + fields.description());
        }
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

void SyncEngineFixture::expectEqualHomes()
{
    for (const auto& each : homes)
        EXPECT_EQ(contents(*each), contents(*homes.front()));
}

void SyncEngineFixture::removeItem(MemoryHome& home, const std::string& calendar,
                                   const std::string& title)
{
    auto& items = home.store.calendar(calendar)->items;
    const HomeItem* gone = home.store.item(calendar, title);
    ASSERT_NE(gone, nullptr);
    items.erase(items.begin() + (gone - items.data()));
}

void SyncEngineFixture::removeCalendar(MemoryHome& home, const std::string& title)
{
    auto& calendars = home.store.calendars;
    const HomeCalendar* gone = home.store.calendar(title);
    ASSERT_NE(gone, nullptr);
    calendars.erase(calendars.begin() + (gone - calendars.data()));
}

std::vector<ServerDigest> SyncEngineFixture::serverDigests()
{
    OpenedSession opened =
        syncServerWithURL(serverUrl())->openSession("default", "test", ServerAccess::readOnly);
    if (!opened.session) {
        ADD_FAILURE() << opened.reason;
        return {};
    }
    return opened.session->digests();
}

std::vector<RecordId> SyncEngineFixture::liveOnServer()
{
    std::vector<RecordId> live;
    for (const ServerDigest& digest : serverDigests()) {
        if (!digest.isTombstone)
            live.push_back(digest.id);
    }
    return live;
}

}  // namespace kt::test
