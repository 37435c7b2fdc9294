#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/Value.h"

namespace kt {

inline constexpr int kPropertyListDepthLimit = 512;  // arrays and dictionaries inside one another

/// Why a property list could not be read.
enum class PropertyListError { none, missing, malformed, tooDeep };

/// XML, binary or the old ASCII form; text in UTF-8, or in UTF-16 with a byte-order mark. Nullopt
/// when the bytes are no property list, nested too deep, or would unfold to far more than they are;
/// reading never recurses beyond the limit. UIDs of keyed archives come as dictionaries { "CF$UID":
/// integer }. In the old form there are no numbers or dates, but texts in their place.
std::optional<Value> propertyListWithData(std::string_view bytes,
                                          PropertyListError* error = nullptr);

/// dictionaryWithContentsOfFile: nullopt when the file is missing, unreadable, no property list or
/// no dictionary.
std::optional<Dictionary> dictionaryWithContentsOfFile(const std::string& path,
                                                       PropertyListError* error = nullptr);

// Throw Exception NSInvalidArgumentException for what a property list cannot hold (objects, nil).
std::string xmlPropertyList(const Value& value);
std::string binaryPropertyList(const Value& value);

/// writeToFile:atomically: as XML. False when the file could not be written or the dictionary holds
/// what a property list cannot.
bool writeDictionaryToFile(const Dictionary& dictionary, const std::string& path);

}  // namespace kt
