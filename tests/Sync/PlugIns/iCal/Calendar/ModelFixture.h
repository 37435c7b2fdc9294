#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Foundation/Text.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"
#include "tests/support/HostClassesScope.h"
#include "tests/support/PlatformScope.h"
#include "tests/support/RecordingPluginHelper.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/ValuePrinting.h"

namespace kt::test {

inline const std::string kParentKey = "parent";

/// A home folder, a host of system version 5 and its classes; the local zone is Europe/Berlin.
class ModelFixture : public testing::Test {
protected:
    /// The lines of a component stand one in a row, as in a file, without BEGIN and END.
    std::shared_ptr<KTSyncEvent> event(std::string_view text)
    {
        LineList lines(componentsSeparatedByString(text, "\n"));
        return KTSyncEvent::syncEventWithPluginHelper(&helper, kParentKey, lines);
    }
    std::shared_ptr<KTSyncTask> task(std::string_view text)
    {
        LineList lines(componentsSeparatedByString(text, "\n"));
        return KTSyncTask::syncTaskWithPluginHelper(&helper, kParentKey, lines);
    }
    std::shared_ptr<KTSyncEvent> eventOf(const Dictionary& record)
    {
        return KTSyncEvent::syncEventWithPluginHelper(&helper, "event-key", record);
    }
    std::shared_ptr<KTSyncTask> taskOf(const Dictionary& record)
    {
        return KTSyncTask::syncTaskWithPluginHelper(&helper, "task-key", record);
    }
    std::shared_ptr<KTSyncCalendar> calendar(std::int32_t type = kCalendarTypeNode,
                                             std::optional<std::string> sourceKey = "source")
    {
        auto made =
            KTSyncCalendar::syncCalendarWithPluginHelper(&helper, type, std::move(sourceKey), {});
        made->setTitle("Privat");
        made->setColor("#FF0000");
        made->setNotes("");
        return made;
    }

    std::shared_ptr<KTSyncCalendar> calendarOf(const Dictionary& record)
    {
        return KTSyncCalendar::syncCalendarWithPluginHelper(&helper, "given", record);
    }

    static EnhancedDate date(std::string_view text, const std::string& zone = "Europe/Berlin")
    {
        return KTSyncCalendarTools::parseICalDate(Value(text), zone, nullptr);
    }
    static std::vector<std::string> keysOf(const Dictionary& dictionary)
    {
        std::vector<std::string> keys;
        for (const auto& [key, value] : dictionary)
            keys.push_back(key);
        return keys;
    }
    std::vector<std::string> lossReasons() const { return classes.lossReasons(); }

    TemporaryFolder home;
    PlatformScope platform{home.path()};
    HostClassesScope classes;
    RecordingPluginHelper helper;
};

/// The reason of the Exception that a body throws, or empty when it throws none.
template <class Body>
std::string reasonOfException(Body&& body)
{
    try {
        body();
    } catch (const Exception& exception) {
        return exception.reason();
    }
    return {};
}

}  // namespace kt::test
