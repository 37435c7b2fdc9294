#pragma once

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/Value.h"

namespace kt {

/// The classes whose objects can be made from a keyed archive.
enum class ArchivedClass {
    unknown,  // whatever else: its fields tell nothing
    null,     // NSNull, which stands for nothing
    dictionary,
    array,  // and sets
    text,
    data,
    date,
    number,
    address
};

/// As which class an object can be read: that of the description's `$classname`, else the first
/// known one of its `$classes`, which lists its superclasses. An object that has none of the fields
/// of that class was put down in another way and counts as unknown. Throws Exception
/// NSInconsistentArchiveException for a description without a name.
ArchivedClass archivedClass(const Dictionary& stored, const Value& description);

}  // namespace kt
