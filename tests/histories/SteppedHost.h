#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Sync/Host/Services/ReferenceHost.h"
#include "tests/histories/Steps.h"

namespace kt::test {

/// The host of a run, quiet, whose every call is followed by a moment in which the process can end.
class SteppedHost : public ReferenceHost {
public:
    SteppedHost(HostServices services, SyncEngine& engine, Steps& steps)
        : ReferenceHost(std::move(services), engine),
          _steps(steps)
    {}

    /// What the store gave in the last session that got as far, settling runs included.
    const SyncRecordList& loaded() const { return _loaded; }
    const std::vector<std::string>& log() const { return _log; }

    int startSync(int mode) override
    {
        const int result = ReferenceHost::startSync(mode);
        _log.push_back("start " + std::to_string(result));
        _steps.elsewhere();
        return result;
    }
    std::optional<SyncResult> diffLocalStateWithLocalUpdates(
        const SyncRecordList& localUpdates, const std::optional<SyncRecordList>& remoteUpdates,
        int diffMode) override
    {
        _loaded = localUpdates;
        auto result =
            ReferenceHost::diffLocalStateWithLocalUpdates(localUpdates, remoteUpdates, diffMode);
        _steps.elsewhere();
        return result;
    }
    bool finishSync() override
    {
        const bool isFinished = ReferenceHost::finishSync();
        _steps.elsewhere();
        return isFinished;
    }
    std::optional<SyncRecordMap> getLocalState() override
    {
        auto state = ReferenceHost::getLocalState();
        _steps.elsewhere();
        return state;
    }

    void logMsg(std::string_view message) override { _log.emplace_back(message); }
    KTFileLogger* fileLogger() override { return nullptr; }
    void progress(std::string_view, int, int) override {}

protected:
    void consoleLine(std::string_view) override {}

private:
    Steps& _steps;
    SyncRecordList _loaded;
    std::vector<std::string> _log;
};

}  // namespace kt::test
