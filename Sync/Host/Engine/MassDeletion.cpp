#include "Sync/Host/Engine/MassDeletion.h"

#include "Sync/Foundation/Format.h"

namespace kt {

std::optional<std::string> massDeletionReason(const MassDeletionFacts& facts)
{
    constexpr std::size_t kHarmless = 10;
    if (facts.isStoreEmpty && !facts.wasStoreEmpty)
        return "Der Kalenderspeicher ist leer, obwohl er beim letzten Abgleich Kalender enthielt; "
               "es wurde nichts "
               "gelöscht (--allow-mass-delete erlaubt es)";
    if (facts.deletions > kHarmless && 2 * facts.deletions > facts.recordsOfAccount)
        return stringWithFormat(
            "%d von %d Datensätzen des Kontos würden gelöscht; es wurde nichts gelöscht "
            "(--allow-mass-delete "
            "erlaubt es)",
            facts.deletions, facts.recordsOfAccount);
    return std::nullopt;
}

}  // namespace kt
