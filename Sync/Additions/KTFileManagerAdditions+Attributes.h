#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/Value.h"

namespace kt {

// KTAdditions on the file manager: attributes of single items. Like the rest of them these work
// through FileManager::defaultManager() and never throw; what cannot be found out is nullopt or 0.

// Keys of an attribute dictionary: a number with the POSIX permission bits, and a date.
inline constexpr std::string_view NSFilePosixPermissions = "NSFilePosixPermissions";
inline constexpr std::string_view NSFileModificationDate = "NSFileModificationDate";

/// As createPath(path), and gives each folder that it makes these attributes; keys other than the
/// two above, and values of another kind, change nothing. Nil attributes are an empty dictionary, a
/// nil path gives false.
bool createPath(const std::optional<std::string>& path, const Dictionary& attributes);

/// Of the item itself: links are not followed. A date outside the years 1678 to 2261 is given as
/// the furthest one within.
std::optional<Date> modificationDateAtPath(const std::string& path);
/// Changes nothing else; through a link, of what it leads to. False for a date outside the years
/// 1678 to 2261, which files are not given.
bool setModificationDate(Date date, const std::string& atPath);

/// The POSIX bits, 07777, of the item itself: links are not followed.
unsigned long permissionsAtPath(const std::string& path);
/// Changes nothing else; bits beyond 07777 are ignored. Through a link, of what it leads to.
bool setPermissions(unsigned long permissions, const std::string& atPath);

/// In bytes, of the item itself: a link is as long as the path it holds.
std::uint64_t filesizeAtPath(const std::string& path);

}  // namespace kt
