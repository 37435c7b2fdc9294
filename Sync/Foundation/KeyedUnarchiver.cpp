#include <algorithm>
#include <string>
#include <vector>

#include "Sync/Foundation/BinaryPropertyList.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/Foundation/ReferenceDate.h"

namespace kt {

namespace {

[[noreturn]] void throwInconsistent(const std::string& reason)
{
    throw Exception(NSInconsistentArchiveException, "Archiv: " + reason);
}

/// RFC 3986, 5.2, as far as addresses of calendars go: a base is a folder or a file beside.
std::string resolvedAddress(const std::string& base, const std::string& relative)
{
    const std::size_t scheme = base.find("://");
    if (base.empty() || scheme == std::string::npos || relative.find("://") != std::string::npos)
        return relative;
    if (relative.empty())
        return base;
    const std::size_t path = std::min(base.find_first_of("/?#", scheme + 3), base.size());
    if (relative.starts_with('/'))
        return base.substr(0, path) + relative;
    const std::size_t pathEnd = std::min(base.find_first_of("?#", path), base.size());
    const std::size_t slash = base.substr(0, pathEnd).rfind('/');
    if (slash == std::string::npos || slash < path)
        return base.substr(0, path) + "/" + relative;
    return base.substr(0, slash + 1) + relative;
}

/// Follows the references of one archive, without descending: an archive decides how deep it is.
/// Each object is made once, after those that it refers to; whoever refers to it shares it.
class Unarchiver {
public:
    explicit Unarchiver(const Array& objects) : _objects(objects), _entries(objects.size()) {}

    /// What a reference of the archive leads to; nil for `$null`.
    Value decode(const Value& reference);

private:
    struct Entry {
        enum class State { unread, open, done } state = State::unread;
        int height = 0;            // containers inside one another, itself included
        std::size_t elements = 1;  // with those of its elements
        Value value;
    };
    /// An object that waits for those that it refers to.
    struct Open {
        std::size_t number = 0;
        std::vector<std::size_t> needed;
        std::size_t next = 0;  // of `needed`
    };

    std::size_t number(const Value& reference) const;
    Open opened(std::size_t number);
    std::vector<std::size_t> neededBy(const Value& stored) const;
    void make(std::size_t number);
    Value object(const Value& stored, Entry& into) const;
    Value objectOfClass(const std::string& className, const Dictionary& stored, Entry& into) const;
    Value dictionaryObject(const Dictionary& stored, Entry& into) const;
    Value arrayObject(const Dictionary& stored, Entry& into) const;
    Value dateObject(const Dictionary& stored) const;
    Value urlObject(const Dictionary& stored) const;
    std::string className(const Dictionary& stored) const;
    const Value& made(const Value& reference) const { return _entries[number(reference)].value; }
    /// An element of a container, which grows by it.
    const Value& element(const Value& reference, Entry& container) const;
    std::string text(const Dictionary& stored, std::string_view key) const;

