#pragma once

#include <memory>
#include <string>

#include "Sync/Foundation/Bundle.h"
#include "Sync/HostInterface/KTClassTable.h"
#include "Sync/HostInterface/KTSyncPluginHelper.h"
#include "Sync/HostInterface/KTSyncPluginProtocol.h"

namespace kt {

/// A plug-in at work: its bundle is open and the host's classes are in force for as long as the
/// object lives.
class LoadedPlugin {
public:
    ~LoadedPlugin();
    LoadedPlugin(const LoadedPlugin&) = delete;
    LoadedPlugin& operator=(const LoadedPlugin&) = delete;

    KTSyncPluginProtocol& operator*() const { return *_principal; }
    KTSyncPluginProtocol* operator->() const { return _principal.get(); }

private:
    friend class PluginLoader;
    LoadedPlugin(std::shared_ptr<Bundle> bundle, const KTClassTable& classes);

    std::shared_ptr<Bundle> _bundle;
    KTClassTable _classesBefore;
    std::unique_ptr<KTSyncPluginProtocol> _principal;  // goes before its code does
};

/// Opens plug-in bundles. All that can be looked at is checked before any of the bundle's code is
/// called, and after a refusal everything is as it was: nothing open, no class set.
class PluginLoader {
public:
    /// `classes` are those that the plug-in finds by name; `helper` is the host it talks to. Both
    /// have to outlive the plug-in. Throws Exception NSGenericException, with a line for the user
    /// that says why, when the bundle is refused.
    static std::unique_ptr<LoadedPlugin> load(const std::string& path, const KTClassTable& classes,
                                              KTSyncPluginHelper& helper);
};

}  // namespace kt
