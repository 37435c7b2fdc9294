#pragma once

#include <chrono>
#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
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
    enum class Kind { nil, boolean, integer, real, string, data, date, array, dictionary, object };

    Value() = default;  // nil
    Value(std::nullptr_t) {}
    template <std::same_as<bool> B>
    Value(B boolean) : _content(boolean)
    {}
    template <std::integral I>
    requires(!std::same_as<I, bool> && !std::same_as<I, char>) Value(I integer)
        : _content(static_cast<std::int64_t>(integer))
    {}
    Value(double real) : _content(real) {}
    Value(const std::string& text) : _content(SharedText(text)) {}
    Value(std::string_view text) : _content(SharedText(text)) {}
    Value(const char* text);  // null is nil
    Value(const std::optional<std::string>& text);
    Value(std::nullopt_t) {}
    Value(Data data);
    Value(Date date) : _content(date) {}
    Value(Array array);
    Value(Dictionary dictionary);
    /// A null pointer is nil.
    template <std::derived_from<Object> T>
    Value(std::shared_ptr<T> object)
    {
        if (object)
            _content = std::shared_ptr<const Object>(std::move(object));
    }

    Kind kind() const { return static_cast<Kind>(_content.index()); }
    bool isNil() const { return kind() == Kind::nil; }
    bool isString() const { return kind() == Kind::string; }
    bool isArray() const { return kind() == Kind::array; }
    bool isDictionary() const { return kind() == Kind::dictionary; }
    bool isData() const { return kind() == Kind::data; }
    /// Boolean, integer or real.
    bool isNumber() const;

    // Each throws Exception NSInvalidArgumentException on another kind, nil included.
    /// The view is valid as long as this value stays where it is and as it is.
    std::string_view string() const;
    const Data& data() const;
    Date date() const;
    const Array& array() const;
    const Dictionary& dictionary() const;
    const std::shared_ptr<const Object>& object() const;

    /// The text, or nullopt for nil; throws on any other kind.
    std::optional<std::string> stringOrNil() const;

    /// The object when it is of that class, else null; never throws.
    template <class T>
    std::shared_ptr<const T> objectOfClass() const
    {
        const auto* held = std::get_if<std::shared_ptr<const Object>>(&_content);
        return held == nullptr ? nullptr : std::dynamic_pointer_cast<const T>(*held);
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
    // The order is that of Kind.
    std::variant<std::monostate, bool, std::int64_t, double, SharedText,
                 std::shared_ptr<const Data>, Date, std::shared_ptr<const Array>,
                 std::shared_ptr<const Dictionary>, std::shared_ptr<const Object>>
        _content;
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
