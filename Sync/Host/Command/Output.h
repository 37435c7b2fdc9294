#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "Sync/HostInterface/KTLossReport.h"

namespace kt {

/// Results in machine-readable form, keys in the order in which they were set.
using Json = nlohmann::ordered_json;

/// Without line breaks; what is no UTF-8 is replaced.
std::string jsonText(const Json& json);

/// Results go to standard output, whole and at once. Throws Exception NSGenericException, with a
/// line for the user, when they cannot be written.
void printResult(std::string_view text);

// Losses, in the words and with the names that all commands use for their kinds.

/// "thinned", "unread" and so on, for programs.
std::string_view nameOfLossKind(KTLoss::Kind kind);
/// What such a loss means for the user, ending in a colon: "Bleibt unverändert liegen:".
std::string_view headingForLossKind(KTLoss::Kind kind);
/// The kind of that name; unread for any other name.
KTLoss::Kind lossKindNamed(std::string_view name);
/// Whether it is only worth knowing: nothing waits for it and nothing is held by it.
bool isRemark(KTLoss::Kind kind);
bool isRemark(const KTLoss& loss);

Json jsonForLosses(const std::vector<KTLoss>& losses);
/// How many there are of each kind, by its name; all kinds, also those of which there are none.
Json jsonForLossCounts(const std::vector<KTLoss>& losses);
/// For people: under the heading of each kind that there is, what holds most first.
std::string textForLosses(const std::vector<KTLoss>& losses);
/// How many there are of each kind, in one sentence: "2 Stellen bleiben unverändert liegen." Empty
/// without losses.
std::string sentenceForLossCounts(const std::vector<KTLoss>& losses);
/// One line for people: file, reason, calendar.
std::string lineForLoss(const KTLoss& loss);

/// "1 Ereignis", "2 Ereignisse".
std::string counted(std::size_t count, std::string_view one, std::string_view many);

/// Columns of a table, each as wide as its widest cell, two blanks between them. No row may hold
/// more cells than the first.
std::string tableText(const std::vector<std::vector<std::string>>& rows);

}  // namespace kt
