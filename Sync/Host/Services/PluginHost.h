#pragma once

#include <string>

#include "Sync/Host/Services/AppleScripts.h"
#include "Sync/Host/Services/HostLog.h"
#include "Sync/Host/Services/Preferences.h"
#include "Sync/Host/Services/Processes.h"
#include "Sync/Host/Services/StatusLine.h"
#include "Sync/HostInterface/KTSyncPluginHelper.h"

namespace kt {

/// What a host object works with; all of it outlives the host.
struct HostServices {
    Preferences& preferences;
    HostLog& log;
    HostFileLogger& fileLogger;
    StatusLine& statusLine;
    const Processes& processes;
    CalendarProgram calendarProgram;
    int systemVersion;         // 4 or 5
    std::string publicSite{};  // base address of the public calendar site, empty for none
};

/// The host object as far as it is the same for every run: preferences, logs, status line and the
/// services of the system. Whose session it is, is what its subclasses differ in. While it lives,
/// the system log is part of its detailed log.
class PluginHost : public KTSyncPluginHelper {
public:
    explicit PluginHost(HostServices services);
    ~PluginHost() override;
    PluginHost(const PluginHost&) = delete;
    PluginHost& operator=(const PluginHost&) = delete;

    bool boolPreferenceForKey(std::string_view key, bool defaultValue) override;
    Value objectPreferenceForKey(std::string_view key, const Value& defaultValue) override;
    void updatePreferenceWithBool(std::string_view key, bool value) override;
    void updatePreferenceWithObject(std::string_view key, const Value& value) override;

    void logMsg(std::string_view message) override;
    KTFileLogger* fileLogger() override;
    void setStatusMsg(std::string_view message) override;
    void progress(std::string_view title, int current, int total) override;

    bool runAppleScript(std::string_view source) override;
    bool isBinaryRunning(std::string_view name) override;
    int macOSVersion() override { return _services.systemVersion; }
    /// Nothing syncs by itself yet, so there is nothing to trigger or to hold back either.
    bool isAutomaticSyncActivated() override { return false; }
    void triggerExternalSync() override {}
    void disableFileNotifications() override {}
    void enableFileNotifications() override {}
    std::optional<std::string> publicSiteUrl() override;

    /// The status text set last, empty before the first.
    const std::string& status() const { return _status; }
    /// Whether a preference could not be written; it was shown as a warning.
    bool hasLostPreferences() const { return _hasLostPreferences; }

    /// For a run that is nobody's business: while it lives, no status and no log line is shown or
    /// stored, and preferences go back afterwards to what they were.
    class Silence {
    public:
        explicit Silence(PluginHost& host);
        ~Silence();
        Silence(const Silence&) = delete;
        Silence& operator=(const Silence&) = delete;

    private:
        PluginHost& _host;
        Preferences _preferences;
    };

protected:
    HostServices& services() { return _services; }
    /// What the user is told when a preference could not be written.
    std::string lineForLostPreferences() const;
    /// A line of the system log.
    virtual void consoleLine(std::string_view line);

private:
    void store(std::string_view key, const Value& value);

    HostServices _services;
    AppleScripts _appleScripts;
    Preferences* _preferences;  // those in force
    std::string _status;
    bool _isSilent = false;
    bool _hasLostPreferences = false;
};

}  // namespace kt
