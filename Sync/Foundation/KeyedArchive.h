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
/// arrays, texts, numbers, data, dates and URLs; subclasses of these count as what they are derived
/// from, sets as arrays. Nullopt for bytes that are no keyed archive.
///
/// Objects of other classes, and NSNull, are left out, as if a dictionary or an array had never
/// held them; what is made of such an object (an address with such a base) goes with it, and a root
/// of that kind is nil. Nobody who reads an archive of someone else's asks for them; `leftOut`
/// tells whether there was one, NSNull aside.
///
/// Throws Exception NSInconsistentArchiveException for cycles, wrong indices, wrong types, nesting
/// beyond the limit of property lists, and for what would unfold to far more than the bytes are.
std::optional<Value> unarchiveObjectWithData(std::string_view bytes, bool* leftOut = nullptr);

/// NSKeyedArchiver: a binary property list with `$archiver`, `$version`, `$top` (root) and
/// `$objects`; equal strings are stored once. Throws Exception NSInvalidArgumentException for what
/// it cannot hold.
std::string archivedDataWithRootObject(const Value& root);

}  // namespace kt
