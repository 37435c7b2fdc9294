#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Sync/Host/Services/SyncRun.h"
#include "tests/histories/MemoryBackups.h"
#include "tests/histories/Steps.h"
#include "tests/histories/StoreHand.h"
#include "tests/support/MemoryFileManager.h"

namespace kt::test {

/// One machine: a disk in memory with a home on it, the local state in a file of its own, and the
/// real plug-in in the real host, started anew for each run as a program is.
class Device {
public:
    using Clock = std::function<Date()>;

    /// `statePath` is a file on the real disk, since that is where databases can be.
    Device(std::string name, int systemVersion, std::string statePath, Clock clock);

    struct Run {
        bool isKilled = false;
        int steps = 0;
        std::string refusal;   // what ended it before it began
        SyncRunResult result;  // unless killed
        std::vector<std::string> log;
    };
    /// One run of the program and, where it is due, its settling.
    Run sync(const std::string& serverURL, const SyncRunWishes& wishes, const Fault& fault);

    const std::string& name() const { return _name; }
    int systemVersion() const { return _systemVersion; }
    MemoryFileManager& disk() { return *_disk; }
    StoreHand& hand() { return *_hand; }
    const MemoryBackups& backups() const { return _backups; }
    const std::string& statePath() const { return _statePath; }
    /// What the store gave at the end of the last run.
    const SyncRecordList& records() const { return _records; }

    bool isOn(const StoreHand::Calendar& calendar);
    /// As a click in the list of calendars does it.
    void setOn(const StoreHand::Calendar& calendar, bool isOn);
    void askForFullSync();
    /// Whether the end of a rewrite is not settled yet.
    bool isMarked() const;

    struct StoreCopy {
        std::vector<MemoryFileManager::Snapshot> roots;
    };
    StoreCopy copyOfStore() const;
    void putStoreBack(const StoreCopy& copy);
    /// Puts one of the host's own backups back, as the host's command does.
    void restoreBackup(const std::string& name);

private:
    class Session;

    std::string _name;
    int _systemVersion;
    std::string _statePath;
    Clock _clock;
    std::string _home;
    std::shared_ptr<MemoryFileManager> _disk;
    std::unique_ptr<StoreHand> _hand;
    MemoryBackups _backups;
    SyncRecordList _records;
};

}  // namespace kt::test
