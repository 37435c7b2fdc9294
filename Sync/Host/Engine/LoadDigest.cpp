#include "Sync/Host/Engine/LoadDigest.h"

namespace kt {

void LoadDigest::add(std::string_view text)
{
    constexpr std::size_t kEnough = 1 << 14;  // a digest takes large pieces faster
    _pending += std::to_string(text.size());
    _pending += ':';
    _pending += text;
    if (_pending.size() < kEnough)
        return;
    _stream.add(_pending);
    _pending.clear();
}

void LoadDigest::add(const KTSyncRecord& record, std::string_view hash, const StorePlace& place)
{
    add(record.conduit());
    add(record.recordKey());
    add(record.recordParentKey().value_or(""));
    add(hash);
    add(place.uid);
    add(place.file);
}

std::string LoadDigest::text()
{
    _stream.add(_pending);
    _pending.clear();
    return _stream.hexText();
}

}  // namespace kt
