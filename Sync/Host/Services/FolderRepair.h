#pragma once

#include <string>
#include <vector>

namespace kt {

/// One folder of a calendar that is not named after the key in its Info.plist, as the 10.5 layout
/// wants it: a rewrite would make a second one beside it.
struct FolderRename {
    std::string from;  // paths
    std::string to;
    std::string refusal{};  // why it is not done, one German line; else empty
};

/// What there is to rename among the calendars' folders. Changes nothing.
std::vector<FolderRename> plannedFolderRenames(const std::string& calendarsFolder);

/// Renames what is not refused; what fails is refused afterwards.
void renameFolders(std::vector<FolderRename>& renames);

}  // namespace kt
