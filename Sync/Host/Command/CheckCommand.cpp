#include <algorithm>

#include <nlohmann/json.hpp>

#include "Sync/Host/Command/Commands.h"
#include "Sync/Host/Command/Look.h"
#include "Sync/Host/Command/Output.h"

namespace kt {

namespace {

std::string textFor(const Look& look)
{
    std::string text = look.isLoaded() ? "" : look.reasonNotLoaded() + "\n";
    if (look.losses().empty())
        return look.isLoaded() ? "Alles kann gelesen werden.\n" : text;
    return text + textForLosses(look.losses()) + sentenceForLossCounts(look.losses()) + "\n";
}

Json jsonFor(const Look& look)
{
    return {{"loaded", look.isLoaded()},
            {"losses", jsonForLosses(look.losses())},
            {"counts", jsonForLossCounts(look.losses())}};
}

bool holdsOnlyRemarks(const std::vector<KTLoss>& losses)
{
    return std::all_of(losses.begin(), losses.end(),
                       [](const KTLoss& loss) { return isRemark(loss); });
}

}  // namespace

ExitCode checkCommand(const CommandLine& line, const Place& place)
{
    if (line.repair)
        return repairCommand(line, place);
    Workplace workplace(place, line, Workplace::Access::look);
    const Look look(workplace, Look::Unloaded::isTold);
    printResult(line.json ? jsonText(jsonFor(look)) + "\n" : textFor(look));
    return look.isLoaded() && holdsOnlyRemarks(look.losses()) ? ExitCode::done : ExitCode::failed;
}

}  // namespace kt
