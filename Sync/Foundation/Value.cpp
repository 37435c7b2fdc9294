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
        _content = SharedText(text);
}

Value::Value(const std::optional<std::string>& text)
{
    if (text)
        _content = SharedText(*text);
}

Value::Value(Data data) : _content(std::make_shared<const Data>(std::move(data))) {}

Value::Value(Array array)
{
    if (std::any_of(array.begin(), array.end(),
                    [](const Value& element) { return element.isNil(); }))
        throwNilInArray();
    _content = std::make_shared<const Array>(std::move(array));
}

Value::Value(Dictionary dictionary)
    : _content(std::make_shared<const Dictionary>(std::move(dictionary)))
{}

bool Value::isNumber() const
{
    return kind() == Kind::boolean || kind() == Kind::integer || kind() == Kind::real;
}

std::string_view Value::string() const
{
    const auto* held = std::get_if<SharedText>(&_content);
    if (held == nullptr)
        throwWrongKind(Kind::string, kind());
    return held->view();
}

const Data& Value::data() const
{
    const auto* held = std::get_if<std::shared_ptr<const Data>>(&_content);
    if (held == nullptr)
        throwWrongKind(Kind::data, kind());
    return **held;
}

Date Value::date() const
{
    const auto* held = std::get_if<Date>(&_content);
    if (held == nullptr)
        throwWrongKind(Kind::date, kind());
    return *held;
}

const Array& Value::array() const
{
    const auto* held = std::get_if<std::shared_ptr<const Array>>(&_content);
    if (held == nullptr)
        throwWrongKind(Kind::array, kind());
    return **held;
}

const Dictionary& Value::dictionary() const
{
    const auto* held = std::get_if<std::shared_ptr<const Dictionary>>(&_content);
    if (held == nullptr)
        throwWrongKind(Kind::dictionary, kind());
    return **held;
}

const std::shared_ptr<const Object>& Value::object() const
{
    const auto* held = std::get_if<std::shared_ptr<const Object>>(&_content);
    if (held == nullptr)
        throwWrongKind(Kind::object, kind());
    return *held;
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
        return std::get<bool>(_content) ? 1 : 0;
    case Kind::integer:
        return std::get<std::int64_t>(_content);
    case Kind::real:
        return truncated(std::get<double>(_content));
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
        return std::get<bool>(_content);
    case Kind::integer:
        return std::get<std::int64_t>(_content) != 0;
    case Kind::real:
        return std::get<double>(_content) != 0;
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
        return std::get<bool>(_content) ? 1 : 0;
    case Kind::integer:
        return static_cast<double>(std::get<std::int64_t>(_content));
    case Kind::real:
        return std::get<double>(_content);
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
