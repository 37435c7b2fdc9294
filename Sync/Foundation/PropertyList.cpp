#include "Sync/Foundation/PropertyList.h"

#include <clocale>
#include <cstdint>
#include <limits>
#include <memory>

#include <plist/plist.h>

#include "Sync/Foundation/ASCIIPropertyList.h"
#include "Sync/Foundation/BinaryPropertyList.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/FileManager.h"
#include "Sync/Foundation/Text.h"
#include "Sync/Foundation/UTF16.h"
#include "Sync/Foundation/UTF8.h"
#include "Sync/Foundation/XMLStructure.h"

namespace kt {

namespace {

/// libplist reads and prints numbers as the thread's locale has them, with a comma in German ones.
class PlainNumbers {
public:
    PlainNumbers() : _before(::uselocale(plainLocale())) {}
    ~PlainNumbers() { ::uselocale(_before); }
    PlainNumbers(const PlainNumbers&) = delete;
    PlainNumbers& operator=(const PlainNumbers&) = delete;

private:
    static locale_t plainLocale()
    {
        static const locale_t kPlain = ::newlocale(LC_ALL_MASK, "C", nullptr);
        return kPlain;
    }

    locale_t _before;
};

struct PlistDeleter {
    void operator()(void* plist) const { ::plist_free(plist); }
};
using PlistPointer = std::unique_ptr<void, PlistDeleter>;

constexpr std::size_t kLargestSize = std::numeric_limits<std::uint32_t>::max();  // of libplist

/// What libplist makes of a property list in XML, in the binary form; empty for what it cannot
/// read.
std::string binaryOfXML(std::string_view xml)
{
    const PlainNumbers plainNumbers;
    plist_t plist = nullptr;
    ::plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &plist);
    const PlistPointer owner(plist);
    if (plist == nullptr)
        return {};
    char* bytes = nullptr;
    std::uint32_t size = 0;
    ::plist_to_bin(plist, &bytes, &size);
    const std::unique_ptr<char, void (*)(char*)> bytesOwner(bytes, ::plist_to_bin_free);
    return bytes == nullptr ? std::string() : std::string(bytes, size);
}

std::string xmlOfBinary(const std::string& binary)
{
    const PlainNumbers plainNumbers;
    plist_t plist = nullptr;
    if (binary.size() <= kLargestSize)
        ::plist_from_bin(binary.data(), static_cast<std::uint32_t>(binary.size()), &plist);
    const PlistPointer owner(plist);
    char* bytes = nullptr;
    std::uint32_t size = 0;
    if (plist != nullptr)
        ::plist_to_xml(plist, &bytes, &size);
    const std::unique_ptr<char, void (*)(char*)> bytesOwner(bytes, ::plist_to_xml_free);
    if (bytes == nullptr)
        throw Exception(NSGenericException, "die Property-Liste ist zu groß für XML");

    // A bare carriage return would be read as a line feed, or not at all.
    std::string xml;
    xml.reserve(size);
    for (const char character : std::string_view(bytes, size)) {
        if (character == '\r')
            xml += "&#13;";
        else
            xml += character;
    }
    return xml;
}

std::optional<Value> readXML(std::string_view text, PropertyListError& error)
{
    if (text.size() > kLargestSize)
        return std::nullopt;
    error = checkXMLStructure(text);
    if (error != PropertyListError::none)
        return std::nullopt;
    return readBinaryPropertyList(binaryOfXML(text), error, text.size());
}

/// The text of a file that is not binary: UTF-8, or UTF-16 as its byte-order mark tells.
std::string textOf(std::string_view bytes)
{
    if (bytes.starts_with("\xEF\xBB\xBF"))
        bytes.remove_prefix(3);
    else if (bytes.starts_with("\xFE\xFF") || bytes.starts_with("\xFF\xFE"))
        return utf8OfUTF16(bytes.substr(2), bytes.starts_with('\xFE') ? ByteOrder::bigEndian
                                                                      : ByteOrder::littleEndian);
    return std::string(bytes);
}

std::optional<Value> readText(std::string_view bytes, PropertyListError& error)
{
    const std::string text = textOf(bytes);
    error = PropertyListError::malformed;
    if (text.find('\0') != std::string::npos || !isReadableUTF8(text))
        return std::nullopt;
    return isASCIIPropertyList(text) ? readASCIIPropertyList(text, error) : readXML(text, error);
}

bool canStandInXML(std::string_view text)
{
    for (std::size_t position = 0; position < text.size();) {
        const UTF8Step step = utf8StepAt(text, position);
        const char32_t character = step.codePoint;
        const bool isControl =
            character < ' ' && character != '\t' && character != '\n' && character != '\r';
        if (!step.isValid || isControl || isSurrogate(character) || character == 0xFFFE ||
            character == 0xFFFF)
            return false;
        position += step.length;
    }
    return true;
}

/// Where the first text stands that XML cannot hold, as in `/List/2/Title`; nullopt when there is
/// none.
std::optional<std::string> pathOfTextBeyondXML(const Value& value)
{
    if (value.isString() && !canStandInXML(value.string()))
        return std::string();
    if (value.isArray()) {
        for (std::size_t index = 0; index < value.array().size(); ++index)
            if (auto path = pathOfTextBeyondXML(value.array()[index]))
                return "/" + std::to_string(index) + *path;
    }
    if (value.isDictionary()) {
        for (const auto& entry : value.dictionary()) {
            if (!canStandInXML(entry.first))
                return "/" + entry.first;
            if (auto path = pathOfTextBeyondXML(entry.second))
                return "/" + entry.first + *path;
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<Value> propertyListWithData(std::string_view bytes, PropertyListError* error)
{
    PropertyListError result = PropertyListError::none;
    std::optional<Value> value = isBinaryPropertyList(bytes) ? readBinaryPropertyList(bytes, result)
                                                             : readText(bytes, result);
    if (error != nullptr)
        *error = result;
    return value;
}

std::optional<Dictionary> dictionaryWithContentsOfFile(const std::string& path,
                                                       PropertyListError* error)
{
    PropertyListError ignored;
    PropertyListError& result = error == nullptr ? ignored : *error;
    const std::optional<std::string> bytes = FileManager::defaultManager().contentsAtPath(path);
    if (!bytes) {
        result = PropertyListError::missing;
        return std::nullopt;
    }
    const std::optional<Value> value = propertyListWithData(*bytes, &result);
    if (!value)
        return std::nullopt;
    if (!value->isDictionary()) {
        result = PropertyListError::malformed;
        return std::nullopt;
    }
    return value->dictionary();
}

std::string binaryPropertyList(const Value& value) { return writeBinaryPropertyList(value); }

std::string xmlPropertyList(const Value& value)
{
    const std::string binary = writeBinaryPropertyList(value);
    if (const auto path = pathOfTextBeyondXML(value))
        throw Exception(NSInvalidArgumentException,
                        "XML kann den Text bei '" + *path + "' nicht aufnehmen");
    return xmlOfBinary(binary);
}

bool writeDictionaryToFile(const Dictionary& dictionary, const std::string& path)
{
    try {
        const Value value(dictionary);
        const std::string bytes =
            pathOfTextBeyondXML(value) ? binaryPropertyList(value) : xmlPropertyList(value);
        return FileManager::defaultManager().writeAtomically(bytes, path);
    } catch (const Exception&) {
        return false;
    }
}

}  // namespace kt
