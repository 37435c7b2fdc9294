#pragma once

#include <chrono>
#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Sync/Foundation/SharedText.h"

namespace kt {

class Dictionary;
class Value;

/// An ordered list of values; none of its elements is nil (see appendTo).
using Array = std::vector<Value>;

/// Raw bytes, distinct from text.
struct Data {
    std::string bytes;

    friend bool operator==(const Data&, const Data&) = default;
};

/// An instant, as property lists keep them; calendar dates with a wall clock are CalendarDate.
struct Date {
    std::chrono::sys_time<std::chrono::microseconds> instant;

    friend auto operator<=>(const Date&, const Date&) = default;
};

/// Anything else that can stand in a dictionary, such as a date with a zone. Immutable and shared.
class Object {
public:
    virtual ~Object() = default;
    virtual std::string description() const = 0;
    /// Identity unless a class knows better.
    virtual bool isEqual(const Object& other) const { return this == &other; }
};

/// One value of a record, a preference or a property list, in 24 bytes. Texts, data, arrays,
/// dictionaries and objects are shared and immutable, so copying a value is cheap and never aliases
/// a change.
class Value {
public:
    enum class Kind : unsigned char {
        nil,
        boolean,
        integer,
        real,
        string,
        data,
        date,
        array,
        dictionary,
        object
    };

    Value() noexcept {}  // nil
    Value(std::nullptr_t) noexcept {}
    template <std::same_as<bool> B>
    Value(B boolean) noexcept : _kind(Kind::boolean)
    {
        _content.scalar.boolean = boolean;
    }
    template <std::integral I>
    requires(!std::same_as<I, bool> && !std::same_as<I, char>) Value(I integer)
    noexcept : _kind(Kind::integer)
    {
        _content.scalar.integer = static_cast<std::int64_t>(integer);
    }
    Value(double real) noexcept : _kind(Kind::real) { _content.scalar.real = real; }
    Value(const std::string& text) : Value(std::string_view(text)) {}
    Value(std::string_view text) { setText(text); }
    Value(const char* text);  // null is nil
    Value(const std::optional<std::string>& text);
    Value(std::nullopt_t) noexcept {}
    Value(Data data);
    Value(Date date) noexcept : _kind(Kind::date) { _content.scalar.date = date; }
    Value(Array array);
    Value(Dictionary dictionary);
    /// A null pointer is nil.
    template <std::derived_from<Object> T>
    Value(std::shared_ptr<T> object)
    {
        if (object)
            setShared(Kind::object, std::shared_ptr<const Object>(std::move(object)));
    }

    Value(const Value& other) noexcept : _kind(other._kind) { copyContent(other); }
    /// What was moved from is nil.
    Value(Value&& other) noexcept : _kind(other._kind) { takeContent(other); }
    Value& operator=(const Value& other) noexcept { return *this = Value(other); }
    Value& operator=(Value&& other) noexcept
    {
        if (this == &other)
            return *this;
        releaseContent();
        _kind = other._kind;
        takeContent(other);
        return *this;
    }
    ~Value() { releaseContent(); }

    Kind kind() const { return _kind; }
    bool isNil() const { return kind() == Kind::nil; }
    bool isString() const { return kind() == Kind::string; }
    bool isArray() const { return kind() == Kind::array; }
    bool isDictionary() const { return kind() == Kind::dictionary; }
    bool isData() const { return kind() == Kind::data; }
    bool isObject() const { return kind() == Kind::object; }
    /// Boolean, integer or real.
    bool isNumber() const;

    // Each throws Exception NSInvalidArgumentException on another kind, nil included.
    /// The view is valid as long as this value stays where it is and as it is.
    std::string_view string() const;
    const Data& data() const;
    Date date() const;
    const Array& array() const;
    const Dictionary& dictionary() const;
    std::shared_ptr<const Object> object() const;

    /// The text, or nullopt for nil; throws on any other kind.
    std::optional<std::string> stringOrNil() const;

