#include "Sync/Additions/KTDictionaryAdditions.h"

namespace kt {

void setObjectFromDictionary(Dictionary& receiver, const Dictionary& dictionary,
                             std::string_view ifKeyExists)
{
    if (const Value* value = dictionary.find(ifKeyExists))
        receiver.set(ifKeyExists, *value);
}

}  // namespace kt
