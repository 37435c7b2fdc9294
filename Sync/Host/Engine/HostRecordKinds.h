#pragma once

#include <string_view>

#include "Sync/Foundation/Dictionary.h"

namespace kt {

/// Whether every field of a record is of a kind that a store can be written from, down to what
/// stands inside it: texts, numbers, dates, data, settings that a property list holds, and an
/// archive that can be read where a store has to look into it. Fields that are not there are right;
/// so are fields that are handed on as they came, such as notes, and those that nobody knows.
bool areFieldsOfRightKinds(const Dictionary& record, std::string_view conduit);

}  // namespace kt
