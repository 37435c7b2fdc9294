#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sync/Host/Services/CalendarPreferences.h"
#include "Sync/Host/Services/PluginPreferences.h"
#include "tests/support/RecordingPluginHelper.h"

namespace kt::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class CalendarPreferencesOfHost : public testing::Test {
protected:
    void setSwitches(const Dictionary& switches)
    {
        host.updatePreferenceWithObject(kSyncedCalendarsPreference, switches);
    }
    Value published()
    {
        return host.objectPreferenceForKey(kPublishedCalendarsPreference, Value());
    }

    RecordingPluginHelper host;
    CalendarPreferences preferences{host};
};

TEST_F(CalendarPreferencesOfHost, HaveNoSwitchesInANewHome)
{
    EXPECT_THAT(preferences.switches(), IsEmpty());
    preferences.moveSwitch("a", "b");
    EXPECT_THAT(preferences.switches(), IsEmpty());
}

TEST_F(CalendarPreferencesOfHost, GiveASwitchToThePresentKeyAlone)
{
    setSwitches({{"a", 0}, {"c", 1}});
    preferences.moveSwitch("a", "b");
    EXPECT_THAT(preferences.switches(), ElementsAre(Pair("b", false), Pair("c", true)));
}

TEST_F(CalendarPreferencesOfHost, MoveOnlySwitchesThatAreOffAndThatNobodySetAnew)
{
    setSwitches({{"off", 0}, {"on", 1}, {"asked", 0}, {"answered", 1}});
    const auto before = preferences.switches();
    setSwitches({{"off", 0}, {"on", 1}, {"asked", 0}, {"answered", 1}, {"off now", 1}});
    preferences.moveSwitchesOff(
        {{"off", "off now"}, {"on", "on now"}, {"asked", "answered"}, {"unknown", "other"}},
        before);
    EXPECT_THAT(preferences.switches(), ElementsAre(Pair("answered", true), Pair("asked", false),
                                                    Pair("off now", false), Pair("on", true)));
}

TEST_F(CalendarPreferencesOfHost, ExchangeWhatIsPublic)
{
    host.updatePreferenceWithObject(kPublishedCalendarsPreference,
                                    Dictionary{{"a", "options of a"},
                                               {"b", "options of b"},
                                               {"c", "options of c"}});
    preferences.movePublished({{"a", "b"}, {"b", "a"}, {"c", "d"}});
    EXPECT_EQ(published(),
              Value(
                  Dictionary{{"a", "options of b"}, {"b", "options of a"}, {"d", "options of c"}}));
}

}  // namespace
}  // namespace kt::test
