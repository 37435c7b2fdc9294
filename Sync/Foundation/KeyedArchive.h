#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Sync/Foundation/Value.h"

namespace kt {

/// A web address as keyed archives hold it (class NSURL); its description is the absolute address.
class URL : public Object {
public:
    explicit URL(std::string address) : _address(std::move(address)) {}
    std::string description() const override { return _address; }
    bool isEqual(const Object& other) const override;

private:
    std::string _address;
};

/// NSKeyedUnarchiver: the root object of a keyed archive (XML or binary), made of dictionaries,
/// arrays, texts, numbers, data, dates and URLs. Nullopt for bytes that are no keyed archive.
/// Throws Exception NSInconsistentArchiveException for cycles, wrong indices, wrong types and
/// nesting beyond the limit of property lists.
std::optional<Value> unarchiveObjectWithData(std::string_view bytes);

/// NSKeyedArchiver: a binary property list with `$archiver`, `$version`, `$top` (root) and
/// `$objects`; equal strings are stored once. Throws Exception NSInvalidArgumentException for what
/// it cannot hold.
std::string archivedDataWithRootObject(const Value& root);

}  // namespace kt