    const Array& _objects;
    std::vector<Entry> _entries;
};

const Value& field(const Dictionary& stored, std::string_view key)
{
    const Value* value = stored.find(key);
    if (value == nullptr)
        throwInconsistent("'" + std::string(key) + "' fehlt");
    return *value;
}

const Array& listField(const Dictionary& stored, std::string_view key)
{
    const Value& value = field(stored, key);
    if (!value.isArray())
        throwInconsistent("'" + std::string(key) + "' ist keine Liste");
    return value.array();
}

/// The number of a reference, or nullopt for what is none.
std::optional<std::int64_t> uid(const Value& reference)
{
    if (!reference.isDictionary() || reference.dictionary().size() != 1)
        return std::nullopt;
    const Value& number = reference.dictionary()["CF$UID"];
    if (number.kind() != Value::Kind::integer)
        return std::nullopt;
    return number.longLongValue();
}

std::size_t Unarchiver::number(const Value& reference) const
{
    const std::optional<std::int64_t> number = uid(reference);
    if (!number)
        throwInconsistent("ein Verweis fehlt");
    if (*number < 0 || static_cast<std::uint64_t>(*number) >= _objects.size())
        throwInconsistent("es gibt kein Objekt " + std::to_string(*number));
    return static_cast<std::size_t>(*number);
}

Value Unarchiver::decode(const Value& reference)
{
    const std::size_t root = number(reference);
    std::vector<Open> open{opened(root)};
    while (!open.empty()) {
        Open& last = open.back();
        if (last.next == last.needed.size()) {
            make(last.number);
            open.pop_back();
            continue;
        }
        const std::size_t needed = last.needed[last.next++];
        if (_entries[needed].state == Entry::State::open)
            throwInconsistent("Objekt " + std::to_string(needed) + " enthält sich selbst");
        if (_entries[needed].state == Entry::State::unread)
            open.push_back(opened(needed));
    }
    return _entries[root].value;
}

Unarchiver::Open Unarchiver::opened(std::size_t number)
{
    _entries[number].state = Entry::State::open;
    return {number, neededBy(_objects[number]), 0};
}

std::vector<std::size_t> Unarchiver::neededBy(const Value& stored) const
{
    std::vector<std::size_t> needed;
    if (!stored.isDictionary())
        return needed;
    const auto add = [&](const Value& value) {
        if (uid(value))
            needed.push_back(number(value));
    };
    for (const char* key : {"NS.base", "NS.relative", "NS.string", "NS.data"})
        add(stored.dictionary()[key]);
    for (const char* key : {"NS.keys", "NS.objects"}) {
        const Value& list = stored.dictionary()[key];
        if (list.isArray())
            std::for_each(list.array().begin(), list.array().end(), add);
    }
    return needed;
}

void Unarchiver::make(std::size_t number)
{
    Entry& entry = _entries[number];
    const Value& stored = _objects[number];
    const bool isNil = number == 0 && stored == Value("$null");
    if (!isNil)
        entry.value = object(stored, entry);
    if (entry.height > kPropertyListDepthLimit)
        throwInconsistent("zu tief verschachtelt");
    entry.state = Entry::State::done;
}

Value Unarchiver::object(const Value& stored, Entry& into) const
{
    if (stored.isArray())
        throwInconsistent("eine Liste ohne Klasse");
    if (!stored.isDictionary())
        return stored;
    return objectOfClass(className(stored.dictionary()), stored.dictionary(), into);
}

Value Unarchiver::objectOfClass(const std::string& className, const Dictionary& stored,
                                Entry& into) const
{
    const auto isOneOf = [&](std::initializer_list<std::string_view> names) {
        return std::find(names.begin(), names.end(), className) != names.end();
    };
    if (isOneOf({"NSDictionary", "NSMutableDictionary"}))
        return dictionaryObject(stored, into);
    if (isOneOf({"NSArray", "NSMutableArray", "NSSet", "NSMutableSet"}))
        return arrayObject(stored, into);
    if (isOneOf({"NSString", "NSMutableString"}))
        return Value(text(stored, "NS.string"));
    if (className == "NSDate")
        return dateObject(stored);
    if (className == "NSURL")
        return urlObject(stored);
    if (isOneOf({"NSData", "NSMutableData"})) {
        const Value& data = field(stored, "NS.data");
        const Value decoded = uid(data) ? made(data) : data;
        if (!decoded.isData())
            throwInconsistent("'NS.data' enthält keine Daten");
        return decoded;
    }
    throwInconsistent("unbekannte Klasse '" + className + "'");
}

std::string Unarchiver::className(const Dictionary& stored) const
{
    // Straight from the table: a description of a class is no object of its own.
    const Value& description = _objects[number(field(stored, "$class"))];
    const Value name =
        description.isDictionary() ? description.dictionary()["$classname"] : Value();
    if (!name.isString())
        throwInconsistent("eine Klasse ohne Namen");
    return name.string();
}

const Value& Unarchiver::element(const Value& reference, Entry& container) const
{
    const Entry& element = _entries[number(reference)];
    container.height = std::max(container.height, element.height + 1);
    container.elements += element.elements;
    if (container.elements > kPropertyListElementLimit)
        throwInconsistent("zu viele Elemente");
    return element.value;
}

Value Unarchiver::dictionaryObject(const Dictionary& stored, Entry& into) const
{
    const Array& keys = listField(stored, "NS.keys");
    const Array& objects = listField(stored, "NS.objects");
    if (keys.size() != objects.size())
        throwInconsistent("ein Wörterbuch, in dem nicht jeder Schlüssel einen Wert hat");
    into.height = 1;
    Dictionary dictionary;
    for (std::size_t index = 0; index < keys.size(); ++index) {
        const Value key = element(keys[index], into);
        if (!key.isString())
            throwInconsistent("ein Schlüssel eines Wörterbuchs ist kein Text");
        dictionary.setIfPresent(key.string(), element(objects[index], into));
    }
    return dictionary;
}

Value Unarchiver::arrayObject(const Dictionary& stored, Entry& into) const
{
    into.height = 1;
    Array array;
    for (const Value& reference : listField(stored, "NS.objects")) {
        Value value = element(reference, into);
        if (value.isNil())
            throwInconsistent("eine Liste enthält nil");
        array.push_back(std::move(value));
    }
    return array;
}

Value Unarchiver::dateObject(const Dictionary& stored) const
{
    const Value& time = field(stored, "NS.time");
    const std::optional<Date> date =
        time.isNumber() ? dateOfReferenceSeconds(time.doubleValue()) : std::nullopt;
    if (!date)
        throwInconsistent("'NS.time' ist keine Zeit");
    return *date;
}

Value Unarchiver::urlObject(const Dictionary& stored) const
{
    const Value base = stored.contains("NS.base") ? made(field(stored, "NS.base")) : Value();
    std::string baseAddress;
    if (const auto baseURL = base.objectOfClass<URL>())
        baseAddress = baseURL->description();
    else if (!base.isNil())
        throwInconsistent("'NS.base' ist keine Adresse");
    return std::make_shared<URL>(resolvedAddress(baseAddress, text(stored, "NS.relative")));
}

std::string Unarchiver::text(const Dictionary& stored, std::string_view key) const
{
    const Value& value = field(stored, key);
    const Value decoded = uid(value) ? made(value) : value;
    if (!decoded.isString())
        throwInconsistent("'" + std::string(key) + "' ist kein Text");
    return decoded.string();
}

}  // namespace

bool URL::isEqual(const Object& other) const
{
    const auto* url = dynamic_cast<const URL*>(&other);
    return url != nullptr && url->_address == _address;
}

std::optional<Value> unarchiveObjectWithData(std::string_view bytes)
{
    PropertyListError error = PropertyListError::none;
    const std::optional<Value> archive = propertyListWithData(bytes, &error);
    if (error == PropertyListError::tooDeep)
        throwInconsistent("zu tief verschachtelt");
    if (!archive || !archive->isDictionary())
        return std::nullopt;
    const Dictionary& parts = archive->dictionary();
    if (!(parts["$archiver"] == Value("NSKeyedArchiver")))
        return std::nullopt;

    const Value& top = parts["$top"];
    if (!top.isDictionary() || !parts["$objects"].isArray())
        throwInconsistent("ein Teil fehlt");
    return Unarchiver(parts["$objects"].array()).decode(top.dictionary()["root"]);
}

}  // namespace kt
