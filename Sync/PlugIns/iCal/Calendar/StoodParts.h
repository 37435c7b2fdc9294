#pragma once

#include <cstddef>
#include <vector>

#include "Sync/PlugIns/iCal/Calendar/ComponentText.h"

namespace kt {

/// What stood in a component under one name, found for what is wanted under it now.
class StoodParts {
public:
    using Part = ComponentText::Part;
    using Parts = ComponentText::PartList;

    /// The part that a wanted one was.
    struct Origin {
        const Part* stored = nullptr;   // null for a new one
        const Part* written = nullptr;  // what the writer makes of the stored one
        bool isSame = false;            // the writer makes of it what is wanted
    };

    /// All of one name. Properties are known by their values. Components stand one for one in what
    /// is stored and written; a changed one is known by what it has kept, then by its place.
    StoodParts(const Parts& stored, const Parts& written, const Parts& wanted);

    /// Of the wanted part of that number.
    const Origin& originOf(std::size_t wanted) const { return _origins[wanted]; }

private:
    void pairSame(const Parts& written, const Parts& wanted);
    void pairChanged(const Parts& written, const Parts& wanted);

    std::vector<const Part*> _storedOf;  // of each written part; null where it is not known
    std::vector<bool> _isTaken;          // written parts
    std::vector<Origin> _origins;
};

}  // namespace kt
