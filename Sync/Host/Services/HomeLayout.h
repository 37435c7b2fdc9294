#pragma once

#include <array>
#include <optional>
#include <string>

namespace kt {

// What the host itself has to know of a home: which of the two layouts it has, and whether its
// store can be looked at. What is inside is the plug-in's business.

/// The layouts that a home's store can have.
enum class HomeLayout { macOS104, macOS105 };

/// A layout as everybody else names it: by the minor version of the system that has it.
struct HomeLayoutVersion {
    HomeLayout layout;
    int systemVersion;
};
/// All of them, the oldest first.
inline constexpr std::array<HomeLayoutVersion, 2> kHomeLayouts{
    {{HomeLayout::macOS104, 4}, {HomeLayout::macOS105, 5}}};
inline constexpr int kOldestSystemVersion = kHomeLayouts.front().systemVersion;
inline constexpr int kNewestSystemVersion = kHomeLayouts.back().systemVersion;

int systemVersionOf(HomeLayout layout);
/// Nullopt for a version that stands in no row.
std::optional<HomeLayout> homeLayoutOfSystem(int systemVersion);
/// Whether a calendar's folder there is found by the key that its Info.plist holds.
bool namesFoldersByKeys(int systemVersion);

/// 5 where "Library/Calendars" stands, else 4 where iCal's node file does, or what is left of that
/// layout while the node file is moved aside: its backup or calendars in "Sources". Else 5: a store
/// is then begun in the newer layout. Files attached to items stand in
/// "Library/Calendars/Attachments" in either layout, so beside a store of the older one that folder
/// alone makes no 10.5 store. A store that is just being put back from a backup counts as there.
int systemVersionOfHome(const std::string& home);

/// What keeps everybody from a store.
struct StoreObstacle {
    enum class Kind {
        folder,       // cannot be listed
        nodeFile,     // no property-list dictionary, nested too deep or missing, as a rewrite that
                      // was killed can leave it; the plug-in would move all calendars aside
        otherLayout,  // the home has a store of the other layout only
    };
    Kind kind;
    std::string reason;  // one line for the user, with what to do
};

/// Nullopt for a store that can be looked at, for a 10.5 store that is not there yet, and for a
/// system without a layout.
std::optional<StoreObstacle> obstacleInStore(const std::string& home, int systemVersion);

}  // namespace kt
