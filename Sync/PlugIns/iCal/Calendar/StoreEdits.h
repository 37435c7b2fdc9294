#pragma once

#include <string>
#include <unordered_set>
#include <vector>

#include "Sync/HostInterface/KTSyncPluginHelper.h"

namespace kt {

/// What a rewrite is going to do to the files of a store, worked out before anything is touched.
class StoreEdits {
public:
    /// A whole file; folders above it that are missing are made. The title is for reports.
    void write(std::string path, std::string bytes, std::string calendarTitle);
    /// The same for a file that items are taken out of, which may come into another one. What comes
    /// into this file as well is written before.
    void takeOut(std::string path, std::string bytes, std::string calendarTitle);
    /// A file or a folder with all its content.
    void remove(std::string path, std::string calendarTitle);

    bool empty() const { return _writes.empty() && _takings.empty() && _removals.empty(); }
    bool writes(const std::string& path) const { return _paths.contains(path); }
    bool removes(const std::string& path) const { return _removed.contains(path); }

    /// Writes first, in the order in which they came, each file whole at every instant; then takes
    /// items out; then removes. Nothing is taken out or removed unless everything could be written:
    /// until then an item may stand in no other file. False when something failed, which is told as
    /// a loss and in the host's log; the rest of the same step goes on.
    bool apply(KTSyncPluginHelper* pluginHelper) const;

private:
    struct Write {
        std::string path;
        std::string bytes;
        std::string title;
    };
    struct Removal {
        std::string path;
        std::string title;
    };

    static bool apply(const Write& write, KTSyncPluginHelper* pluginHelper);
    static bool apply(const Removal& removal, KTSyncPluginHelper* pluginHelper);

    template <class Edit>
    static bool applyAll(const std::vector<Edit>& edits, KTSyncPluginHelper* pluginHelper);

    std::vector<Write> _writes;
    std::vector<Write> _takings;
    std::vector<Removal> _removals;
    std::unordered_set<std::string> _paths;    // of what is written
    std::unordered_set<std::string> _removed;  // paths
};

}  // namespace kt
