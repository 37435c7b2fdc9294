#pragma once

#include <string_view>

#include "Sync/Foundation/Dictionary.h"

namespace kt {

/// setObjectFromDictionary:ifKeyExists: copies one entry; without it in `dictionary` the receiver
/// keeps what it has.
void setObjectFromDictionary(Dictionary& receiver, const Dictionary& dictionary,
                             std::string_view ifKeyExists);

}  // namespace kt
