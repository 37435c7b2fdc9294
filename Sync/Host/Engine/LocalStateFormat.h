#pragma once

#include "Sync/Host/Server/SqliteDatabase.h"

namespace kt {

/// The tables of a state file, and how those of older versions become them.
const SqliteFormat& localStateFormat();

}  // namespace kt
