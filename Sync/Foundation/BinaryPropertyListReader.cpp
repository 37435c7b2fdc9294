#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <vector>

#include "Sync/Foundation/BinaryPropertyList.h"
#include "Sync/Foundation/ReferenceDate.h"
#include "Sync/Foundation/Text.h"
#include "Sync/Foundation/UTF16.h"
#include "Sync/Foundation/UnfoldingBudget.h"

namespace kt {

namespace {

constexpr std::string_view kMagic = "bplist";
constexpr std::size_t kHeaderSize = 8;  // the magic and two digits of a version
constexpr std::size_t kTrailerSize = 32;

std::uint64_t bigEndian(std::string_view bytes)
{
    std::uint64_t number = 0;
    for (const char byte : bytes)
        number = (number << 8) | static_cast<unsigned char>(byte);
    return number;
}

/// Reads objects by their numbers in the offset table. Each is read once; whoever refers to it
/// shares it.
class Reader {
public:
    Reader(std::string_view bytes, std::size_t inputSize) : _bytes(bytes), _budget(inputSize) {}

    std::optional<Value> read();
    PropertyListError error() const { return _error; }

private:
    /// An object that was read, or is being read.
    struct Entry {
        enum class State { unread, open, done } state = State::unread;
        int height = 0;        // containers inside one another, itself included
        std::size_t size = 0;  // bytes, with those of its elements
        Value value;
    };
    /// What stands behind an object's first byte.
    struct Marker {
        unsigned type = 0;
        std::size_t count = 0;
        std::size_t position = 0;  // of the content
    };

    bool readTrailer();
    const Entry* object(std::size_t number, int depth);
    bool readObject(Entry& entry, std::size_t number, int depth);
    bool readMarker(std::size_t position, Marker& marker);
    bool readSimple(const Marker& marker, Value& value);
    bool readInteger(const Marker& marker, Value& value);
    bool readReal(const Marker& marker, Value& value);
    bool readText(const Marker& marker, Value& value);
    bool readArray(const Marker& marker, Entry& entry, int depth);
    bool readDictionary(const Marker& marker, Entry& entry, int depth);
    /// Counts an element to its container, which is about to hold it.
    bool add(Entry& entry, const Entry& element);

    /// The content of an object; false beyond the object table. No byte belongs to two objects, so
    /// what has been read never exceeds what there is, whatever the offsets say.
    bool take(std::size_t position, std::size_t length, std::string_view& content);
    std::size_t reference(std::string_view references, std::size_t index) const
    {
        return static_cast<std::size_t>(
            bigEndian(references.substr(index * _referenceSize, _referenceSize)));
    }
    bool fail(PropertyListError error)
    {
        if (_error == PropertyListError::none)
            _error = error;
        return false;
    }
    bool malformed() { return fail(PropertyListError::malformed); }

