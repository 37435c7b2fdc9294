#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Sync/Foundation/Value.h"

namespace kt {

/// The name of a dated backup, `000042-2007-12-24T09-00-00Z`: a counter that orders the backups
/// whatever the clock says, and the date in UTC. The very first one ends in `-erste`. Older
/// versions made folders that had only the date; those count as older than all that have a counter.
class BackupName {
public:
    /// The next name behind a counter; 0 when there is none yet.
    static BackupName next(std::int64_t counter, Date instant, bool isFirst);
    /// What stands under that name in the backups' folder; nullopt for what is no backup.
    static std::optional<BackupName> ofEntry(std::string_view entry);

    const std::string& text() const { return _text; }
    /// What stands in the backups' folder: the text, of an archive with its extension.
    std::string entry() const;
    bool isArchive() const { return _counter > 0; }
    bool isFirst() const;
    std::int64_t counter() const { return _counter; }  // 0 for a folder
    /// When it was made, as its name says; nullopt where it says nothing.
    std::optional<Date> date() const;

    /// By age.
    friend bool operator<(const BackupName& one, const BackupName& other)
    {
        return one._counter != other._counter ? one._counter < other._counter
                                              : one._text < other._text;
    }

private:
    BackupName(std::string text, std::int64_t counter) : _text(std::move(text)), _counter(counter)
    {}

    std::string _text;
    std::int64_t _counter;
};

}  // namespace kt
