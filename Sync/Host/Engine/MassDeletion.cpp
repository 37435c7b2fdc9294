#include "Sync/Host/Engine/MassDeletion.h"

#include "Sync/Foundation/Format.h"

namespace kt {

namespace {

bool isMost(std::size_t deletions, std::size_t records)
{
    constexpr std::size_t kHarmless = 10;
    return deletions > kHarmless && 2 * deletions > records;
}

bool isOlderCopy(const MassDeletionFacts& facts)
{
    constexpr std::size_t kMany = 3;
    return facts.earlier >= kMany && facts.earlier > facts.later;
}

}  // namespace

std::optional<std::string> massDeletionReason(const MassDeletionFacts& facts)
{
    if (facts.isStoreEmpty && !facts.wasStoreEmpty)
        return "Der Kalenderspeicher ist leer, obwohl er beim letzten Abgleich Kalender enthielt; "
               "es wurde nichts gelöscht. Mit --from-server füllt ihn der Stand des Servers "
               "wieder; "
               "mit --allow-mass-delete wird alles auf allen Geräten gelöscht.";
    if (isOlderCopy(facts))
        return stringWithFormat(
            "Der Kalenderspeicher sieht nach einer älteren Kopie aus: %d Einträge sind älter als "
            "beim letzten Abgleich, %d fehlen; es wurde nichts geändert. Mit --put-back kommt "
            "wieder, was seitdem geschah; mit --allow-mass-delete gilt der ältere Stand auf allen "
            "Geräten.",
            facts.earlier, facts.deletions);
    if (isMost(facts.deletions, facts.recordsOfAccount))
        return stringWithFormat(
            "%d von %d Datensätzen des Kontos würden auf allen Geräten gelöscht; es wurde nichts "
            "gelöscht. Mit --allow-mass-delete wird gelöscht; mit --from-server kommt zurück, was "
            "hier fehlt.",
            facts.deletions, facts.recordsOfAccount);
    if (isMost(facts.deletionsInStore, facts.recordsOfStore))
        return stringWithFormat(
            "%d von %d Datensätzen dieses Kalenderspeichers fehlen auf dem Server und würden hier "
            "gelöscht; es wurde nichts gelöscht. Mit --allow-mass-delete wird gelöscht; ohne "
            "--from-server gehen sie zum Server.",
            facts.deletionsInStore, facts.recordsOfStore);
    return std::nullopt;
}

}  // namespace kt
