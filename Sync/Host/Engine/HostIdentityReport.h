#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "Sync/Host/Engine/LocalState.h"
#include "Sync/Host/Engine/RecordNumbers.h"
#include "Sync/HostInterface/KTIdentityReport.h"

namespace kt {

/// Collects what the store knows its records by, while a run is on: between begin() and end() it
/// keeps every record that it is told of, so that no other one can come to stand in its place.
class HostIdentityReport : public KTIdentityReport {
public:
    void reportIdentity(const SyncRecord& record, const KTStoreIdentity& identity) override;

    /// Nullopt for a record that nothing was told of.
    std::optional<KTStoreIdentity> identityOf(const KTSyncRecord& record) const;
    /// The same, referring to what is kept until more is told.
    struct View {
        std::string_view uid;
        std::string_view recurrenceId;
        std::string_view sourceKey;
        std::string_view folder;  // with the slash behind it ...
        std::string_view name;    // ... and what follows: together the path
    };
    std::optional<View> viewOf(const KTSyncRecord& record) const;
    /// Everything that was told of, in no order.
    template <class Function>
    void forEach(const Function& function) const
    {
        for (const Told& told : _told)
            function(told.record);
    }
    std::size_t size() const { return _told.size(); }
    /// Whether anything was told, so that a record that was not is not in the store.
    bool empty() const { return _told.empty(); }
    /// Whether a calendar of that key was among the records told of.
    bool hasCalendar(const std::string& recordKey) const
    {
        return _calendars.count(recordKey) != 0;
    }
    /// Forgets what was told before.
    void begin();
    /// Lets go of the records; they must not outlive the plug-in that made them.
    void end();

private:
    /// All texts stand in one: as texts of their own they took a tenth of a run without a change.
    /// The folder of a file stands there once for the items that follow each other in it.
    struct Told {
        SyncRecord record;
        std::size_t begin = 0;               // of the first text in _texts
        std::array<std::uint32_t, 4> sizes;  // uid, recurrenceId, sourceKey, name
        std::uint32_t folder = 0;            // its number
    };
    std::uint32_t numberOfFolder(std::string_view folder);

    std::string _texts;
    std::vector<std::string> _folders;
    std::vector<Told> _told;
    RecordNumbers _numbers;  // among those told
    std::unordered_set<std::string> _calendars;
    bool _isListening = false;
};

/// Where the records of one load stand, as the state remembers it: paths below the home are
/// relative to it.
class StorePlaces {
public:
    /// The report is not owned and outlives this.
    StorePlaces(const HostIdentityReport& report, std::string home);

    /// Empty for a record that nothing was told of.
    StorePlace of(const KTSyncRecord& record) const;
    HostIdentityReport::View viewOf(const KTSyncRecord& record) const
    {
        return _report.viewOf(record).value_or(HostIdentityReport::View{});
    }
    std::string relative(std::string_view path) const;
    const HostIdentityReport& report() const { return _report; }

private:
    std::string_view withoutHome(std::string_view path) const;

    const HostIdentityReport& _report;
    std::string _home;  // ends in a slash, unless it is empty
};

}  // namespace kt
