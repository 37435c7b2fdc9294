#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Sync/HostInterface/Controls.h"
#include "Sync/HostInterface/Image.h"
#include "Sync/HostInterface/KTClassTable.h"
#include "Sync/HostInterface/KTSyncPluginHelper.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// What the host can ask of a plug-in. Called on the host's threads, one at a time, except for
/// cancelSync and the watch callbacks, which may arrive while doSync runs.
class KTSyncPluginProtocol {
public:
    virtual ~KTSyncPluginProtocol() = default;

    virtual bool isEnabled() = 0;
    virtual void enable() = 0;
    virtual void disable() = 0;
    virtual bool needsLocalState() = 0;
    virtual int minimumRequiredOSVersion() = 0;
    virtual std::string name() = 0;
    virtual std::string displayName() = 0;
    virtual std::string shortDisplayName() = 0;
    virtual std::vector<std::string> syncConduits() = 0;
    /// Null without an interface file or a host that can load it. Brought up to date by each call.
    virtual View* configView() = 0;
    virtual std::shared_ptr<Image> menuIcon() = 0;
    virtual bool showInSyncPluginsList() = 0;
    virtual std::optional<std::vector<std::string>> filesToBackup() = 0;
    virtual std::optional<std::vector<std::string>> filesToWatch() = 0;
    virtual void watchedFileChanged(const std::string& path) = 0;
    virtual std::string binaryToWatch() = 0;
    virtual std::string binaryToWatchDisplayName() = 0;
    virtual bool canSyncWithRunningBinary() = 0;
    virtual void watchedBinaryDidLaunch() = 0;
    virtual void watchedBinaryDidTerminate() = 0;
    virtual bool terminateApplication() = 0;
    virtual bool launchApplication() = 0;
    virtual bool activate() = 0;
    virtual bool deactivate() = 0;
    virtual bool removePermanently() = 0;
    virtual bool resetSync() = 0;
    virtual bool cancelSync() = 0;
    virtual std::string describeRecord(const KTSyncRecord& record) = 0;
    virtual bool doSync() = 0;
};

/// What a bundle exports. The version is checked before anything else is called; it goes up with
/// every change to an abstract class of this folder.
inline constexpr int kPluginInterfaceVersion = 3;
inline constexpr const char* kPluginInterfaceVersionSymbol = "KTPluginInterfaceVersion";
inline constexpr const char* kPluginCreateSymbol = "KTPluginCreate";

/// int KTPluginInterfaceVersion()
using PluginInterfaceVersionFunction = int (*)();
/// KTSyncPluginProtocol* KTPluginCreate(principalClass, classTable, helper, bundlePath): the
/// principal object of the class named in Info.plist (NSPrincipalClass), or null. The caller owns
/// it and deletes it before the bundle goes.
using PluginCreateFunction = KTSyncPluginProtocol* (*)(const char* principalClass,
                                                       const KTClassTable* classTable,
                                                       KTSyncPluginHelper* helper,
                                                       const char* bundlePath);

}  // namespace kt
