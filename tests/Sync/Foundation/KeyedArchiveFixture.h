#pragma once

#include <algorithm>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/Foundation/PropertyList.h"
#include "tests/support/ExceptionOf.h"

namespace kt::test {

inline Value uid(std::int64_t number) { return Dictionary{{"CF$UID", number}}; }

inline Value classNamed(const char* name)
{
    return Dictionary{{"$classname", name}, {"$classes", Array{name, "NSObject"}}};
}

/// An archive made by hand; `$null` stands in front of the objects, object 1 is the root.
inline Value archive(Array objects)
{
    objects.insert(objects.begin(), "$null");
    return Dictionary{{"$version", 100000},
                      {"$archiver", "NSKeyedArchiver"},
                      {"$top", Dictionary{{"root", uid(1)}}},
                      {"$objects", objects}};
}

inline Value unarchived(const Value& archive)
{
    return unarchiveObjectWithData(binaryPropertyList(archive)).value();
}

/// The reason without the name and the common beginning.
inline std::string refusal(const Value& archive)
{
    const std::string kBegin = "NSInconsistentArchiveException: Archiv: ";
    const std::string text =
        exceptionOf([&] { unarchiveObjectWithData(binaryPropertyList(archive)); });
    EXPECT_TRUE(text.starts_with(kBegin)) << text;
    return text.substr(std::min(kBegin.size(), text.size()));
}

inline Value classNamed(const char* name, Array classes)
{
    return Dictionary{{"$classname", name}, {"$classes", std::move(classes)}};
}

}  // namespace kt::test
