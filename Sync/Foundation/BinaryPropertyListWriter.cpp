#include <algorithm>
#include <bit>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

#include "Sync/Foundation/BinaryPropertyList.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/ReferenceDate.h"
#include "Sync/Foundation/Text.h"
#include "Sync/Foundation/UTF8.h"

namespace kt {

namespace {

void appendBigEndian(std::string& out, std::uint64_t number, std::size_t size)
{
    while (size-- > 0)
        out += static_cast<char>((number >> (8 * size)) & 0xFF);
}

/// 1, 2, 4 or 8 bytes.
std::size_t sizeNeededFor(std::uint64_t number)
{
    if (number <= 0xFF)
        return 1;
    if (number <= 0xFFFF)
        return 2;
    return number <= 0xFFFFFFFF ? 4 : 8;
}

/// The number of a dictionary that stands for a UID.
const Value* uidOf(const Dictionary& dictionary)
{
    if (dictionary.size() != 1)
        return nullptr;
    const Value* number = dictionary.find("CF$UID");
    const bool isUID = number != nullptr && number->kind() == Value::Kind::integer &&
                       number->longLongValue() >= 0 && number->longLongValue() <= 0xFFFFFFFF;
    return isUID ? number : nullptr;
}

/// First all objects get their numbers, which decide how wide a reference is; then they are
/// written.
class Writer {
public:
    std::string write(const Value& root);

private:
    /// One object of the file: a text, any other simple value, or a container with its references,
    /// keys first.
    struct Item {
        std::variant<std::string_view, const Value*> content;
        std::size_t firstReference = 0;
        std::size_t referenceCount = 0;
    };
    struct Container {
        std::size_t number = 0;
        int height = 0;
    };
    struct Numbered {
        std::size_t number = 0;
        int height = 0;  // containers inside one another
    };

    Numbered collect(const Value& value, int depth);
    Numbered collectContainer(const Value& value, const void* identity, int depth);
    std::size_t collectText(std::string_view text);
    std::size_t collectSimple(const Value& value);

    void appendItem(const Item& item);
    void appendMarker(unsigned type, std::size_t count);
    void appendText(std::string_view text);
    void appendInteger(std::int64_t integer);
    void appendSimple(const Value& value);
    void appendUID(std::uint64_t number);
    void appendContainer(const Item& item, unsigned type, std::size_t count);

