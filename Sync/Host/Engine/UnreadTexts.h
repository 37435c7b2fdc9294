#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Sync/Host/Engine/HostIdentityReport.h"
#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/HostInterface/KTLossReport.h"

namespace kt {

/// A record that is known of, as far as unread texts can be compared with it.
struct KnownRecord {
    bool isCalendar = false;
    std::string calendar;  // local key of the calendar that it is, or belongs to; empty: not known
    StorePlace place;
    std::int64_t since = 0;   // texts that were there before that are not its own
    std::string sourceKey{};  // of a calendar that was never seen: names its folder
};

/// How sure it is that a record's text is among the unread ones.
enum class UnreadClaim {
    none,
    possible,  // it cannot be told
    certain,   // by UID, file, or because its whole calendar is unread
};

/// The texts of one load that gave no record, and which known records they may be.
///
/// One component is known by its UID, in its calendar before others; a file by its path, or else by
/// its name, as long as one item alone stood in a file of that name; a calendar by its key, else by
/// its folder. What can be told by none of these may be whatever is missing of its calendar (of the
/// same file, if anything is), unless the same text was there already at a time when the record was
/// still read. A text that is a whole calendar, and can be told by nothing, may be any missing
/// calendar.
class UnreadTexts {
public:
    /// Nothing of the arguments is kept but copies.
    UnreadTexts(const std::vector<KTLoss>& losses, const StorePlaces& places,
                const Knowledge& knowledge);

    bool empty() const { return _texts.empty(); }
    /// What a record that is missed for the first time in this run has for `since`.
    std::int64_t now() const { return _now; }

    /// Whether one of the texts may be that record, if it should be missing.
    UnreadClaim claimOn(const KnownRecord& record) const;

    /// Which of the records that are missing the texts may be.
    struct Claims {
        std::vector<UnreadClaim> onRecords;  // in the order of the records
        std::vector<bool> byTexts;           // whether a text claims any, in order of texts()
    };
    /// Texts that are to claim nothing.
    using Excluded = std::unordered_set<std::size_t>;
    Claims claimsOn(const std::vector<KnownRecord>& missing, const Excluded& excluded = {}) const;
    /// The same for one of the texts.
    UnreadClaim claim(std::size_t text, const KnownRecord& record) const;

    /// Local keys of the calendars that the text is the whole of.
    const std::unordered_set<std::string>& calendarsOf(std::size_t text) const
    {
        return _texts[text].calendars;
    }
    /// Whether one of the texts stands in a folder of that name, whatever is known of it.
    bool isInFolderOf(const std::string& sourceKey) const;

    /// As told, in their order.
    const KTLoss& loss(std::size_t text) const { return _texts[text].loss; }
    std::size_t count() const { return _texts.size(); }
    /// What a text is recognised by in later runs.
    const std::string& name(std::size_t text) const { return _texts[text].name; }
    /// Whether the text was not there at the end of the last settled run.
    bool isNew(std::size_t text) const { return _texts[text].isNew; }

private:
    enum class ToldBy { uidInCalendar, uid, file, calendar, nothing, others };

    struct Text {
        KTLoss loss;
        std::string file;  // relative
        std::string name;
        bool isNew = true;
        std::int64_t since = std::numeric_limits<std::int64_t>::max();  // without end: never known
        ToldBy toldBy = ToldBy::nothing;
        std::string knownFile{};                    // of a file: where its item stood
        std::unordered_set<std::string> calendars;  // of a whole calendar: local keys
    };
    struct KnownPlaces;
    using Group = std::tuple<std::string, std::string, std::int64_t>;  // calendar, folder, since

    static Group groupOf(const Text& text);
    void tell(Text& text, const KnownPlaces& known) const;
    void tellCalendar(Text& text, const KnownPlaces& known) const;
    bool isSameCalendar(const Text& text, const KnownRecord& record) const;
    bool isCertain(const Text& text, const KnownRecord& record) const;
    bool isPossible(const Text& text, const KnownRecord& record) const;
    struct Claiming;
    void indexTexts();

    std::vector<Text> _texts;
    std::int64_t _now = 1;
    std::unordered_multimap<std::string, std::size_t> _byUid;
    std::unordered_multimap<std::string, std::size_t> _byFile;
    std::vector<std::size_t> _wholeCalendars;
    std::vector<std::size_t> _untold;  // one of each group is enough to ask whether one may be ...
};

}  // namespace kt
