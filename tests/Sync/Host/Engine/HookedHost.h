#pragma once

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "Sync/Host/Services/ReferenceHost.h"

namespace kt::test {

/// The host of a run, quiet, with a call at each moment at which something can be made to happen.
class HookedHost : public ReferenceHost {
public:
    struct Hooks {
        using Moment = std::function<void()>;
        Moment onLoading;       // the store is about to be loaded
        Moment onCompared;      // records were compared
        Moment beforeFinish;    // the session is about to take effect
        Moment onFinished;      // it took effect
        Moment beforeState;     // the state to be written is about to be asked for
        Moment onState;         // it was given out
        Moment onPluginIsDone;  // the plug-in comes to its end
    };

    HookedHost(HostServices services, SyncEngine& engine, Hooks hooks)
        : ReferenceHost(std::move(services), engine),
          _hooks(std::move(hooks))
    {}

    // Of the last session.
    int startResult() const { return _startResult; }
    const SyncRecordList& pulled() const { return _pulled; }

    void disableFileNotifications() override { _hooks.onLoading(); }
    int startSync(int mode) override { return _startResult = ReferenceHost::startSync(mode); }
    std::optional<SyncRecordList> pullRecords() override
    {
        auto pulled = ReferenceHost::pullRecords();
        _pulled = pulled.value_or(SyncRecordList{});
        return pulled;
    }
    std::optional<SyncResult> diffLocalStateWithLocalUpdates(
        const SyncRecordList& localUpdates, const std::optional<SyncRecordList>& remoteUpdates,
        int diffMode) override
    {
        auto result =
            ReferenceHost::diffLocalStateWithLocalUpdates(localUpdates, remoteUpdates, diffMode);
        _hooks.onCompared();
        return result;
    }
    bool finishSync() override
    {
        _hooks.beforeFinish();
        const bool isFinished = ReferenceHost::finishSync();
        if (isFinished)
            _hooks.onFinished();
        return isFinished;
    }
    std::optional<SyncRecordMap> getLocalState() override
    {
        _hooks.beforeState();
        auto state = ReferenceHost::getLocalState();
        if (state)
            _hooks.onState();
        return state;
    }
    void enableFileNotifications() override { _hooks.onPluginIsDone(); }

    void logMsg(std::string_view) override {}
    KTFileLogger* fileLogger() override { return nullptr; }
    void progress(std::string_view, int, int) override {}

protected:
    void consoleLine(std::string_view) override {}

private:
    Hooks _hooks;
    int _startResult = 0;
    SyncRecordList _pulled;
};

}  // namespace kt::test
