#include "Sync/Host/Services/BackupRestore.h"

#include <memory>
#include <utility>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Format.h"
#include "Sync/Host/Engine/LocalState.h"
#include "Sync/Host/Services/CalendarInBackup.h"

namespace kt {

namespace {

/// The mark of a rewrite: while it stands, nothing that is missing here counts as deleted, and what
/// differs is compared as at a first meeting. Taken back unless it is kept.
class RestoreMark {
public:
    RestoreMark(const std::string& statePath, const std::string& backup)
    {
        if (!FileManager::defaultManager().linkStatusAtPath(statePath))
            return;  // no sync yet, so there is nothing that could look deleted
        _state = std::make_unique<LocalState>(statePath);
        _before = _state->facts();
        StateFacts facts = _before;
        // One that stands names the last backup that surely holds what was there before a rewrite.
        if (!facts.mark)
            facts.mark = backup;
        facts.isPutBack = true;
        set(facts);
    }
    ~RestoreMark()
    {
        if (!_state)
            return;
        try {
            set(_before);
        } catch (const Exception&) {
            // It costs one full comparison.
        }
    }
    RestoreMark(const RestoreMark&) = delete;
    RestoreMark& operator=(const RestoreMark&) = delete;

    void keep() { _state.reset(); }

private:
    void set(const StateFacts& facts)
    {
        if (!_state->begin())
            throw Exception(NSGenericException,
                            "Ein anderer Abgleich dieses Geräts ist noch nicht beendet");
        try {
            _state->setFacts(facts);
            _state->commit();
        } catch (...) {
            _state->rollback();
            throw;
        }
    }

    std::unique_ptr<LocalState> _state;  // null when there is nothing to take back
    StateFacts _before;
};

}  // namespace

BackupRestore::BackupRestore(const StoreBackups& backups, std::vector<std::string> storeFiles,
                             std::string statePath)
    : _backups(backups),
      _storeFiles(std::move(storeFiles)),
      _statePath(std::move(statePath))
{}

BackupRestore::Result BackupRestore::restore(std::string_view name) const
{
    const BackupName backup = _backups.named(name);
    const auto unpacked = _backups.unpack(backup.text(), _storeFiles);
    Result result{backup.text(), _backups.facts(backup), {}, {}};
    replaceStore(unpacked->replacements(), result);
    return result;
}

BackupRestore::Result BackupRestore::restoreCalendar(std::string_view name,
                                                     std::string_view key) const
{
    const BackupName backup = _backups.named(name);
    Result result{backup.text(), _backups.facts(backup), {}, {}};
    result.calendar = calendarOfKey(result.facts, key, backup.text());
    const std::string& folder = result.calendar->folder;
    const auto unpacked =
        _backups.unpack(backup.text(), _storeFiles, [&folder](const std::string& member) {
            return isNeededForCalendar(folder, member);
        });
    replaceStore(replacementsForCalendar(*unpacked, *result.calendar), result);
    return result;
}

void BackupRestore::replaceStore(const std::vector<Replacement>& replacements, Result& result) const
{
    const auto before = _backups.make(_storeFiles);
    if (before && !before->unreadable.empty())
        throw Exception(NSGenericException,
                        stringWithFormat("\"%@\" kann nicht gelesen und deshalb auch nicht "
                                         "gesichert werden.",
                                         before->unreadable.front()));
    if (before)
        result.before = before->name;
    RestoreMark mark(_statePath, result.before.value_or(""));
    replaceAll(replacements);
    mark.keep();
}

}  // namespace kt
