#include "Sync/Host/Engine/HostIdentityReport.h"

namespace kt {

void HostIdentityReport::reportIdentity(const SyncRecord& record, const KTStoreIdentity& identity)
{
    if (!record || !_isListening)
        return;
    const auto size = [](const std::string& text) {
        return static_cast<std::uint32_t>(text.size());
    };
    const Told told{record,
                    _texts.size(),
                    {size(identity.uid), size(identity.recurrenceId), size(identity.sourceKey),
                     size(identity.file)}};
    for (const std::string* text :
         {&identity.uid, &identity.recurrenceId, &identity.sourceKey, &identity.file})
        _texts += *text;
    const auto [number, isNew] = _numbers.try_emplace(record.get(), _told.size());
    if (isNew)
        _told.push_back(told);
    else
        _told[number->second] = told;
    if (record->conduit() == kConduitCalendar)
        _calendars.insert(record->recordKey());
}

std::optional<HostIdentityReport::View> HostIdentityReport::viewOf(const KTSyncRecord& record) const
{
    const auto found = _numbers.find(&record);
    if (found == _numbers.end())
        return std::nullopt;
    const Told& told = _told[found->second];
    std::string_view texts = std::string_view(_texts).substr(told.begin);
    const auto next = [&](std::uint32_t size) {
        const std::string_view text = texts.substr(0, size);
        texts.remove_prefix(size);
        return text;
    };
    View view;
    view.uid = next(told.sizes[0]);
    view.recurrenceId = next(told.sizes[1]);
    view.sourceKey = next(told.sizes[2]);
    view.file = next(told.sizes[3]);
    return view;
}

std::optional<KTStoreIdentity> HostIdentityReport::identityOf(const KTSyncRecord& record) const
{
    const auto view = viewOf(record);
    if (!view)
        return std::nullopt;
    return KTStoreIdentity{std::string(view->uid), std::string(view->recurrenceId),
                           std::string(view->sourceKey), std::string(view->file)};
}

void HostIdentityReport::begin()
{
    end();
    _isListening = true;
}

void HostIdentityReport::end()
{
    _isListening = false;
    // Not only cleared: as large as a store they would stay for the rest of the process.
    _texts = {};
    _told = {};
    _numbers = {};
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
    const auto identity = _report.viewOf(record);
    if (!identity)
        return {};
    return {std::string(identity->uid), relative(identity->file),
            std::string(identity->recurrenceId)};
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
