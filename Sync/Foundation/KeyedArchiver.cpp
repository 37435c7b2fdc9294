#include <algorithm>
#include <cstdint>
#include <string>
#include <unordered_map>

#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/Foundation/ReferenceDate.h"

namespace kt {

namespace {

Value reference(std::size_t number)
{
    return Dictionary{{"CF$UID", static_cast<std::int64_t>(number)}};
}

/// Gives each object its number in the table; objects hold one another by these numbers only.
class Archiver {
public:
    std::string archive(const Value& root);

private:
    struct Numbered {
        std::size_t number = 0;
        int height = 0;  // containers inside one another
    };

    Numbered add(const Value& value, int depth);
    Numbered addContainer(const Value& value, const void* identity, int depth);
    std::size_t addText(std::string_view text);
    std::size_t addObject(const Value& value);
    std::size_t addClass(const char* name);
    std::size_t append(Value stored);

    Array _objects;
    std::unordered_map<std::string, std::size_t> _texts;
    std::unordered_map<std::string, std::size_t> _classes;
    std::unordered_map<const void*, Numbered> _containers;
};

std::string Archiver::archive(const Value& root)
{
    append("$null");
    const std::size_t number = add(root, 0).number;
    return binaryPropertyList(Dictionary{{"$version", 100000},
                                         {"$archiver", "NSKeyedArchiver"},
                                         {"$top", Dictionary{{"root", reference(number)}}},
                                         {"$objects", std::move(_objects)}});
}

std::size_t Archiver::append(Value stored)
{
    _objects.push_back(std::move(stored));
    return _objects.size() - 1;
}

Archiver::Numbered Archiver::add(const Value& value, int depth)
{
    switch (value.kind()) {
    case Value::Kind::nil:
        return {};  // "$null"
    case Value::Kind::string:
        return {addText(value.string()), 0};
    case Value::Kind::array:
        return addContainer(value, &value.array(), depth);
    case Value::Kind::dictionary:
        return addContainer(value, &value.dictionary(), depth);
    case Value::Kind::object:
        return {addObject(value), 0};
    case Value::Kind::date:
        return {append(Dictionary{{"$class", reference(addClass("NSDate"))},
                                  {"NS.time", referenceSecondsOfDate(value.date())}}),
                0};
    default:
        return {append(value), 0};
    }
}

std::size_t Archiver::addText(std::string_view text)
{
    const auto [entry, isNew] = _texts.emplace(text, _objects.size());
    if (isNew)
        append(text);
    return entry->second;
}

std::size_t Archiver::addClass(const char* name)
{
    const auto [entry, isNew] = _classes.emplace(name, _objects.size());
    if (isNew)
        append(Dictionary{{"$classname", name}, {"$classes", Array{name, "NSObject"}}});
    return entry->second;
}

Archiver::Numbered Archiver::addContainer(const Value& value, const void* identity, int depth)
{
    constexpr const char* kTooDeep = "ein Archiv kann so tief verschachtelte Werte nicht aufnehmen";
    if (depth >= kPropertyListDepthLimit)
        throw Exception(NSInvalidArgumentException, kTooDeep);
    if (const auto known = _containers.find(identity); known != _containers.end()) {
        if (depth + known->second.height > kPropertyListDepthLimit)
            throw Exception(NSInvalidArgumentException, kTooDeep);
        return known->second;
    }

    Numbered container{append(""), 1};  // its place, in front of those of its elements
    Array keys;
    Array objects;
    const auto addElement = [&](const Value& element) {
        const Numbered numbered = add(element, depth + 1);
        objects.push_back(reference(numbered.number));
        container.height = std::max(container.height, numbered.height + 1);
    };
    Dictionary stored;
    if (value.isArray()) {
        for (const Value& element : value.array())
            addElement(element);
        stored.set("$class", reference(addClass("NSArray")));
    } else {
        for (const auto& entry : value.dictionary()) {
            keys.push_back(reference(addText(entry.first)));
            addElement(entry.second);
        }
        stored.set("$class", reference(addClass("NSDictionary")));
        stored.set("NS.keys", std::move(keys));
    }
    stored.set("NS.objects", std::move(objects));
    _objects[container.number] = Value(std::move(stored));
    _containers.emplace(identity, container);
    return container;
}

std::size_t Archiver::addObject(const Value& value)
{
    const auto url = value.objectOfClass<URL>();
    if (!url)
        throw Exception(NSInvalidArgumentException,
                        "ein Archiv kann ein solches Objekt nicht aufnehmen");
    const std::size_t address = addText(url->description());
    return append(Dictionary{{"$class", reference(addClass("NSURL"))},
                             {"NS.base", reference(0)},
                             {"NS.relative", reference(address)}});
}

}  // namespace

std::string archivedDataWithRootObject(const Value& root) { return Archiver().archive(root); }

}  // namespace kt
