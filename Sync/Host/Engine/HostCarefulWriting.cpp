#include "Sync/Host/Engine/HostCarefulWriting.h"

namespace kt {

namespace {

// Without what is only told: title and reason.
std::string nameOf(const KTLoss& text)
{
    return std::to_string(static_cast<int>(text.extent)) + '\0' + text.file + '\0' + text.uid +
           '\0' + text.digest;
}

}  // namespace

bool HostCarefulWriting::isGivenUp(const KTLoss& unread) const
{
    return unread.kind == KTLoss::Kind::unread && _givenUp.count(nameOf(unread)) != 0;
}

const KTSyncRecord* HostCarefulWriting::storedRecordOf(const KTSyncRecord& handed) const
{
    const auto found = _stored.find(&handed);
    if (found != _stored.end())
        return found->second.second.get();
    return _areAllKnown ? &handed : nullptr;
}

void HostCarefulWriting::noteStored(const SyncRecord& handed, const SyncRecord& stored)
{
    _stored.insert_or_assign(handed.get(), std::make_pair(handed, stored));
}

void HostCarefulWriting::clear()
{
    _givenUp.clear();
    _stored.clear();
    _areAllKnown = false;
    _noteFolders = nullptr;
    _leftBehind.clear();
}

void HostCarefulWriting::giveUp(const std::vector<KTLoss>& texts)
{
    _givenUp.clear();
    for (const KTLoss& text : texts)
        _givenUp.insert(nameOf(text));
}

}  // namespace kt
