#include "Sync/PlugIns/iCal/Calendar/RawValueLine.h"

#include <utility>

#include "Sync/HostInterface/KTLossReport.h"
#include "Sync/PlugIns/iCal/Calendar/KTSyncCalendarTools.h"

namespace kt {

std::string rawValueLine(std::string_view format, const Value& value)
{
    std::string line = stringWithFormat(format, value);
    if (!value.isArray())
        return KTSyncCalendarTools::writableLine(std::move(line));
    tellOfSeveralValues(format.substr(0, format.find_first_of(":;")));
    return KTSyncCalendarTools::onOneLine(std::move(line));
}

void tellOfSeveralValues(std::string_view name)
{
    reportLoss(KTLoss::Kind::curtailed,
               stringWithFormat("%@: mehrere Werte werden als ein Text geschrieben", name));
}

}  // namespace kt
