#include "Sync/Foundation/Value.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "Sync/Foundation/Dictionary.h"
#include "Sync/Foundation/Exception.h"

namespace kt {

namespace {

constexpr std::int64_t kInt64Min = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kInt64Max = std::numeric_limits<std::int64_t>::max();
constexpr double kInt64Bound = 9223372036854775808.0;  // 2 to the 63rd

std::string_view nameOfKind(Value::Kind kind)
{
    constexpr std::array<std::string_view, 10> kNames{"nichts",    "Wahrheitswert", "ganze Zahl",
                                                      "Kommazahl", "Text",          "Daten",
                                                      "Datum",     "Liste",         "Wörterbuch",
                                                      "Objekt"};
    return kNames.at(static_cast<std::size_t>(kind));
}

[[noreturn]] void throwWrongKind(std::string_view expected, Value::Kind actual)
{
    std::string reason(expected);
    reason.append(" erwartet, ").append(nameOfKind(actual)).append(" gefunden");
    throw Exception(NSInvalidArgumentException, reason);
}

[[noreturn]] void throwWrongKind(Value::Kind expected, Value::Kind actual)
{
    throwWrongKind(nameOfKind(expected), actual);
}

[[noreturn]] void throwNilInArray()
{
    throw Exception(NSInvalidArgumentException, "nil kann nicht in eine Liste");
}

std::int64_t truncated(double real)
{
    if (std::isnan(real))
        return 0;
    if (real >= kInt64Bound)
        return kInt64Max;
    if (real < -kInt64Bound)
        return kInt64Min;
    return static_cast<std::int64_t>(real);
}

bool areEqual(std::int64_t integer, double real)
{
    // By way of the integer: a real cannot hold every 64-bit number.
    return real >= -kInt64Bound && real < kInt64Bound && std::trunc(real) == real &&
           static_cast<std::int64_t>(real) == integer;
}

bool areEqual(double left, double right)
{
    // A value that differs from itself would be a change in every sync.
    return left == right || (std::isnan(left) && std::isnan(right));
}

}  // namespace

Value::Value(const char* text)
{
    if (text != nullptr)
        setText(text);
}

Value::Value(const std::optional<std::string>& text)
{
    if (text)
        setText(*text);
}

Value::Value(Data data) { setShared(Kind::data, std::make_shared<const Data>(std::move(data))); }

Value::Value(Array array)
{
    if (std::any_of(array.begin(), array.end(),
                    [](const Value& element) { return element.isNil(); }))
        throwNilInArray();
    setShared(Kind::array, std::make_shared<const Array>(std::move(array)));
}

Value::Value(Dictionary dictionary)
{
    setShared(Kind::dictionary, std::make_shared<const Dictionary>(std::move(dictionary)));
}

bool Value::isNumber() const
{
    return kind() == Kind::boolean || kind() == Kind::integer || kind() == Kind::real;
}

std::string_view Value::string() const
{
    if (kind() != Kind::string)
        throwWrongKind(Kind::string, kind());
    return _content.text.view();
}

Date Value::date() const
{
    if (kind() != Kind::date)
        throwWrongKind(Kind::date, kind());
    return _content.scalar.date;
}

template <class T>
const T& Value::sharedAs(Kind expected) const
{
    if (kind() != expected)
        throwWrongKind(expected, kind());
    return *static_cast<const T*>(_content.shared.get());
}

const Data& Value::data() const { return sharedAs<Data>(Kind::data); }

const Array& Value::array() const { return sharedAs<Array>(Kind::array); }

const Dictionary& Value::dictionary() const { return sharedAs<Dictionary>(Kind::dictionary); }

std::shared_ptr<const Object> Value::object() const
{
    return {_content.shared, &sharedAs<Object>(Kind::object)};
}

std::optional<std::string> Value::stringOrNil() const
{
    if (isNil())
        return std::nullopt;
    return std::string(string());
}

std::int64_t Value::longLongValue() const
{
    switch (kind()) {
    case Kind::nil:
        return 0;
    case Kind::boolean:
        return _content.scalar.boolean ? 1 : 0;
    case Kind::integer:
        return _content.scalar.integer;
    case Kind::real:
        return truncated(_content.scalar.real);
    case Kind::string:
        return kt::longLongValue(string());
    default:
        throwWrongKind("Zahl oder Text", kind());
    }
}

std::int32_t Value::intValue() const
{
    return static_cast<std::int32_t>(
        std::clamp<std::int64_t>(longLongValue(), std::numeric_limits<std::int32_t>::min(),
                                 std::numeric_limits<std::int32_t>::max()));
}

bool Value::boolValue() const
{
    switch (kind()) {
    case Kind::nil:
        return false;
    case Kind::boolean:
        return _content.scalar.boolean;
    case Kind::integer:
        return _content.scalar.integer != 0;
    case Kind::real:
        return _content.scalar.real != 0;
    case Kind::string:
        return kt::boolValue(string());
    default:
        throwWrongKind("Zahl oder Text", kind());
    }
}

double Value::doubleValue() const
{
    switch (kind()) {
    case Kind::nil:
        return 0;
    case Kind::boolean:
        return _content.scalar.boolean ? 1 : 0;
    case Kind::integer:
        return static_cast<double>(_content.scalar.integer);
    case Kind::real:
        return _content.scalar.real;
    case Kind::string:
        return kt::doubleValue(string());
    default:
        throwWrongKind("Zahl oder Text", kind());
    }
}

bool operator==(const Value& left, const Value& right)
{
    using Kind = Value::Kind;
    if (left.isNumber() && right.isNumber()) {
        const bool leftIsReal = left.kind() == Kind::real;
        const bool rightIsReal = right.kind() == Kind::real;
        if (leftIsReal && rightIsReal)
            return areEqual(left.doubleValue(), right.doubleValue());
        if (leftIsReal)
            return areEqual(right.longLongValue(), left.doubleValue());
        if (rightIsReal)
            return areEqual(left.longLongValue(), right.doubleValue());
        return left.longLongValue() == right.longLongValue();
    }
    if (left.kind() != right.kind())
        return false;
    switch (left.kind()) {
    case Kind::string:
        return left.string() == right.string();
    case Kind::data:
        return left.data() == right.data();
    case Kind::date:
        return left.date() == right.date();
    case Kind::array:
        return &left.array() == &right.array() || left.array() == right.array();
    case Kind::dictionary:
        return &left.dictionary() == &right.dictionary() || left.dictionary() == right.dictionary();
    case Kind::object:
        return left.object()->isEqual(*right.object());
    default:
        return true;  // nil
    }
}

void appendTo(Array& array, Value value)
{
    if (value.isNil())
        throwNilInArray();
    array.push_back(std::move(value));
}

const Value& elementAt(const Array& array, std::size_t index)
{
    if (index >= array.size())
        throw Exception(NSRangeException, "Index " + std::to_string(index) +
                                              " liegt hinter dem Ende (Anzahl: " +
                                              std::to_string(array.size()) + ")");
    return array[index];
}

}  // namespace kt
