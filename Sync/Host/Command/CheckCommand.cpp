#include <nlohmann/json.hpp>

#include "Sync/Host/Command/Commands.h"
#include "Sync/Host/Command/Look.h"
#include "Sync/Host/Command/Output.h"

namespace kt {

namespace {

std::string linesForLosses(const std::vector<KTLoss>& losses)
{
    if (losses.empty())
        return "Alles kann gelesen werden.\n";
    std::string text;
    for (const KTLoss& loss : losses)
        text += lineForLoss(loss) + "\n";
    return text + counted(losses.size(), "Stelle", "Stellen") + " würde" +
           (losses.size() == 1 ? "" : "n") + " übersprungen.\n";
}

}  // namespace

ExitCode checkCommand(const CommandLine& line, const Place& place)
{
    Workplace workplace(place, line, Workplace::Access::look);
    const Look look(workplace);
    printResult(line.json ? jsonText({{"losses", jsonForLosses(look.losses())}}) + "\n"
                          : linesForLosses(look.losses()));
    return look.losses().empty() ? ExitCode::done : ExitCode::failed;
}

}  // namespace kt
