#pragma once

#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/PlugIns/iCal/Calendar/LoadedStore.h"

namespace kt {

/// Puts a new tree of nodes into a 10.4 node file so that what did not change stays: nodes that
/// gave no calendar in their places, entries that nobody knows in their nodes, and the order, as
/// far as it is still the same. Calendars in a group that gave none, since another one has its
/// title, stay in that group, wherever they are wanted. A new calendar takes the place of a node
/// that gave none and has its folder: its description was missing, and is written now.
class NodeTreeMerge104 {
public:
    /// A calendar or group of the store, with the node that the writer makes of it. Outlives the
    /// object.
    void addLoaded(const LoadedCalendar& loaded, Dictionary written);
    /// What the node of that record key was in the store.
    void addWanted(const std::string& recordKey, const LoadedCalendar* stored);

    /// The stored file with the wanted nodes; equal to it when nothing changed.
    Dictionary merged(const Dictionary& stored, const Dictionary& wanted);
    /// Whether that calendar stayed in a group that gave none. Of the last merged file.
    bool hasStayed(const LoadedCalendar* stored) const;

private:
    struct Known {
        const LoadedCalendar* loaded = nullptr;
        Dictionary written;
        const Dictionary* node = nullptr;    // in the stored file
        const Dictionary* wanted = nullptr;  // to be put there; null when there is none
        bool isInUnknown = false;            // in a node that gave no calendar
    };

    void findNodes(const Array& nodes);
    void findWanted(const Array& nodes);
    void findNewFolders(const Array& wanted);
    bool isReplaced(const Dictionary& unknownNode) const;
    void findNodesInUnknown(const Array& nodes, bool areInUnknown);
    Known* knownNode(const Value& node);
    const LoadedCalendar* storedOf(const Dictionary& wantedNode) const;
    const Known* knownOf(const Dictionary& wantedNode) const;
    Array withoutNodesInUnknown(const Array& wanted) const;
    Array mergedList(const Array& stored, const Array& wanted);
    Dictionary mergedNode(const Dictionary& wanted);
    Value unknownNode(const Value& node);
    void keepUnknownNode(const Value& node, Array& into);
    void keepUnknown(const Array& nodes, Array& into);

    std::map<std::pair<std::string, bool>, Known> _known;  // by source key, and whether a group
    std::unordered_map<const Dictionary*, Known*> _byNode;
    std::unordered_map<const LoadedCalendar*, Known*> _byLoaded;
    std::unordered_map<std::string, const LoadedCalendar*> _storedOfWanted;  // by record key
    std::unordered_set<const LoadedCalendar*> _wanted;
    std::unordered_set<std::string> _newFolders;  // source keys of calendars that were not loaded
};

}  // namespace kt
