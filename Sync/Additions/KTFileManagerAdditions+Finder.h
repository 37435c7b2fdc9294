#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kt {

// KTAdditions on the file manager: what a Finder keeps about items. All of it is asked of
// Platform's FinderCatalog; where that reaches nothing, as on Linux, each answer is false or nil
// and nothing changes. Behind a write guard nothing changes either. Nothing here throws.

/// The four-character codes of an item; false, and both untouched, when it cannot be reached.
bool getCreatorTypeAtPath(const std::string& path, std::uint32_t& fileCreator,
                          std::uint32_t& fileType);
/// A code of 0 keeps the one that is there. False on a folder, which has none.
bool changeCreatorTypeAtPath(const std::string& path, std::uint32_t fileCreator,
                             std::uint32_t fileType);

/// Whether a Finder flag is set. Only the eight low-order bits are looked at: one of 0x0100 or
/// above always reads as not set. False, and `isSet` untouched, when the item cannot be reached.
bool getFinderFlagAtPath(const std::string& path, std::uint16_t flagBit, bool& isSet);

enum class FlagChange { clear, set };

/// Sets or clears Finder flags. 0x0100 (has been inited) is cleared in either case, so that the
/// Finder looks at the item afresh.
bool changeFinderFlagsAtPath(const std::string& path, FlagChange setBits, std::uint16_t flagBits);

/// Whether the item is an alias file; a symbolic link is none.
bool isAliasAtPath(const std::string& path);
/// Where an alias leads in the end, past further aliases. Nil for another item, when the target is
/// gone, for aliases in a ring, and for a path over 1024 bytes or not in UTF-8.
std::optional<std::string> aliasTargetAtPath(const std::string& path);

/// The path with colons: the volume's name, then each component, and a colon at the end of a
/// folder. A colon in a name becomes a slash. Nil for a path that is not absolute or has "." or
/// ".." in it, and where volumes have no names.
std::optional<std::string> hfsStylePathFromPosixPath(const std::string& posixPath);

}  // namespace kt
