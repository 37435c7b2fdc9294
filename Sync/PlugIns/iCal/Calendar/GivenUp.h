#pragma once

#include <string>
#include <string_view>

#include "Sync/HostInterface/KTCarefulWriting.h"
#include "Sync/PlugIns/iCal/Calendar/LoadedStore.h"

namespace kt {

// Which unread texts a rewrite may take away.

inline bool isGivenUp(const KTLoss& unread)
{
    const auto* const careful = hostClass<KTCarefulWriting>();
    return careful != nullptr && careful->isGivenUp(unread);
}

inline bool isBelow(std::string_view path, const std::string& folder)
{
    return path == folder || path.starts_with(folder + '/');
}

/// Whether the calendar in that folder could not be read and is to be written over.
inline bool isFolderGivenUp(const LoadedStore& loaded, const std::string& folder)
{
    for (const KTLoss& unread : loaded.unread) {
        if (unread.extent == KTLoss::Extent::calendar && isBelow(unread.file, folder) &&
            isGivenUp(unread))
            return true;
    }
    return false;
}

}  // namespace kt
