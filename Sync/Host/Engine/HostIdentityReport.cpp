#include "Sync/Host/Engine/HostIdentityReport.h"

namespace kt {

namespace {

std::string_view withoutSlashesBehind(std::string_view path)
{
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    return path;
}

}  // namespace

void HostIdentityReport::reportIdentity(const SyncRecord& record, const KTStoreIdentity& identity)
{
    if (!record || !_isListening)
        return;
    const std::string_view file = identity.file;
    const std::size_t nameBegin = file.rfind('/') + 1;  // 0 without a slash
    const std::array<std::string_view, 4> texts{identity.uid, identity.recurrenceId,
                                                identity.sourceKey, file.substr(nameBegin)};
    Told told{record, _texts.size(), {}, numberOfFolder(file.substr(0, nameBegin))};
    for (std::size_t index = 0; index < texts.size(); ++index) {
        told.sizes[index] = static_cast<std::uint32_t>(texts[index].size());
        _texts += texts[index];
    }
    const auto next = static_cast<std::uint32_t>(_told.size());
    const std::uint32_t number = _numbers.enter(record.get(), next);
    if (number == next)
        _told.push_back(std::move(told));
    else
        _told[number] = std::move(told);
    if (record->conduit() == kConduitCalendar)
        _calendars.insert(record->recordKey());
}

std::uint32_t HostIdentityReport::numberOfFolder(std::string_view folder)
{
    if (_folders.empty() || _folders.back() != folder)
        _folders.emplace_back(folder);
    return static_cast<std::uint32_t>(_folders.size() - 1);
}

std::optional<HostIdentityReport::View> HostIdentityReport::viewOf(const KTSyncRecord& record) const
{
    const auto number = _numbers.find(&record);
    if (!number)
        return std::nullopt;
    const Told& told = _told[*number];
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
    view.name = next(told.sizes[3]);
    view.folder = _folders[told.folder];
    return view;
}

std::optional<KTStoreIdentity> HostIdentityReport::identityOf(const KTSyncRecord& record) const
{
    const auto view = viewOf(record);
    if (!view)
        return std::nullopt;
    return KTStoreIdentity{std::string(view->uid), std::string(view->recurrenceId),
                           std::string(view->sourceKey),
                           std::string(view->folder).append(view->name)};
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
    _folders = {};
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
    const HostIdentityReport::View view = viewOf(record);
    const std::string_view folder = withoutHome(view.folder);
    std::string file;
    file.reserve(folder.size() + view.name.size());
    file.append(folder).append(view.name);
    file.resize(withoutSlashesBehind(file).size());
    const bool isWithoutFolder = file.empty() && record.conduit() == kConduitCalendar;
    return {std::string(isWithoutFolder ? view.sourceKey : view.uid), std::move(file),
            std::string(view.recurrenceId)};
}

std::string StorePlaces::relative(std::string_view path) const
{
    return std::string(withoutSlashesBehind(withoutHome(path)));
}

std::string_view StorePlaces::withoutHome(std::string_view path) const
{
    if (!_home.empty() && path.starts_with(_home))
        path.remove_prefix(_home.size());
    return path;
}

}  // namespace kt
