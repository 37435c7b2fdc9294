#pragma once

#include <map>
#include <string>
#include <vector>

#include "Sync/Host/Engine/Comparison.h"

namespace kt {

/// A calendar that comes down under another title than it has on the server.
struct Retitled {
    std::string title;
    std::string newTitle;
};

/// Gives calendars that would come down under the title and type of another one a title with a
/// number behind it, for everybody: of two that share both a store gives only one, and the other
/// would be out of sight with all its items. What the store has under its title keeps that.
std::vector<Retitled> tellTitlesApart(std::map<RecordId, Outcome>& outcomes,
                                      const Knowledge& knowledge, const LocalRecords& local,
                                      LocalState& state);

}  // namespace kt
