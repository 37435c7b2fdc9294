#include "Sync/Host/Engine/HostIdentityReport.h"

namespace kt {

void HostIdentityReport::reportIdentity(const SyncRecord& record, const KTStoreIdentity& identity)
{
    if (!record || !_isListening)
        return;
    _identities.insert_or_assign(record.get(), std::make_pair(record, identity));
    if (record->conduit() == kConduitCalendar)
        _calendars.insert(record->recordKey());
}

const KTStoreIdentity* HostIdentityReport::identityOf(const KTSyncRecord& record) const
{
    const auto found = _identities.find(&record);
    return found == _identities.end() ? nullptr : &found->second.second;
}

void HostIdentityReport::begin()
{
    end();
    _isListening = true;
}

void HostIdentityReport::end()
{
    _isListening = false;
    _identities.clear();
    _calendars.clear();
}

StorePlaces::StorePlaces(const HostIdentityReport& report, std::string home)
    : _report(report),
      _home(std::move(home))
{
    if (!_home.empty() && _home.back() != '/')
        _home += '/';
}

StorePlace StorePlaces::of(const KTSyncRecord& record) const
{
    const KTStoreIdentity* identity = _report.identityOf(record);
    if (identity == nullptr)
        return {};
    return {identity->uid, relative(identity->file), identity->recurrenceId};
}

std::string StorePlaces::relative(std::string_view path) const
{
    if (!_home.empty() && path.starts_with(_home))
        path.remove_prefix(_home.size());
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    return std::string(path);
}

}  // namespace kt
