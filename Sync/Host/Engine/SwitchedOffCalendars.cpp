#include "Sync/Host/Engine/SwitchedOffCalendars.h"

#include "Sync/Host/Engine/HostIdentityReport.h"
#include "Sync/Host/Engine/Knowledge.h"
#include "Sync/Host/Engine/RemoteChanges.h"

namespace kt {

namespace {

using Folders = std::unordered_set<std::string>;

std::optional<std::string> agreedKeyOf(const std::string& localKey, const std::string& folder,
                                       const Folders& folders, const Knowledge& knowledge,
                                       const RemoteChanges& remote)
{
    if (const SeenRow* sameFolder = knowledge.seenCalendarIn(folder))
        return sameFolder->agreedKey;
    if (const SeenRow* sameKey = knowledge.seenCalendarUnder(localKey)) {
        const bool isAnother = !folder.empty() && folders.count(sameKey->place.file) != 0;
        return isAnother ? std::nullopt : sameKey->agreedKey;
    }
    const RecordId id{std::string(kConduitCalendar), localKey};
    const RemoteChange* change = remote.change(id);
    const bool isThere = knowledge.agreedRow(id) != nullptr ||
                         knowledge.switchedOff().agreedKey(localKey) == localKey ||
                         (change != nullptr && !change->server.isTombstone && !change->isRefused);
    const bool isNobodysYet = isThere && knowledge.seenOfAgreed(id) == nullptr;
    return isNobodysYet ? std::optional(localKey) : std::nullopt;
}

}  // namespace

void SwitchedOffCalendars::add(const std::string& localKey,
                               const std::optional<std::string>& agreedKey)
{
    if (agreedKey)
        _agreed.insert(*agreedKey);
    _agreedKeys.insert_or_assign(localKey, agreedKey);
}

std::optional<std::string> SwitchedOffCalendars::agreedKey(const std::string& localKey) const
{
    const auto found = _agreedKeys.find(localKey);
    return found == _agreedKeys.end() ? std::nullopt : found->second;
}

bool SwitchedOffCalendars::holds(const SeenRow& row, const Knowledge& knowledge) const
{
    if (empty())
        return false;
    const bool isCalendar = row.local.conduit == kConduitCalendar;
    if (isCalendar && row.agreedKey)
        return hasAgreed(*row.agreedKey);
    const std::string calendar = isCalendar ? row.local.key : row.localParentKey.value_or("");
    const SeenRow* seen = knowledge.seenCalendarUnder(calendar);
    return seen != nullptr && seen->agreedKey ? hasAgreed(*seen->agreedKey) : hasLocal(calendar);
}

SwitchedOffCalendars switchedOffCalendars(const SyncRecordList& off, const SyncRecordList& active,
                                          const StorePlaces& places, const Knowledge& knowledge,
                                          const RemoteChanges& remote)
{
    const auto forEachCalendar = [&](const SyncRecordList& records, const auto& function) {
        for (const SyncRecord& record : records) {
            if (record && record->conduit() == kConduitCalendar)
                function(record->recordKey(), places.of(*record).file);
        }
    };
    Folders folders;
    const auto note = [&](const std::string&, const std::string& folder) {
        if (!folder.empty())
            folders.insert(folder);
    };
    SwitchedOffCalendars calendars;
    forEachCalendar(off, note);
    if (off.empty())
        return calendars;
    forEachCalendar(active, note);
    forEachCalendar(off, [&](const std::string& key, const std::string& folder) {
        calendars.add(key, agreedKeyOf(key, folder, folders, knowledge, remote));
    });
    return calendars;
}

}  // namespace kt
