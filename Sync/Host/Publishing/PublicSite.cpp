#include "Sync/Host/Publishing/PublicSite.h"

#include "Sync/Foundation/Format.h"
#include "Sync/Host/Publishing/PercentEncoding.h"

namespace kt {

std::string PublicSite::url() const
{
    if (address) {
        std::string base = *address;
        while (base.ends_with('/'))
            base.pop_back();
        return base;
    }
    const bool isIPv6 = listen.find(':') != std::string::npos;
    return stringWithFormat(isIPv6 ? "http://[%@]:%d" : "http://%@:%d", listen, port);
}

std::string pathOfCalendar(std::string_view recordKey)
{
    return std::string(kListingPath) + '/' + percentEncoded(recordKey);
}

}  // namespace kt
