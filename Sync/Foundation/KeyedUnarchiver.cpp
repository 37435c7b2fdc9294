#include <algorithm>
#include <string>
#include <vector>

#include "Sync/Foundation/ArchivedClass.h"
#include "Sync/Foundation/Exception.h"
#include "Sync/Foundation/KeyedArchive.h"
#include "Sync/Foundation/PropertyList.h"
#include "Sync/Foundation/ReferenceDate.h"
#include "Sync/Foundation/RelativeAddress.h"
#include "Sync/Foundation/Text.h"
#include "Sync/Foundation/UnfoldingBudget.h"

namespace kt {

namespace {

[[noreturn]] void throwInconsistent(const std::string& reason)
{
    throw Exception(NSInconsistentArchiveException, "Archiv: " + reason);
}

/// Follows the references of one archive, without descending: an archive decides how deep it is.
/// Each object is made once, after those that it refers to; whoever refers to it shares it.
class Unarchiver {
public:
    /// For an archive of that size in bytes.
    Unarchiver(const Array& objects, std::size_t inputSize)
        : _objects(objects),
          _entries(objects.size()),
          _budget(inputSize)
    {}

    /// What a reference of the archive leads to; nil for `$null` and for what is left out.
    Value decode(const Value& reference);
    /// Whether anything but NSNull was left out so far.
    bool hasLeftOut() const { return _hasLeftOut; }

private:
    /// What was made of an object; nullopt when it is left out.
    using Made = std::optional<Value>;

    struct Entry {
        enum class State { unread, open, done } state = State::unread;
        ArchivedClass kind = ArchivedClass::unknown;  // of what has a class
        bool isLeftOut = false;
        int height = 0;  // containers inside one another, itself included
        std::size_t size = UnfoldingBudget::kElementSize;  // bytes, with those of its elements
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
    std::vector<std::size_t> neededBy(const Dictionary& stored, ArchivedClass kind) const;
    void make(std::size_t number);
    Made object(const Value& stored, Entry& into);
    Made dictionaryObject(const Dictionary& stored, Entry& into);
    Made arrayObject(const Dictionary& stored, Entry& into);
    Made textObject(const Dictionary& stored) const;
    Made dataObject(const Dictionary& stored) const;
    Made urlObject(const Dictionary& stored) const;
    const Entry& made(const Value& reference) const { return _entries[number(reference)]; }
    /// An element of a container, which grows by it.
    const Entry& element(const Value& reference, Entry& container);
    void hold(const Value& value, std::size_t size);
    /// What stands in a field or is referred to there; null for what is left out.
    const Value* content(const Dictionary& stored, std::string_view key) const;

