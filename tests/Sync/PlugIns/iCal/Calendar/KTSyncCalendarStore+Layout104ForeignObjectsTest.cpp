// What is thrown and is no Exception passes the handlers of the 10.4 layout's reader.

#include "tests/Sync/PlugIns/iCal/Calendar/Store104Fixture.h"
#include "tests/support/FailingFileManager.h"

namespace kt::test {
namespace {

using ::testing::IsEmpty;

class Layout104ForeignObjects : public Store104Fixture {};

/// Throws when a file, which cannot be read at first, is read for the second time.
class ThrowingAtSecondReading : public FailingFileManager {
public:
    explicit ThrowingAtSecondReading(std::string name)
        : FailingFileManager(makePosixFileManager(), 0),
          _name(std::move(name))
    {}

    std::optional<std::string> contentsAtPath(const std::string& path) const override
    {
        if (lastPathComponent(path) != _name)
            return FailingFileManager::contentsAtPath(path);
        if (++_readings > 1)
            throw 42;
        return std::nullopt;
    }

private:
    std::string _name;
    mutable int _readings = 0;
};

TEST_F(Layout104ForeignObjects, PassWhileTheAddressOfASubscriptionIsLookedFor)
{
    writeCalendar("A", "Spiele", kSubscription);
    writeNodes({calendarNode("A")});
    Platform::shared().setFileManager(
        std::make_shared<ThrowingAtSecondReading>("Properties.plist"));
    EXPECT_THROW(store->calendars(), int);
    EXPECT_THAT(helper.fileLog(), IsEmpty());
}

class ThrowingFileLogger : public KTFileLogger {
public:
    void logEntry(std::string_view) override { throw 42; }
};

class HostWithThrowingLogger : public RecordingPluginHelper {
public:
    KTFileLogger* fileLogger() override { return &_logger; }

private:
    ThrowingFileLogger _logger;
};

TEST_F(Layout104ForeignObjects, PassWhilePublishersOfTheWrongKindAreLogged)
{
    HostWithThrowingLogger host;
    host.script.macOSVersion = 4;
    writeNodes({with(groupNode("Team"), "Publishers", "text")});
    EXPECT_THROW(KTSyncCalendarStore::calendarStoreWithPluginHelper(&host)->calendars(), int);
}

}  // namespace
}  // namespace kt::test
