#pragma once

#include <string>

#include "Sync/Host/Services/PluginHost.h"
#include "Sync/Host/Services/SuiteFolder.h"

namespace kt::test {

/// What a host works with in a process that nobody looks at. To be made where the home's disk is in
/// force.
class QuietServices {
public:
    QuietServices(const std::string& home, int systemVersion, Preferences::Storage storage)
        : _suite(home),
          _systemVersion(systemVersion),
          _preferences(_suite.preferencesPath(), storage)
    {}
    QuietServices(const QuietServices&) = delete;
    QuietServices& operator=(const QuietServices&) = delete;

    HostServices services()
    {
        return {_preferences,      _log,          _fileLogger, _statusLine, _processes,
                CalendarProgram{}, _systemVersion};
    }

private:
    static constexpr int kNoDescriptor = -1;

    SuiteFolder _suite;
    int _systemVersion;
    StatusLine _statusLine{kNoDescriptor, StatusLine::Detail::warnings};
    HostLog _log{_suite.logPath(), _statusLine};
    HostFileLogger _fileLogger{_suite.fileLogPath(), _statusLine};
    Processes _processes{"/nonexistent"};
    Preferences _preferences;
};

}  // namespace kt::test
