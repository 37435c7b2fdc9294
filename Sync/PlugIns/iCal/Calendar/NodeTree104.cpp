#include "Sync/PlugIns/iCal/Calendar/NodeTree104.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "Sync/Foundation/Format.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/HostInterface/StorePaths.h"

namespace kt {

namespace {

constexpr int kNodeFileVersion = 2;

// Around a node at the top stand the file's dictionary and "List", around each further one a group
// and its "Subnodes"; within it there may be "Publishers", one publisher and its "Sources".
constexpr int kLevelsAroundTop = 2;
constexpr int kLevelsOfGroup = 2;
constexpr int kLevelsOfNode = 4;
constexpr int kDeepestGroup =
    (kPropertyListDepthLimit - kLevelsAroundTop - kLevelsOfNode) / kLevelsOfGroup;

}  // namespace

/// Puts members into their groups, from the top down.
class NodeTree104::Builder {
public:
    explicit Builder(const NodeTree104& tree) : _tree(tree), _isPlaced(tree._entries.size()) {}

    /// The top of the tree.
    Array list()
    {
        Positions top = _tree._top;
        for (const std::size_t position : _tree.groupsInCircles()) {
            logMsg(_tree._pluginHelper,
                   "Gruppe '%@' ist in sich selbst verschachtelt: ohne ihre Gruppe geschrieben",
                   _tree._entries[position].title);
            _takenOut.insert(position);
            top.push_back(position);
        }
        return nodes(top, 0);
    }

    void reportUnplaced() const
    {
        for (std::size_t position = 0; position < _isPlaced.size(); ++position) {
            if (_isPlaced[position])
                continue;
            const LossScope scope(_tree._entries[position].title, StorePaths().nodeFile());
            reportLoss(KTLoss::Kind::curtailed,
                       "Der Kalender wird nicht geschrieben: seine Gruppe fehlt");
        }
    }

private:
    Array nodes(const Positions& positions, int depth)
    {
        Array nodes;
        nodes.reserve(positions.size());
        for (const std::size_t position : positions) {
            if (depth > 0 && _takenOut.contains(position))
                continue;
            _isPlaced[position] = true;
            ++_placed;
            const Entry& entry = _tree._entries[position];
            Dictionary node = entry.node;
            if (entry.groupKey)
                node.set("Subnodes", members(entry, depth));
            nodes.emplace_back(std::move(node));
        }
        return nodes;
    }

    /// Groups of one key share their members, so each of them shows all. Groups that come twice at
    /// every level would double the file with each; once it is as long again as it had to be,
    /// members are not repeated any more.
    bool isRepeatedTooOften(const std::string& groupKey)
    {
        const bool isFirst = _opened.insert(groupKey).second;
        return !isFirst && _placed > 2 * _tree._entries.size();
    }

    Array members(const Entry& group, int depth)
    {
        const auto found = _tree._members.find(*group.groupKey);
        if (found == _tree._members.end())
            return {};
        if (depth == kDeepestGroup || _open.contains(*group.groupKey))
            return withoutMembers(group, "ist in sich selbst oder zu tief verschachtelt");
        if (isRepeatedTooOften(*group.groupKey))
            return withoutMembers(group, "kommt zu oft vor");
        _open.insert(*group.groupKey);
        Array members = nodes(found->second, depth + 1);
        _open.erase(*group.groupKey);
        return members;
    }

    Array withoutMembers(const Entry& group, std::string_view reason) const
    {
        const LossScope scope(group.title, StorePaths().nodeFile());
        logMsg(_tree._pluginHelper, "Gruppe '%@' %@: ohne Mitglieder geschrieben", group.title,
               reason);
        reportLoss(KTLoss::Kind::curtailed, stringWithFormat("Die Gruppe %@", reason));
        return {};
    }

    const NodeTree104& _tree;
    std::vector<bool> _isPlaced;
    std::size_t _placed = 0;                    // nodes, repeated ones included
    std::unordered_set<std::size_t> _takenOut;  // groups taken out of the circle they stand in
    std::unordered_set<std::string> _open;      // groups whose members are being placed
    std::unordered_set<std::string> _opened;    // ... or were
};

std::optional<std::size_t> NodeTree104::groupAround(std::size_t position) const
{
    const auto& parentKey = _entries[position].parentKey;
    const auto found = parentKey ? _groups.find(*parentKey) : _groups.end();
    return found == _groups.end() ? std::nullopt : std::optional(found->second);
}

/// Of each circle of groups that stand in one another, and so in nothing at the top, the first.
NodeTree104::Positions NodeTree104::groupsInCircles() const
{
    Positions found;
    std::vector<std::size_t> walks(_entries.size());  // number of the walk that came by; 0: none
    for (std::size_t start = 0; start < _entries.size(); ++start) {
        std::optional<std::size_t> position = start;
        while (position && walks[*position] == 0) {
            walks[*position] = start + 1;
            position = groupAround(*position);
        }
        if (!position || walks[*position] != start + 1)
            continue;  // out at the top, or where an earlier walk has been
        std::size_t first = *position;
        for (auto next = groupAround(first); next != position; next = groupAround(*next))
            first = std::min(first, *next);
        found.push_back(first);
    }
    return found;
}

void NodeTree104::add(Dictionary node, std::optional<std::string> groupKey,
                      const std::optional<std::string>& parentKey, std::string title)
{
    Positions& siblings = parentKey ? _members[*parentKey] : _top;
    siblings.push_back(_entries.size());
    if (groupKey)
        _groups.try_emplace(*groupKey, _entries.size());
    _entries.push_back(Entry{std::move(node), std::move(groupKey), parentKey, std::move(title)});
}

Dictionary NodeTree104::nodeFile() const
{
    Builder builder(*this);
    Dictionary file{{"Version", kNodeFileVersion}, {"List", builder.list()}};
    builder.reportUnplaced();
    return file;
}

}  // namespace kt
