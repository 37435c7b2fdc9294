#pragma once

#include <string>
#include <utility>

#include "Sync/HostInterface/KTSyncPluginProtocol.h"

#define KT_EXPORTED extern "C" __attribute__((visibility("default")))

namespace kt::test {

/// The least that a host takes for a plug-in; the bundles in tests/bundles are made of it. It says
/// in the host's log that it lives and that it ends.
class SmallPlugin : public KTSyncPluginProtocol {
public:
    explicit SmallPlugin(KTSyncPluginHelper* helper) : _helper(helper) { logMsg(_helper, "da"); }
    ~SmallPlugin() override { logMsg(_helper, "fort"); }

    bool isEnabled() override { return true; }
    void enable() override {}
    void disable() override {}
    bool needsLocalState() override { return true; }
    int minimumRequiredOSVersion() override { return 4; }
    std::string name() override { return "SmallPlugin"; }
    std::string displayName() override { return "Klein"; }
    std::string shortDisplayName() override { return "Klein"; }
    std::vector<std::string> syncConduits() override { return {}; }
    View* configView() override { return nullptr; }
    std::shared_ptr<Image> menuIcon() override { return nullptr; }
    bool showInSyncPluginsList() override { return true; }
    std::optional<std::vector<std::string>> filesToBackup() override { return {}; }
    std::optional<std::vector<std::string>> filesToWatch() override { return {}; }
    void watchedFileChanged(const std::string&) override {}
    std::string binaryToWatch() override { return "klein"; }
    std::string binaryToWatchDisplayName() override { return "Klein"; }
    bool canSyncWithRunningBinary() override { return false; }
    void watchedBinaryDidLaunch() override {}
    void watchedBinaryDidTerminate() override {}
    bool terminateApplication() override { return true; }
    bool launchApplication() override { return true; }
    bool activate() override { return true; }
    bool deactivate() override { return true; }
    bool removePermanently() override { return true; }
    bool resetSync() override { return true; }
    bool cancelSync() override { return true; }
    std::string describeRecord(const KTSyncRecord&) override { return {}; }
    /// Whether the host's class of records can be found from inside the bundle.
    bool doSync() override { return hostClass<KTSyncRecordClass>() != nullptr; }

private:
    KTSyncPluginHelper* _helper;
};

}  // namespace kt::test
