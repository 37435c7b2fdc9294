#pragma once

#include <string>
#include <vector>

namespace kt {

/// Where what stood at a path is kept until another has taken its place. Something is found there
/// only by somebody else, or after a replacement that was killed.
std::string pathWhileReplaced(const std::string& path);

/// What a killed replacement left aside comes back to its place, where nothing has taken it.
void finishKilledReplacement(const std::string& path);

/// A file or folder that is complete and is to stand in the place of another, on the same volume.
struct Replacement {
    std::string place;
    std::string incoming;
};

/// Puts all of them in their places, or none: then Exception NSGenericException is thrown, with a
/// line for the user, and everything stands where it stood. A place is empty only between two
/// renames.
void replaceAll(const std::vector<Replacement>& replacements);

}  // namespace kt