    std::vector<Item> _items;
    std::vector<std::size_t> _references;
    std::unordered_map<std::string_view, std::size_t> _texts;
    std::unordered_map<const void*, Numbered> _containers;
    std::size_t _referenceSize = 0;
    std::string _out;
};

[[noreturn]] void throwInvalid(const char* reason)
{
    throw Exception(NSInvalidArgumentException, reason);
}

std::string Writer::write(const Value& root)
{
    collect(root, 0);
    _referenceSize = sizeNeededFor(_items.size());
    _out = "bplist00";
    std::vector<std::size_t> offsets;
    offsets.reserve(_items.size());
    for (const Item& item : _items) {
        offsets.push_back(_out.size());
        appendItem(item);
    }

    const std::size_t table = _out.size();
    const std::size_t offsetSize = sizeNeededFor(table);
    for (const std::size_t offset : offsets)
        appendBigEndian(_out, offset, offsetSize);
    _out.append(6, '\0');
    appendBigEndian(_out, offsetSize, 1);
    appendBigEndian(_out, _referenceSize, 1);
    appendBigEndian(_out, _items.size(), 8);
    appendBigEndian(_out, 0, 8);  // the root comes first
    appendBigEndian(_out, table, 8);
    return std::move(_out);
}

Writer::Numbered Writer::collect(const Value& value, int depth)
{
    switch (value.kind()) {
    case Value::Kind::nil:
        throwInvalid("eine Property-Liste kann nil nicht aufnehmen");
    case Value::Kind::object:
        throwInvalid("eine Property-Liste kann ein solches Objekt nicht aufnehmen");
    case Value::Kind::string:
        return {collectText(value.string()), 0};
    case Value::Kind::array:
        return collectContainer(value, &value.array(), depth);
    case Value::Kind::dictionary:
        if (uidOf(value.dictionary()) != nullptr)
            return {collectSimple(value), 0};
        return collectContainer(value, &value.dictionary(), depth);
    default:
        return {collectSimple(value), 0};
    }
}

std::size_t Writer::collectText(std::string_view text)
{
    const auto [entry, isNew] = _texts.emplace(text, _items.size());
    if (isNew)
        _items.push_back(Item{text, 0, 0});
    return entry->second;
}

std::size_t Writer::collectSimple(const Value& value)
{
    _items.push_back(Item{&value, 0, 0});
    return _items.size() - 1;
}

Writer::Numbered Writer::collectContainer(const Value& value, const void* identity, int depth)
{
    constexpr const char* kTooDeep =
        "eine Property-Liste kann so tief verschachtelte Werte nicht aufnehmen";
    if (depth >= kPropertyListDepthLimit)
        throwInvalid(kTooDeep);
    if (const auto known = _containers.find(identity); known != _containers.end()) {
        if (depth + known->second.height > kPropertyListDepthLimit)
            throwInvalid(kTooDeep);
        return known->second;
    }

    Numbered container{collectSimple(value), 1};
    std::vector<std::size_t> references;
    const auto add = [&](const Value& element) {
        const Numbered numbered = collect(element, depth + 1);
        references.push_back(numbered.number);
        container.height = std::max(container.height, numbered.height + 1);
    };
    if (value.isArray()) {
        for (const Value& element : value.array())
            add(element);
    } else {
        for (const auto& entry : value.dictionary())
            references.push_back(collectText(entry.first));
        for (const auto& entry : value.dictionary())
            add(entry.second);
    }
    Item& item = _items[container.number];
    item.firstReference = _references.size();
    item.referenceCount = references.size();
    _references.insert(_references.end(), references.begin(), references.end());
    _containers.emplace(identity, container);
    return container;
}

void Writer::appendItem(const Item& item)
{
    if (const auto* text = std::get_if<std::string_view>(&item.content))
        return appendText(*text);
    const Value& value = *std::get<const Value*>(item.content);
    if (value.isArray())
        return appendContainer(item, 0xA, value.array().size());
    if (!value.isDictionary())
        return appendSimple(value);
    if (const Value* number = uidOf(value.dictionary()))
        return appendUID(static_cast<std::uint64_t>(number->longLongValue()));
    appendContainer(item, 0xD, value.dictionary().size());
}

void Writer::appendMarker(unsigned type, std::size_t count)
{
    _out += static_cast<char>((type << 4) | std::min<std::size_t>(count, 0xF));
    if (count >= 0xF)
        appendInteger(static_cast<std::int64_t>(count));
}

void Writer::appendContainer(const Item& item, unsigned type, std::size_t count)
{
    appendMarker(type, count);
    for (std::size_t index = 0; index < item.referenceCount; ++index)
        appendBigEndian(_out, _references[item.firstReference + index], _referenceSize);
}

void Writer::appendText(std::string_view text)
{
    if (asciiPrefixLength(text) == text.size()) {
        appendMarker(0x5, text.size());
        _out += text;
        return;
    }
    if (!isReadableUTF8(text))
        throwInvalid("eine Property-Liste kann einen Text, der kein UTF-8 ist, nicht aufnehmen");
    appendMarker(0x6, utf16Length(text));
    for (std::size_t position = 0; position < text.size();) {
        const UTF8Step step = utf8StepAt(text, position);
        if (step.codePoint > 0xFFFF) {
            appendBigEndian(_out, highSurrogate(step.codePoint), 2);
            appendBigEndian(_out, lowSurrogate(step.codePoint), 2);
        } else {
            appendBigEndian(_out, step.codePoint, 2);
        }
        position += step.length;
    }
}

void Writer::appendInteger(std::int64_t integer)
{
    const auto bits = static_cast<std::uint64_t>(integer);
    const std::size_t size = sizeNeededFor(bits);  // negative ones take all eight bytes
    _out += static_cast<char>(0x10 | std::countr_zero(size));
    appendBigEndian(_out, bits, size);
}

void Writer::appendUID(std::uint64_t number)
{
    const std::size_t size = sizeNeededFor(number);
    _out += static_cast<char>(0x80 | (size - 1));
    appendBigEndian(_out, number, size);
}

void Writer::appendSimple(const Value& value)
{
    switch (value.kind()) {
    case Value::Kind::boolean:
        _out += value.boolValue() ? '\x09' : '\x08';
        break;
    case Value::Kind::integer:
        appendInteger(value.longLongValue());
        break;
    case Value::Kind::data:
        appendMarker(0x4, value.data().bytes.size());
        _out += value.data().bytes;
        break;
    default: {
        const bool isDate = value.kind() == Value::Kind::date;
        const double real = isDate ? referenceSecondsOfDate(value.date()) : value.doubleValue();
        _out += isDate ? '\x33' : '\x23';
        appendBigEndian(_out, std::bit_cast<std::uint64_t>(real), 8);
    }
    }
}

}  // namespace

std::string writeBinaryPropertyList(const Value& value) { return Writer().write(value); }

}  // namespace kt