    std::string_view _bytes;
    std::string_view _objects;  // everything in front of the offset table
    std::string_view _offsets;
    std::size_t _offsetSize = 0;
    std::size_t _referenceSize = 0;
    std::size_t _top = 0;
    std::size_t _taken = 0;
    UnfoldingBudget _budget;
    std::vector<Entry> _entries;
    PropertyListError _error = PropertyListError::none;
};

std::optional<Value> Reader::read()
{
    const Entry* top = readTrailer() ? object(_top, 0) : nullptr;
    if (top == nullptr)
        return std::nullopt;
    return top->value;
}

bool Reader::readTrailer()
{
    if (_bytes.size() < kHeaderSize + kTrailerSize)
        return malformed();
    const std::string_view trailer = _bytes.substr(_bytes.size() - kTrailerSize);
    _offsetSize = static_cast<unsigned char>(trailer[6]);
    _referenceSize = static_cast<unsigned char>(trailer[7]);
    const std::uint64_t count = bigEndian(trailer.substr(8, 8));
    const std::uint64_t top = bigEndian(trailer.substr(16, 8));
    const std::uint64_t table = bigEndian(trailer.substr(24, 8));
    const std::size_t end = _bytes.size() - kTrailerSize;
    if (_offsetSize < 1 || _offsetSize > 8 || _referenceSize < 1 || _referenceSize > 8 ||
        table < kHeaderSize || table > end || count > (end - table) / _offsetSize || top >= count)
        return malformed();
    _objects = _bytes.substr(0, static_cast<std::size_t>(table));
    _offsets = _bytes.substr(static_cast<std::size_t>(table),
                             static_cast<std::size_t>(count) * _offsetSize);
    _top = static_cast<std::size_t>(top);
    _entries.resize(static_cast<std::size_t>(count));
    return true;
}

const Reader::Entry* Reader::object(std::size_t number, int depth)
{
    if (number >= _entries.size()) {
        malformed();
        return nullptr;
    }
    Entry& entry = _entries[number];
    if (entry.state == Entry::State::open) {  // inside itself
        malformed();
        return nullptr;
    }
    if (entry.state == Entry::State::unread) {
        entry.state = Entry::State::open;
        if (!readObject(entry, number, depth))
            return nullptr;
        entry.state = Entry::State::done;
    }
    if (depth + entry.height > kPropertyListDepthLimit) {  // met again further down
        fail(PropertyListError::tooDeep);
        return nullptr;
    }
    return &entry;
}

bool Reader::readObject(Entry& entry, std::size_t number, int depth)
{
    const std::uint64_t position = bigEndian(_offsets.substr(number * _offsetSize, _offsetSize));
    Marker marker;
    if (position < kHeaderSize || position >= _objects.size() ||
        !readMarker(static_cast<std::size_t>(position), marker))
        return malformed();
    if (marker.type != 0xA && marker.type != 0xD) {
        if (!readSimple(marker, entry.value))
            return malformed();
        entry.size = UnfoldingBudget::sizeOf(entry.value);
        return true;
    }
    entry.size = UnfoldingBudget::kElementSize;
    if (depth >= kPropertyListDepthLimit)
        return fail(PropertyListError::tooDeep);
    entry.height = 1;
    return marker.type == 0xA ? readArray(marker, entry, depth)
                              : readDictionary(marker, entry, depth);
}

bool Reader::readMarker(std::size_t position, Marker& marker)
{
    std::string_view byte;
    if (!take(position, 1, byte))
        return false;
    marker.type = static_cast<unsigned char>(byte[0]) >> 4;
    marker.count = static_cast<unsigned char>(byte[0]) & 0xF;
    marker.position = position + 1;
    const bool isCounted = marker.type >= 0x4 && marker.type != 0x8;
    if (!isCounted || marker.count != 0xF)
        return true;

    // A longer count follows as an integer of its own.
    std::string_view size;
    if (!take(marker.position, 1, size))
        return false;
    const auto integer = static_cast<unsigned char>(size[0]);
    std::string_view count;
    if ((integer & 0xF0) != 0x10 || (integer & 0xF) > 3 ||
        !take(marker.position + 1, std::size_t{1} << (integer & 0xF), count))
        return false;
    marker.count = static_cast<std::size_t>(bigEndian(count));
    marker.position += 1 + count.size();
    return true;
}

bool Reader::take(std::size_t position, std::size_t length, std::string_view& content)
{
    if (position > _objects.size() || length > _objects.size() - position ||
        length > _objects.size() - _taken)
        return false;
    _taken += length;
    content = _objects.substr(position, length);
    return true;
}

bool Reader::readSimple(const Marker& marker, Value& value)
{
    std::string_view content;
    switch (marker.type) {
    case 0x0:
        if (marker.count != 8 && marker.count != 9)
            return false;
        value = marker.count == 9;
        return true;
    case 0x1:
        return readInteger(marker, value);
    case 0x2:
    case 0x3:
        return readReal(marker, value);
    case 0x4:
        if (!take(marker.position, marker.count, content))
            return false;
        value = Data{std::string(content)};
        return true;
    case 0x5:
    case 0x6:
        return readText(marker, value);
    case 0x8:
        if (marker.count > 7 || !take(marker.position, marker.count + 1, content))
            return false;
        value = Dictionary{{"CF$UID", static_cast<std::int64_t>(bigEndian(content))}};
        return true;
    default:
        return false;
    }
}

bool Reader::readInteger(const Marker& marker, Value& value)
{
    std::string_view content;
    if (marker.count > 4 || !take(marker.position, std::size_t{1} << marker.count, content))
        return false;
    const std::uint64_t number = bigEndian(content.substr(content.size() > 8 ? 8 : 0));
    value = static_cast<std::int64_t>(number);  // eight bytes are signed, fewer never negative
    if (marker.count < 4)
        return true;
    const std::uint64_t upper = bigEndian(content.substr(0, 8));
    if (upper == std::numeric_limits<std::uint64_t>::max())
        return true;
    // Beyond the signed range only the magnitude can be kept.
    if (static_cast<std::int64_t>(number) < 0)
        value = static_cast<double>(number);
    return upper == 0;
}

bool Reader::readReal(const Marker& marker, Value& value)
{
    std::string_view content;
    const bool isDate = marker.type == 0x3;
    if ((marker.count != 3 && (isDate || marker.count != 2)) ||
        !take(marker.position, std::size_t{1} << marker.count, content))
        return false;
    const std::uint64_t bits = bigEndian(content);
    const double real =
        marker.count == 3
            ? std::bit_cast<double>(bits)
            : static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
    if (!isDate) {
        value = real;
        return true;
    }
    const std::optional<Date> date = dateOfReferenceSeconds(real);
    if (date)
        value = *date;
    return date.has_value();
}

bool Reader::readText(const Marker& marker, Value& value)
{
    std::string_view content;
    if (marker.type == 0x5) {  // ASCII, though some write UTF-8
        if (!take(marker.position, marker.count, content) || !isReadableUTF8(content))
            return false;
        value = std::string(content);
        return true;
    }
    if (marker.count > _objects.size() / 2 || !take(marker.position, 2 * marker.count, content))
        return false;
    value = utf8OfUTF16(content, ByteOrder::bigEndian);
    return true;
}

bool Reader::add(Entry& entry, const Entry& element)
{
    entry.height = std::max(entry.height, element.height + 1);
    entry.size += element.size;
    return (_budget.admits(entry.size) && _budget.hold(element.value)) || malformed();
}

bool Reader::readArray(const Marker& marker, Entry& entry, int depth)
{
    std::string_view references;
    if (marker.count > _objects.size() / _referenceSize ||
        !take(marker.position, marker.count * _referenceSize, references))
        return malformed();
    Array array;
    array.reserve(marker.count);
    for (std::size_t index = 0; index < marker.count; ++index) {
        const Entry* element = object(reference(references, index), depth + 1);
        if (element == nullptr || !add(entry, *element))
            return false;
        array.push_back(element->value);
    }
    entry.value = Value(std::move(array));
    return true;
}

bool Reader::readDictionary(const Marker& marker, Entry& entry, int depth)
{
    std::string_view keys;
    std::string_view values;
    if (marker.count > _objects.size() / _referenceSize ||
        !take(marker.position, marker.count * _referenceSize, keys) ||
        !take(marker.position + keys.size(), keys.size(), values))
        return malformed();
    Dictionary dictionary;
    for (std::size_t index = 0; index < marker.count; ++index) {
        const Entry* key = object(reference(keys, index), depth + 1);
        if (key == nullptr)
            return false;
        if (!key->value.isString())
            return malformed();
        const Entry* value = object(reference(values, index), depth + 1);
        if (value == nullptr || !add(entry, *key) || !add(entry, *value))
            return false;
        dictionary.set(key->value.string(), value->value);
    }
    entry.value = Value(std::move(dictionary));
    return true;
}

}  // namespace

bool isBinaryPropertyList(std::string_view bytes) { return bytes.starts_with(kMagic); }

std::optional<Value> readBinaryPropertyList(std::string_view bytes, PropertyListError& error,
                                            std::size_t inputSize)
{
    Reader reader(bytes, std::max(bytes.size(), inputSize));
    std::optional<Value> value = reader.read();
    error = reader.error();
    return value;
}

}  // namespace kt