    /// The object when it is of that class, else null; never throws.
    template <class T>
    std::shared_ptr<const T> objectOfClass() const
    {
        if (kind() != Kind::object)
            return nullptr;
        const auto* found =
            dynamic_cast<const T*>(static_cast<const Object*>(_content.shared.get()));
        return found == nullptr ? nullptr : std::shared_ptr<const T>(_content.shared, found);
    }

    /// A number, clamped and truncated; a text's leading integer (blanks and a sign allowed, 0 when
    /// there is none), clamped; nil gives 0. Throws on any other kind.
    std::int32_t intValue() const;
    /// As intValue, clamped to 64 bit.
    std::int64_t longLongValue() const;
    /// A number other than 0; a text whose first letter after blanks, signs and zeros is Y, y, T, t
    /// or 1 to 9; nil gives false. Throws on any other kind.
    bool boolValue() const;
    /// A number; a text's leading decimal number; nil gives 0. Throws on any other kind.
    double doubleValue() const;

    /// The one rendering that enters logs and digests: text as is; numbers in decimal, booleans 1
    /// and 0; data `<48656c6c 6f>`; nil `(null)`; dates as `2007-12-24 09:00:00 +0000`; objects by
    /// their description.
    /// Arrays and dictionaries are in the old ASCII property-list form.
    std::string description() const;

    /// Same kind and content; true equals 1 equals 1.0; objects by isEqual.
    friend bool operator==(const Value& left, const Value& right);

private:
    union Scalar {
        Scalar() : integer(0) {}

        bool boolean;
        std::int64_t integer;
        double real;
        Date date;
    };

    /// What it holds is the kind's matter. A std::variant of the ten kinds does the same, but a
    /// large store is loaded by moving values about, and a variant asks for its kind out of line.
    union Content {
        Content() noexcept : scalar() {}
        ~Content() {}

        Scalar scalar;
        SharedText text;
        std::shared_ptr<const void> shared;  // data, an array, a dictionary, an object
    };

    bool isShared() const
    {
        return _kind == Kind::data || _kind == Kind::array || _kind == Kind::dictionary ||
               _kind == Kind::object;
    }
    /// For a value that is nil.
    void setText(std::string_view text)
    {
        std::construct_at(&_content.text, text);
        _kind = Kind::string;
    }
    void setShared(Kind kind, std::shared_ptr<const void> shared) noexcept
    {
        std::construct_at(&_content.shared, std::move(shared));
        _kind = kind;
    }
    /// The content of this value's kind, which is set, while there is none yet.
    void copyContent(const Value& other) noexcept
    {
        if (_kind == Kind::string)
            std::construct_at(&_content.text, other._content.text);
        else if (isShared())
            std::construct_at(&_content.shared, other._content.shared);
        else
            _content.scalar = other._content.scalar;
    }
    void takeContent(Value& other) noexcept
    {
        if (_kind == Kind::string)
            std::construct_at(&_content.text, std::move(other._content.text));
        else if (isShared())
            std::construct_at(&_content.shared, std::move(other._content.shared));
        else
            _content.scalar = other._content.scalar;
        other.releaseContent();
        other._kind = Kind::nil;
    }
    /// Leaves a scalar behind.
    void releaseContent() noexcept
    {
        if (_kind == Kind::string)
            std::destroy_at(&_content.text);
        else if (isShared())
            std::destroy_at(&_content.shared);
        else
            return;
        std::construct_at(&_content.scalar);
    }
    template <class T>
    const T& sharedAs(Kind expected) const;

    Content _content;
    Kind _kind = Kind::nil;
};
static_assert(sizeof(Value) <= 3 * sizeof(void*), "large calendars are held as values");

/// addObject: throws Exception NSInvalidArgumentException for nil.
void appendTo(Array& array, Value value);

/// objectAtIndex: throws Exception NSRangeException beyond the end.
const Value& elementAt(const Array& array, std::size_t index);

/// The array's description without making a Value of it.
std::string description(const Array& array);

// What a text begins with, as the operations of Value of the same names read it.
std::int32_t intValue(std::string_view text);
std::int64_t longLongValue(std::string_view text);
bool boolValue(std::string_view text);
double doubleValue(std::string_view text);

}  // namespace kt
