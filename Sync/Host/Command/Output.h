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

/// The word for a kind in results for programs: "unread".
std::string_view nameOfLossKind(KTLoss::Kind kind);
/// Under which losses of a kind are listed for people, with a colon at the end.
std::string_view headingForLossKind(KTLoss::Kind kind);
/// A heading and a line for each; empty without any.
std::string listedLosses(std::string_view heading, const std::vector<KTLoss>& losses);
std::string listed(std::string_view heading, const std::vector<std::string>& lines);

Json jsonForLosses(const std::vector<KTLoss>& losses);
/// One line for people: file, reason, calendar.
std::string lineForLoss(const KTLoss& loss);

/// "1 Ereignis", "2 Ereignisse".
std::string counted(std::size_t count, std::string_view one, std::string_view many);

/// Columns of a table, each as wide as its widest cell, two blanks between them. No row may hold
/// more cells than the first.
std::string tableText(const std::vector<std::vector<std::string>>& rows);

}  // namespace kt
