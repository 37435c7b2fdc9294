#pragma once

#include <map>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Sync/Host/Engine/HostIdentityReport.h"
#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/HostInterface/KTSyncRecord.h"

namespace kt {

/// What the user switched on and off, by the calendars' keys at that time.
using CalendarSwitches = std::map<std::string, bool>;

/// Which calendars of a load take part. The plug-in asks its switches, by keys that change with the
/// titles. In two cases the store knows better:
/// - A calendar that is switched off and given another title is still switched off, unless it was
///   switched on under that.
/// - One that is switched off while a rewrite is not settled, or that a rewrite brought although
///   its key is switched off, takes part until then: only so it is known what became of it.
class Participation {
public:
    enum class Rewrite { settled, unsettled };

    /// `active` is what the plug-in handed over to be compared; what else was told of in that load
    /// is switched off. All is borrowed for the call alone.
    Participation(const SyncRecordList& active, const StorePlaces& places,
                  const Knowledge& knowledge, LocalState& state, const CalendarSwitches& switches,
                  Rewrite rewrite);

    const SyncRecordList& active() const { return _active; }
    /// By conduit and key. Empty where the store tells nothing beside the records.
    const SyncRecordList& off() const { return _off; }
    /// What the plug-in skips, without what takes part until a rewrite is settled and with what is
    /// switched off under its former title.
    SyncRecordList kept(const SyncRecordList& skipped) const;

    /// Local keys of calendars that take part although they are switched off.
    const std::unordered_set<std::string>& staying() const { return _staying; }
    /// Former and present local keys of calendars that are switched off under another title.
    const std::vector<std::pair<std::string, std::string>>& renamed() const { return _renamed; }

private:
    void findStaying(const StorePlaces& places, const Knowledge& knowledge, LocalState& state);
    void findRenamed(const StorePlaces& places, const Knowledge& knowledge,
                     const CalendarSwitches& switches);
    void move();

    SyncRecordList _active;
    SyncRecordList _off;
    SyncRecordList _leaving;  // of calendars that are switched off under another title
    std::unordered_set<std::string> _staying;
    std::vector<std::pair<std::string, std::string>> _renamed;
};

}  // namespace kt
