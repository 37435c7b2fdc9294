#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kt {

/// Where restore() keeps what stood at a path until the copy has taken its place. Something is
/// found there only by somebody else, or after a restore that was killed.
std::string pathWhileReplaced(const std::string& path);

/// The dated copies of the store that are made before each run: the last ten, and the very first
/// for good. Names are dates in UTC, so that they sort by age.
class StoreBackups {
public:
    /// The folder is made with the first copy.
    explicit StoreBackups(std::string folder);

    struct Copy {
        std::string name;
        std::vector<std::string> unreadable;  // paths that could not be copied
    };

    /// Copies files and folders, whole, times kept; nullopt when none of them holds anything.
    /// Throws Exception NSGenericException, with a line for the user, when no copy could be made;
    /// nothing of it is then left behind.
    std::optional<Copy> make(const std::vector<std::string>& paths) const;

    /// Removes what is older than the last ten, but neither the first nor the one named.
    void prune(const std::optional<std::string>& kept) const;

    /// Oldest first.
    std::vector<std::string> names() const;

    /// Puts the copies back to the paths they were made from; a path of which there is no copy
    /// stays as it is. What stands there is only replaced when the copy is complete. Throws
    /// Exception NSGenericException, with a line for the user, when that fails, or when there is a
    /// copy of none of them.
    void restore(const std::string& name, const std::vector<std::string>& paths) const;

private:
    std::string unusedName() const;

    std::string _folder;
};

}  // namespace kt
