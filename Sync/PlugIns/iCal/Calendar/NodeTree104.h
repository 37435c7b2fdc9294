#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/HostInterface/KTSyncPluginHelper.h"

namespace kt {

/// The nodes of a 10.4 node file while it is being put together. Members may come before or after
/// their group; one whose group never comes ends up in no node, which is told as a loss.
class NodeTree104 {
public:
    explicit NodeTree104(KTSyncPluginHelper* pluginHelper) : _pluginHelper(pluginHelper) {}

    /// `groupKey` is the record key of a node that is a group, `parentKey` that of the group that
    /// the node belongs to; without one it stands at the top. The title is for reports.
    void add(Dictionary node, std::optional<std::string> groupKey,
             const std::optional<std::string>& parentKey, std::string title);

    /// "Version" and "List", with every group's members in its "Subnodes". Of groups that hold one
    /// another the first stands at the top. Groups that are found again inside themselves, stand
    /// deeper than a property list may be nested, or come so often that the file would grow beyond
    /// a few times the nodes there are, are written without members. Each time a line says so.
    Dictionary nodeFile() const;

private:
    struct Entry {
        Dictionary node;
        std::optional<std::string> groupKey;
        std::optional<std::string> parentKey;
        std::string title;
    };
    using Positions = std::vector<std::size_t>;  // in _entries

    class Builder;

    std::optional<std::size_t> groupAround(std::size_t position) const;
    Positions groupsInCircles() const;

    KTSyncPluginHelper* _pluginHelper;  // not owned, may be null
    std::vector<Entry> _entries;
    Positions _top;
    std::unordered_map<std::string, Positions> _members;   // by the group's record key
    std::unordered_map<std::string, std::size_t> _groups;  // the first of each record key
};

}  // namespace kt
