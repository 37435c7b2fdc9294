#include "Sync/PlugIns/iCal/Calendar/NodeTree104.h"

#include <unordered_set>
#include <utility>

#include "Sync/Foundation/PropertyList.h"
#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/StorePaths.h"

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

    Array nodes(const Positions& positions, int depth)
    {
        Array nodes;
        nodes.reserve(positions.size());
        for (const std::size_t position : positions) {
            _isPlaced[position] = true;
            const Entry& entry = _tree._entries[position];
            Dictionary node = entry.node;
            if (entry.groupKey)
                node.set("Subnodes", members(entry, depth));
            nodes.emplace_back(std::move(node));
        }
        return nodes;
    }

    void reportUnplaced() const
    {
        for (std::size_t position = 0; position < _isPlaced.size(); ++position) {
            if (_isPlaced[position])
                continue;
            const LossScope scope(_tree._entries[position].title, StorePaths::nodeFile());
            reportLoss("Der Kalender wird nicht geschrieben: seine Gruppe fehlt");
        }
    }

private:
    Array members(const Entry& group, int depth)
    {
        const auto found = _tree._members.find(*group.groupKey);
        if (found == _tree._members.end())
            return {};
        if (depth == kDeepestGroup || _open.contains(*group.groupKey)) {
            logMsg(_tree._pluginHelper,
                   "Gruppe '%@' ist in sich selbst oder zu tief verschachtelt: ohne Mitglieder "
                   "geschrieben",
                   group.title);
            const LossScope scope(group.title, StorePaths::nodeFile());
            reportLoss("Die Gruppe ist in sich selbst oder zu tief verschachtelt");
            return {};
        }
        _open.insert(*group.groupKey);
        Array members = nodes(found->second, depth + 1);
        _open.erase(*group.groupKey);
        return members;
    }

    const NodeTree104& _tree;
    std::vector<bool> _isPlaced;
    std::unordered_set<std::string> _open;  // groups whose members are being placed
};

void NodeTree104::add(Dictionary node, std::optional<std::string> groupKey,
                      const std::optional<std::string>& parentKey, std::string title)
{
    Positions& siblings = parentKey ? _members[*parentKey] : _top;
    siblings.push_back(_entries.size());
    _entries.push_back(Entry{std::move(node), std::move(groupKey), std::move(title)});
}

Dictionary NodeTree104::nodeFile() const
{
    Builder builder(*this);
    Dictionary file{{"Version", kNodeFileVersion}, {"List", builder.nodes(_top, 0)}};
    builder.reportUnplaced();
    return file;
}

}  // namespace kt
