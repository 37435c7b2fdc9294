#include "Sync/Foundation/ArchivedClass.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "Sync/Foundation/Exception.h"

namespace kt {

namespace {

using Name = std::pair<std::string_view, ArchivedClass>;

// Mutable kinds and the like name these among their superclasses.
constexpr std::array<Name, 9> kNames{{{"NSNull", ArchivedClass::null},
                                      {"NSDictionary", ArchivedClass::dictionary},
                                      {"NSArray", ArchivedClass::array},
                                      {"NSSet", ArchivedClass::array},
                                      {"NSString", ArchivedClass::text},
                                      {"NSData", ArchivedClass::data},
                                      {"NSDate", ArchivedClass::date},
                                      {"NSNumber", ArchivedClass::number},
                                      {"NSURL", ArchivedClass::address}}};

// Some archivers name a class without its superclasses.
constexpr std::array<Name, 5> kSubclassNames{{{"NSMutableDictionary", ArchivedClass::dictionary},
                                              {"NSMutableArray", ArchivedClass::array},
                                              {"NSMutableSet", ArchivedClass::array},
                                              {"NSMutableString", ArchivedClass::text},
                                              {"NSMutableData", ArchivedClass::data}}};

ArchivedClass classNamed(std::string_view name)
{
    const auto isName = [&](const Name& known) { return known.first == name; };
    if (const auto found = std::find_if(kNames.begin(), kNames.end(), isName);
        found != kNames.end())
        return found->second;
    const auto found = std::find_if(kSubclassNames.begin(), kSubclassNames.end(), isName);
    return found == kSubclassNames.end() ? ArchivedClass::unknown : found->second;
}

ArchivedClass firstKnown(const Value& names)
{
    if (!names.isArray())
        return ArchivedClass::unknown;
    for (const Value& name : names.array()) {
        const ArchivedClass known =
            name.isString() ? classNamed(name.string()) : ArchivedClass::unknown;
        if (known != ArchivedClass::unknown)
            return known;
    }
    return ArchivedClass::unknown;
}

bool hasFieldsOf(ArchivedClass kind, const Dictionary& stored)
{
    const auto hasOneOf = [&](std::initializer_list<std::string_view> fields) {
        return std::any_of(fields.begin(), fields.end(),
                           [&](std::string_view field) { return stored.contains(field); });
    };
    switch (kind) {
    case ArchivedClass::unknown:
    case ArchivedClass::null:
        return true;
    case ArchivedClass::dictionary:
        return hasOneOf({"NS.keys", "NS.objects", "NS.key.0"});
    case ArchivedClass::array:
        return hasOneOf({"NS.objects", "NS.object.0"});
    case ArchivedClass::text:
        return hasOneOf({"NS.string", "NS.bytes"});
    case ArchivedClass::data:
        return hasOneOf({"NS.data", "NS.bytes"});
    case ArchivedClass::date:
        return hasOneOf({"NS.time"});
    case ArchivedClass::number:
        return hasOneOf({"NS.number", "NS.boolval", "NS.intval", "NS.dblval"});
    case ArchivedClass::address:
        return hasOneOf({"NS.relative"});
    }
    return false;
}

}  // namespace

ArchivedClass archivedClass(const Dictionary& stored, const Value& description)
{
    const Value name =
        description.isDictionary() ? description.dictionary()["$classname"] : Value();
    if (!name.isString())
        throw Exception(NSInconsistentArchiveException, "Archiv: eine Klasse ohne Namen");
    ArchivedClass kind = classNamed(name.string());
    if (kind == ArchivedClass::unknown)
        kind = firstKnown(description.dictionary()["$classes"]);
    return hasFieldsOf(kind, stored) ? kind : ArchivedClass::unknown;
}

}  // namespace kt
