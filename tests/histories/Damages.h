#pragma once

#include <set>
#include <string>
#include <vector>

#include "tests/histories/StoreHand.h"

namespace kt::test {

/// What was ever broken in one store: what it was, and where. Texts that nobody else touched are
/// mended by putting back what stood there; a backup may bring them back broken.
class Damages {
public:
    Damages(StoreHand& hand, MemoryFileManager& disk) : _hand(&hand), _disk(&disk) {}

    /// Breaks one item in its text; tells what it did.
    std::string breakItem(const StoreHand::Place& place);
    /// Makes a file of items, or a calendar's description, no such file any more.
    std::string breakFile(const std::string& path);
    void mendAll();

    bool isBroken(const ItemText& item) const;
    /// Whether something at or below the path is broken.
    bool isBelow(const std::string& path) const;
    /// Tokens of the items that are broken.
    std::set<int> tokens() const;

private:
    struct Damage {
        std::string path;
        std::string before;
        std::string after;
        bool isItem;
    };

    bool isThere(const Damage& damage) const;
    void mend(const Damage& damage) const;

    StoreHand* _hand;
    MemoryFileManager* _disk;
    std::vector<Damage> _all;
};

}  // namespace kt::test