    const Array& _objects;
    std::vector<Entry> _entries;
    UnfoldingBudget _budget;
    bool _hasLeftOut = false;
};

const Value& field(const Dictionary& stored, std::string_view key)
{
    const Value* value = stored.find(key);
    if (value == nullptr)
        throwInconsistent("'" + std::string(key) + "' fehlt");
    return *value;
}

/// The elements of a container, which stand in one list or, in older archives, each in a field of
/// its own: `NS.object.0` and so on.
std::vector<const Value*> listField(const Dictionary& stored, std::string_view key,
                                    std::string_view numberedKey)
{
    std::vector<const Value*> list;
    if (const Value* first = stored.find(std::string(numberedKey) + "0");
        first != nullptr && !stored.contains(key)) {
        for (const Value* next = first; next != nullptr;
             next = stored.find(std::string(numberedKey) + std::to_string(list.size())))
            list.push_back(next);
        return list;
    }
    const Value& value = field(stored, key);
    if (!value.isArray())
        throwInconsistent("'" + std::string(key) + "' ist keine Liste");
    for (const Value& element : value.array())
        list.push_back(&element);
    return list;
}

std::vector<const Value*> keysOf(const Dictionary& stored)
{
    return listField(stored, "NS.keys", "NS.key.");
}

std::vector<const Value*> objectsOf(const Dictionary& stored)
{
    return listField(stored, "NS.objects", "NS.object.");
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
    Entry& entry = _entries[number];
    const Value& stored = _objects[number];
    entry.state = Entry::State::open;
    if (!stored.isDictionary())
        return {number, {}, 0};
    // Straight from the table: a description of a class is no object of its own.
    const Value& description = _objects[this->number(field(stored.dictionary(), "$class"))];
    entry.kind = archivedClass(stored.dictionary(), description);
    return {number, neededBy(stored.dictionary(), entry.kind), 0};
}

std::vector<std::size_t> Unarchiver::neededBy(const Dictionary& stored, ArchivedClass kind) const
{
    std::vector<std::size_t> needed;
    const auto add = [&](const Value& value) {
        if (uid(value))
            needed.push_back(number(value));
    };
    const auto addAll = [&](const std::vector<const Value*>& list) {
        for (const Value* value : list)
            add(*value);
    };
    const auto addFields = [&](std::initializer_list<const char*> keys) {
        for (const char* key : keys)
            add(stored[key]);
    };
    if (kind == ArchivedClass::dictionary)
        addAll(keysOf(stored));
    if (kind == ArchivedClass::dictionary || kind == ArchivedClass::array)
        addAll(objectsOf(stored));
    if (kind == ArchivedClass::text)
        addFields({"NS.string", "NS.bytes"});
    if (kind == ArchivedClass::data)
        addFields({"NS.data", "NS.bytes"});
    if (kind == ArchivedClass::address)
        addFields({"NS.base", "NS.relative"});
    return needed;
}

void Unarchiver::make(std::size_t number)
{
    Entry& entry = _entries[number];
    const Value& stored = _objects[number];
    if (number != 0 || !(stored == Value("$null"))) {
        Made made = object(stored, entry);
        entry.isLeftOut = !made;
        _hasLeftOut = _hasLeftOut || (!made && entry.kind != ArchivedClass::null);
        entry.value = std::move(made).value_or(Value());
    }
    if (entry.height > kPropertyListDepthLimit)
        throwInconsistent("zu tief verschachtelt");
    if (entry.height == 0) {
        entry.size = UnfoldingBudget::sizeOf(entry.value);
        hold(entry.value, entry.size);
    }
    entry.state = Entry::State::done;
}

/// A number that an object of its own holds, in one of the forms there are.
Value numberObject(const Dictionary& stored)
{
    for (const char* key : {"NS.number", "NS.boolval", "NS.intval", "NS.dblval"}) {
        const Value& number = stored[key];
        if (number.isNumber())
            return number;
    }
    throwInconsistent("eine Zahl, die keine ist");
}

Value dateObject(const Dictionary& stored)
{
    const Value& time = field(stored, "NS.time");
    const std::optional<Date> date =
        time.isNumber() ? dateOfReferenceSeconds(time.doubleValue()) : std::nullopt;
    if (!date)
        throwInconsistent("'NS.time' ist keine Zeit");
    return *date;
}

Unarchiver::Made Unarchiver::object(const Value& stored, Entry& into)
{
    if (stored.isArray())
        throwInconsistent("eine Liste ohne Klasse");
    if (!stored.isDictionary())
        return stored;
    const Dictionary& fields = stored.dictionary();
    switch (into.kind) {
    case ArchivedClass::unknown:
    case ArchivedClass::null:
        return std::nullopt;
    case ArchivedClass::dictionary:
        return dictionaryObject(fields, into);
    case ArchivedClass::array:
        return arrayObject(fields, into);
    case ArchivedClass::text:
        return textObject(fields);
    case ArchivedClass::data:
        return dataObject(fields);
    case ArchivedClass::date:
        return dateObject(fields);
    case ArchivedClass::number:
        return numberObject(fields);
    case ArchivedClass::address:
        return urlObject(fields);
    }
    return std::nullopt;
}

void Unarchiver::hold(const Value& value, std::size_t size)
{
    if (!_budget.admits(size) || !_budget.hold(value))
        throwInconsistent("ausgeschrieben zu groß");
}

const Unarchiver::Entry& Unarchiver::element(const Value& reference, Entry& container)
{
    const Entry& element = made(reference);
    container.height = std::max(container.height, element.height + 1);
    container.size += element.size;
    hold(element.value, container.size);
    return element;
}

Unarchiver::Made Unarchiver::dictionaryObject(const Dictionary& stored, Entry& into)
{
    const std::vector<const Value*> keys = keysOf(stored);
    const std::vector<const Value*> objects = objectsOf(stored);
    if (keys.size() != objects.size())
        throwInconsistent("ein Wörterbuch, in dem nicht jeder Schlüssel einen Wert hat");
    into.height = 1;
    Dictionary dictionary;
    for (std::size_t index = 0; index < keys.size(); ++index) {
        const Entry& key = element(*keys[index], into);
        const Entry& value = element(*objects[index], into);
        if (key.isLeftOut)
            continue;
        if (!key.value.isString())
            throwInconsistent("ein Schlüssel eines Wörterbuchs ist kein Text");
        dictionary.setIfPresent(key.value.string(), value.value);
    }
    return Value(std::move(dictionary));
}

Unarchiver::Made Unarchiver::arrayObject(const Dictionary& stored, Entry& into)
{
    into.height = 1;
    Array array;
    for (const Value* reference : objectsOf(stored)) {
        const Entry& entry = element(*reference, into);
        if (entry.isLeftOut)
            continue;
        if (entry.value.isNil())
            throwInconsistent("eine Liste enthält nil");
        array.push_back(entry.value);
    }
    return Value(std::move(array));
}

const Value* Unarchiver::content(const Dictionary& stored, std::string_view key) const
{
    const Value& value = field(stored, key);
    if (!uid(value))
        return &value;
    const Entry& entry = made(value);
    return entry.isLeftOut ? nullptr : &entry.value;
}

Unarchiver::Made Unarchiver::textObject(const Dictionary& stored) const
{
    const bool isText = stored.contains("NS.string");
    const Value* text = content(stored, isText ? "NS.string" : "NS.bytes");
    if (text == nullptr)
        return std::nullopt;
    if (isText && text->isString())
        return *text;
    if (isText || !text->isData() || !isReadableUTF8(text->data().bytes))
        throwInconsistent(isText ? "'NS.string' ist kein Text" : "'NS.bytes' ist kein Text");
    return Value(text->data().bytes);
}

Unarchiver::Made Unarchiver::dataObject(const Dictionary& stored) const
{
    const std::string key = stored.contains("NS.data") ? "NS.data" : "NS.bytes";
    const Value* data = content(stored, key);
    if (data == nullptr)
        return std::nullopt;
    if (!data->isData())
        throwInconsistent("'" + key + "' enthält keine Daten");
    return *data;
}

Unarchiver::Made Unarchiver::urlObject(const Dictionary& stored) const
{
    static const Value kNoBase;
    const Value* base = stored.contains("NS.base") ? content(stored, "NS.base") : &kNoBase;
    const Value* relative = content(stored, "NS.relative");
    if (base == nullptr || relative == nullptr)
        return std::nullopt;
    if (!relative->isString())
        throwInconsistent("'NS.relative' ist kein Text");
    const auto baseURL = base->objectOfClass<URL>();
    if (!baseURL && !base->isNil())
        throwInconsistent("'NS.base' ist keine Adresse");
    return Value(
        std::make_shared<URL>(baseURL ? resolvedAddress(baseURL->description(), relative->string())
                                      : std::string(relative->string())));
}

}  // namespace

bool URL::isEqual(const Object& other) const
{
    const auto* url = dynamic_cast<const URL*>(&other);
    return url != nullptr && url->_address == _address;
}

std::optional<Value> unarchiveObjectWithData(std::string_view bytes, bool* leftOut)
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
    Unarchiver unarchiver(parts["$objects"].array(), bytes.size());
    Value root = unarchiver.decode(top.dictionary()["root"]);
    if (leftOut != nullptr)
        *leftOut = unarchiver.hasLeftOut();
    return root;
}

}  // namespace kt
