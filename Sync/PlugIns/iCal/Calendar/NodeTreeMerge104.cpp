#include "Sync/PlugIns/iCal/Calendar/NodeTreeMerge104.h"

#include <utility>

#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendar.h"
#include "Sync/PlugIns/iCal/Calendar/SettingsMerge.h"

namespace kt {

namespace {

constexpr std::string_view kGroupKind = "CALNamedGroupNode";
constexpr std::string_view kMembersKey = "Subnodes";

const Array& listIn(const Dictionary& dictionary, std::string_view key)
{
    static const Array none;
    const Value& list = dictionary[key];
    return list.isArray() ? list.array() : none;
}

bool isGroupNode(const Dictionary& node) { return node["Type"] == Value(kGroupKind); }

/// For a group that has no key.
std::string keyForTitle(const Value& title) { return "\n" + title.description(); }

std::string keyOfNode(const Dictionary& node)
{
    const Value& key = node[node.contains("SourceKey") ? "SourceKey" : "Key"];
    return key.isString() ? std::string(key.string()) : keyForTitle(node["Title"]);
}

}  // namespace

void NodeTreeMerge104::addLoaded(const LoadedCalendar& loaded, Dictionary written)
{
    const bool isGroup = loaded.calendar->calendarType() == kCalendarTypeGroup;
    const std::string key =
        loaded.calendar->ownSourceKey().value_or(keyForTitle(loaded.calendar->title()));
    Known& known = _known[{key, isGroup}];
    known.loaded = &loaded;
    known.written = std::move(written);
    _byLoaded[&loaded] = &known;
}

void NodeTreeMerge104::addWanted(const std::string& recordKey, const LoadedCalendar* stored)
{
    _storedOfWanted.emplace(recordKey, stored);
    _wanted.insert(stored);
}

/// Of several nodes with one key the last one gave the calendar.
void NodeTreeMerge104::findNodes(const Array& nodes)
{
    for (const Value& node : nodes) {
        if (!node.isDictionary())
            continue;
        const Dictionary& dictionary = node.dictionary();
        const auto known = _known.find({keyOfNode(dictionary), isGroupNode(dictionary)});
        if (known != _known.end())
            known->second.node = &dictionary;
        findNodes(listIn(dictionary, kMembersKey));
    }
}

void NodeTreeMerge104::findWanted(const Array& nodes)
{
    for (const Value& node : nodes) {
        const auto known = _byLoaded.find(storedOf(node.dictionary()));
        if (known != _byLoaded.end())
            known->second->wanted = &node.dictionary();
        findWanted(listIn(node.dictionary(), kMembersKey));
    }
}

void NodeTreeMerge104::findNewFolders(const Array& wanted)
{
    for (const Value& node : wanted) {
        const Dictionary& dictionary = node.dictionary();
        if (!isGroupNode(dictionary) && knownOf(dictionary) == nullptr)
            _newFolders.insert(keyOfNode(dictionary));
        findNewFolders(listIn(dictionary, kMembersKey));
    }
}

bool NodeTreeMerge104::isReplaced(const Dictionary& unknownNode) const
{
    return !isGroupNode(unknownNode) && _newFolders.contains(keyOfNode(unknownNode));
}

void NodeTreeMerge104::findNodesInUnknown(const Array& nodes, bool areInUnknown)
{
    for (const Value& node : nodes) {
        if (!node.isDictionary())
            continue;
        Known* const known = knownNode(node);
        if (known != nullptr)
            known->isInUnknown = areInUnknown;
        findNodesInUnknown(listIn(node.dictionary(), kMembersKey),
                           areInUnknown || known == nullptr);
    }
}

NodeTreeMerge104::Known* NodeTreeMerge104::knownNode(const Value& node)
{
    const auto found = node.isDictionary() ? _byNode.find(&node.dictionary()) : _byNode.end();
    return found == _byNode.end() ? nullptr : found->second;
}

const LoadedCalendar* NodeTreeMerge104::storedOf(const Dictionary& wantedNode) const
{
    const auto found = _storedOfWanted.find(wantedNode["Key"].description());
    return found == _storedOfWanted.end() ? nullptr : found->second;
}

const NodeTreeMerge104::Known* NodeTreeMerge104::knownOf(const Dictionary& wantedNode) const
{
    const auto known = _byLoaded.find(storedOf(wantedNode));
    return known == _byLoaded.end() ? nullptr : known->second;
}

Array NodeTreeMerge104::withoutNodesInUnknown(const Array& wanted) const
{
    Array nodes;
    for (const Value& node : wanted) {
        const Known* const known = knownOf(node.dictionary());
        if (known == nullptr || !known->isInUnknown)
            nodes.push_back(node);
    }
    return nodes;
}

Dictionary NodeTreeMerge104::merged(const Dictionary& stored, const Dictionary& wanted)
{
    findNodes(listIn(stored, "List"));
    for (auto& [key, known] : _known) {
        if (known.node != nullptr)
            _byNode.emplace(known.node, &known);
    }
    findNodesInUnknown(listIn(stored, "List"), false);
    findWanted(listIn(wanted, "List"));
    findNewFolders(listIn(wanted, "List"));
    Dictionary merged = stored;
    if (!stored.contains("Version"))
        merged.set("Version", wanted["Version"]);
    merged.set("List", mergedList(listIn(stored, "List"), listIn(wanted, "List")));
    return merged;
}

bool NodeTreeMerge104::hasStayed(const LoadedCalendar* stored) const
{
    const auto known = _byLoaded.find(stored);
    return known != _byLoaded.end() && known->second->isInUnknown;
}

/// The wanted nodes in their order, which is all that this layout knows of order. What nobody knows
/// stays behind the node that it stood behind, as far as that stays here.
Array NodeTreeMerge104::mergedList(const Array& stored, const Array& allWanted)
{
    const Array wanted = withoutNodesInUnknown(allWanted);
    std::unordered_set<const LoadedCalendar*> stays;
    for (const Value& node : wanted)
        stays.insert(storedOf(node.dictionary()));

    std::unordered_map<const LoadedCalendar*, Array> unknownBehind;  // null: in front of all
    const LoadedCalendar* last = nullptr;
    for (const Value& node : stored) {
        const Known* const known = knownNode(node);
        if (known == nullptr)
            keepUnknownNode(node, unknownBehind[last]);
        else if (stays.contains(known->loaded))
            last = known->loaded;
        else if (!_wanted.contains(known->loaded))
            keepUnknown(listIn(*known->node, kMembersKey), unknownBehind[last]);
    }

    Array merged = std::move(unknownBehind[nullptr]);
    for (const Value& node : wanted) {
        merged.emplace_back(mergedNode(node.dictionary()));
        const auto behind = unknownBehind.find(storedOf(node.dictionary()));
        if (behind == unknownBehind.end() || behind->first == nullptr)
            continue;
        for (Value& unknown : std::exchange(behind->second, {}))
            merged.push_back(std::move(unknown));
    }
    return merged;
}

Dictionary NodeTreeMerge104::mergedNode(const Dictionary& wanted)
{
    const Known* const known = knownOf(wanted);
    if (known == nullptr || known->node == nullptr)
        return wanted;
    const Dictionary& stored = *known->node;
    Dictionary settings = wanted;
    settings.remove(kMembersKey);
    Dictionary merged = mergedSettings(stored, known->written, settings);
    merged.setIfPresent("Key", stored["Key"]);  // iCal's own
    if (!isGroupNode(wanted))
        return merged;
    Array members = mergedList(listIn(stored, kMembersKey), listIn(wanted, kMembersKey));
    if (stored.contains(kMembersKey) || !members.empty())
        merged.set(kMembersKey, std::move(members));
    return merged;
}

/// As it stands, but for calendars in it that changed or are gone.
Value NodeTreeMerge104::unknownNode(const Value& node)
{
    if (!node.isDictionary() || !node.dictionary()[kMembersKey].isArray())
        return node;
    Array members;
    for (const Value& member : listIn(node.dictionary(), kMembersKey)) {
        const Known* const known = knownNode(member);
        if (known == nullptr)
            keepUnknownNode(member, members);
        else if (known->wanted != nullptr)
            members.emplace_back(mergedNode(*known->wanted));
    }
    Dictionary kept = node.dictionary();
    kept.set(kMembersKey, std::move(members));
    return kept;
}

void NodeTreeMerge104::keepUnknownNode(const Value& node, Array& into)
{
    if (!node.isDictionary() || !isReplaced(node.dictionary()))
        into.push_back(unknownNode(node));
}

/// A group that is gone leaves what nobody could read of it to the list around it.
void NodeTreeMerge104::keepUnknown(const Array& nodes, Array& into)
{
    for (const Value& node : nodes) {
        const Known* const known = knownNode(node);
        if (known == nullptr)
            keepUnknownNode(node, into);
        else if (!_wanted.contains(known->loaded))
            keepUnknown(listIn(*known->node, kMembersKey), into);
    }
}

}  // namespace kt
