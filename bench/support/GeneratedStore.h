#pragma once

#include <string>

namespace kt::bench {

/// A 10.5 store of invented events in a temporary home, removed with the object. Every event has a
/// zone, an alarm, a note and, each seventh, a rule, as iCal writes them.
class GeneratedStore {
public:
    /// `eventCount` files of one event each, in one calendar.
    explicit GeneratedStore(int eventCount);
    ~GeneratedStore();
    GeneratedStore(const GeneratedStore&) = delete;
    GeneratedStore& operator=(const GeneratedStore&) = delete;

    /// Leaves the home where it is when the object goes.
    void keep() { _keep = true; }

    const std::string& home() const { return _home; }
    std::string eventsFolder() const;

    /// The lines of one VEVENT, BEGIN and END included.
    static std::string event(int number);
    /// One file around some events.
    static std::string calendarFile(const std::string& events);

private:
    std::string _home;
    bool _keep = false;
};

}  // namespace kt::bench
