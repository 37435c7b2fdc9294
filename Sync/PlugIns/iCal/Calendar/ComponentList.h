#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/Value.h"
#include "Sync/PlugIns/iCal/Calendar/Rare.h"

namespace kt {

/// Alarms, attachments or attendees of one item, in order; nullopt where there is no list at all.
template <class T>
using ComponentList = Rare<std::vector<std::shared_ptr<const T>>>;

/// The list that a value dictionary holds. Throws Exception NSInvalidArgumentException when the
/// value is no array or one of its elements is of another class.
template <class T>
ComponentList<T> componentListWithValue(const Value& value)
{
    if (value.isNil())
        return std::nullopt;
    std::vector<std::shared_ptr<const T>> components;
    components.reserve(value.array().size());
    for (const Value& element : value.array()) {
        components.push_back(element.objectOfClass<T>());
        if (components.back() == nullptr)
            throw Exception(NSInvalidArgumentException,
                            "unerwarteter Wert: " + element.description());
    }
    return components;
}

}  // namespace kt
